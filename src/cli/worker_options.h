#pragma once
// The options of a command line written out again, for the workers of a batch.

#include "cli/command_line.h"

namespace tervo::cli {

/// What `tervo convert` needs to treat each file as this command line says.
std::vector<Text> workerOptions(const CommandLine& line);

}  // namespace tervo::cli

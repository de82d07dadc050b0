#include "cli/console.h"

#include <fmt/format.h>

#include "base/last_error.h"

namespace tervo::cli {

void Console::failure(TextView file) {
  failure(file, LastErrorText());
}

void Console::failure(TextView file, TextView message) {
  err(fmt::format("tervo: {}: {}\n", toPathBytes(file), toUtf8(message)));
}

}  // namespace tervo::cli

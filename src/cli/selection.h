#pragma once
// What `tervo convert` saves, and as what: the row for "--format" or the target's extension, the item for "--item".

#include "cli/command_line.h"
#include "core/collection.h"

namespace tervo::cli {

/// The row named by an index, an extension or a description, or by the target's extension; the first one with a writer
/// where several fit. noFormat with LastErrorText when there is none; then LastErrorText also says so when the format
/// is known and only its writer is missing.
FormatIndex chosenRow(const CommandLine& line);

/// The item to save in that row. Null with LastErrorText: "No item selected" where "--item" names nothing, or several
/// items could be meant.
const Item* chosenItem(const CommandLine& line, const Collection& collection, FormatIndex row);

}  // namespace tervo::cli

#pragma once
// What `tervo convert` saves, and as what: the row for "--format" or the target's extension, the item for "--item".

#include "cli/command_line.h"
#include "core/collection.h"

namespace tervo::cli {

/// A row that can write, named by an index, an extension or a description, or by the target's extension; the first
/// where several fit. noFormat with LastErrorText when there is none; `hint` then says what the user can do.
FormatIndex chosenRow(const CommandLine& line, Text& hint);

/// The same for what "--format" says.
FormatIndex writerNamed(TextView name, Text& hint);

/// The items that names as "waveform:0" stand for, each once. None with "No item selected" and a hint where one of them
/// is not there.
std::vector<Item*> namedItems(const std::vector<Text>& names, const Collection& collection, Text& hint);

/// The items to save in that row: those that are named, or else the one that is meant. None with LastErrorText and a
/// hint: "No item selected" where a name stands for nothing, or several items could be meant.
std::vector<Item*> chosenItems(const std::vector<Text>& names, Collection& collection, FormatIndex row, Text& hint);

/// The only song, for `tervo render`. None with LastErrorText and a hint.
std::vector<Item*> songToRender(const Collection& collection, Text& hint);

/// The item to play: that of "--item", else the only song, instrument or waveform. Null with LastErrorText and a hint.
const Item* chosenToPlay(const CommandLine& line, const Collection& collection, Text& hint);

/// "--item" taken apart. Nothing when the text is not of that form.
struct ItemName {
  ItemKind kind;
  std::size_t index;
};
std::optional<ItemName> itemNamed(TextView text);

}  // namespace tervo::cli

#pragma once
// Several items, each into a file of its own: the multi-item save.

#include <span>
#include <vector>

#include "formats/save_flow.h"

namespace tervo {

enum class SubFolders : uint8_t { none, byKind };

struct SavedItem {
  ItemId item = noItem;
  Text path;
  Text failure;  ///< empty when it was saved
};

/// What the item is called; the word for its kind where it has no name.
TextView ownNameOf(const Item& item);

/// The file that each item gets in the folder: its name, made fit for file systems, and numbered where two items would
/// get one file. Letters that differ in case alone count as the same.
std::vector<SavedItem> planSaveEach(std::span<const Item* const> items, FormatIndex index, TextView folder,
                                    SubFolders subFolders);

/// Writes them one after another; one that fails is told in the list and does not stop the others. The user may cancel
/// between two items: the rest then say "Save aborted!". Folders that are missing are made. True when all were saved.
bool SaveEach(std::vector<SavedItem>& items, FormatIndex index, const SaveContext& context);

/// A name that every file system takes: no separators, control characters or names of devices, not too long. "unnamed"
/// when nothing is left.
Text fileNameFor(TextView name);

}  // namespace tervo

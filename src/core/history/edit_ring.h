#pragma once
// The edit ring: what items were like before and after the last edits. 64 entries; recording drops what could be redone
// and, when the ring is full, the oldest entry. Document thread.

#include <array>

#include "core/history/item_image.h"

namespace tervo {

/// Where the content of an entry is.
enum class StorageCode : uint8_t {
  stateFile = 7,  ///< in a program-state file, which is deleted with the entry
  memory = 8,
};

/// A move leaves nothing behind.
struct EditEntry {
  /// The item that the entry restores. Of kind `special` for markers, with the length of the block in the low 28 bits;
  /// noItem for a barrier.
  ItemId item = noItem;
  StorageCode storage = StorageCode::memory;
  ItemImage image;
  Text statePath;  ///< of the state file
  Text label;      ///< in the undo list, for example "Edit markers"

  bool isBarrier() const { return item == noItem && storage == StorageCode::memory; }
  /// The same item with the same content, whatever the label says.
  bool restoresTheSame(const EditEntry& other) const;
};

class EditRing {
 public:
  static constexpr int capacity = 64;

  EditRing() = default;
  ~EditRing() { ClearSnapshots(); }
  EditRing(const EditRing&) = delete;
  EditRing& operator=(const EditRing&) = delete;

  /// Records behind the current entry, unless that restores the same.
  void RecordSnapshot(EditEntry&& entry);
  /// Puts the content of `entry` in the place of the current entry's.
  void amendCurrent(EditEntry&& entry);
  /// Goes one entry back, or forth, and returns the entry to restore; null when there is none.
  const EditEntry* Undo();
  const EditEntry* Redo();
  /// Drops all entries.
  void ClearSnapshots();

  // -1 when the ring is empty.
  int oldest() const { return oldest_; }
  int newest() const { return newest_; }
  int current() const { return current_; }
  bool canUndo() const { return current_ != oldest_; }
  bool canRedo() const { return current_ != newest_; }
  /// The entry so many steps behind the current one, before it where negative; null beyond the ends.
  const EditEntry* entryAt(int steps) const;
  const EditEntry* currentEntry() const { return current_ < 0 ? nullptr : &at(current_); }

 private:
  const EditEntry& at(int index) const { return entries_[static_cast<std::size_t>(index)]; }
  EditEntry& at(int index) { return entries_[static_cast<std::size_t>(index)]; }
  void drop(int index);

  std::array<EditEntry, capacity> entries_;
  int oldest_ = -1, newest_ = -1, current_ = -1;
};

}  // namespace tervo

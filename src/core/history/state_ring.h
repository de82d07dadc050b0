#pragma once
// The ring of saved states: whole-document restore points in program-state files. 32 entries; making one drops those
// that lie ahead of the current one and, when the ring is full, the oldest, with their files. Document thread.

#include <array>
#include <chrono>

#include "core/history/state_file.h"

namespace tervo {

/// The folder of the user's program-state files. It need not exist yet.
Text stateFolder();
/// "Saved state 14:05.33", by the local clock.
Text savedStateName(std::chrono::system_clock::time_point when);
/// The name with every ":" and "." replaced by "_", and the extension.
Text stateFileName(TextView stateName);

class StateRing {
 public:
  static constexpr int capacity = 32;
  /// Takes up the states in the folder, the last one written as the current one. Those that the ring has no room for
  /// are deleted, oldest first.
  StateRing(Text folder, OpenStored openStored);

  /// Writes the document under the name and makes it the current entry. A failure leaves ring and files as they were.
  bool SaveState(const ItemImage& document, Text name);
  enum class AfterLoading : uint8_t { keepFile, deleteFile };
  /// Loads the state that is `offset` entries older than the current one, or newer when negative, and makes it the
  /// current one. With its file deleted it leaves the ring, and the next older entry is the current one.
  bool RestoreState(Collection& document, int offset, AfterLoading afterLoading);

  // -1 when the ring is empty.
  int oldest() const { return oldest_; }
  int newest() const { return newest_; }
  int current() const { return current_; }
  /// The name of an entry, empty for a free one.
  const Text& name(int index) const { return names_[static_cast<std::size_t>(index)]; }
  Text pathOf(TextView name) const;

 private:
  Text& at(int index) { return names_[static_cast<std::size_t>(index)]; }
  void drop(int index, TextView keptName);
  void takeOut(int index);

  Text folder_;
  OpenStored openStored_;
  std::array<Text, capacity> names_;
  int oldest_ = -1, newest_ = -1, current_ = -1;
};

}  // namespace tervo

#include "core/history/edit_ring.h"

#include <utility>

#include "platform/file.h"

namespace tervo {
namespace {

constexpr int after(int index) {
  return (index + 1) % EditRing::capacity;
}
constexpr int before(int index) {
  return (index + EditRing::capacity - 1) % EditRing::capacity;
}

}  // namespace

bool EditEntry::restoresTheSame(const EditEntry& other) const {
  return item == other.item && storage == other.storage && image == other.image && statePath == other.statePath;
}

void EditRing::RecordSnapshot(EditEntry&& entry) {
  if (current_ >= 0 && at(current_).restoresTheSame(entry)) {
    entry = EditEntry();
    return;
  }
  for (; newest_ != current_; newest_ = before(newest_)) drop(newest_);
  current_ = after(current_);
  if (current_ == oldest_) {
    drop(oldest_);
    oldest_ = after(oldest_);
  }
  at(current_) = std::exchange(entry, EditEntry());
  newest_ = current_;
  if (oldest_ < 0) oldest_ = current_;
}

void EditRing::amendCurrent(EditEntry&& entry) {
  if (current_ >= 0) at(current_) = std::exchange(entry, EditEntry());
}

const EditEntry* EditRing::Undo() {
  if (current_ == oldest_) return nullptr;
  current_ = before(current_);
  return &at(current_);
}

const EditEntry* EditRing::Redo() {
  if (current_ == newest_) return nullptr;
  current_ = after(current_);
  return &at(current_);
}

const EditEntry* EditRing::entryAt(int steps) const {
  if (current_ < 0) return nullptr;
  const int behind = (newest_ - current_ + capacity) % capacity, before = (current_ - oldest_ + capacity) % capacity;
  return steps > behind || -steps > before ? nullptr : &at((current_ + steps + capacity) % capacity);
}

void EditRing::ClearSnapshots() {
  for (int index = 0; index < capacity; ++index) drop(index);
  oldest_ = newest_ = current_ = -1;
}

void EditRing::drop(int index) {
  if (at(index).storage == StorageCode::stateFile) platform::removeFile(at(index).statePath);
  at(index) = EditEntry();
}

}  // namespace tervo

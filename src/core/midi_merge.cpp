#include "core/midi_merge.h"

namespace tervo {

MergedEvents::MergedEvents(const Song& song) : heads_(song.tracks().size()), delivered_(song.tracks().size()) {
  walks_.reserve(song.tracks().size());
  for (const auto& track : song.tracks()) walks_.emplace_back(track->data);
  for (std::size_t i = 0; i < walks_.size(); ++i) advance(i);
}

void MergedEvents::advance(std::size_t track) {
  heads_[track] = walks_[track].next();
  if (heads_[track]) queue_.push({heads_[track]->tick, track});
}

MergedEvents::Place MergedEvents::next() {
  // The event that was delivered last lives in its walk, so that walk goes on only now.
  if (delivered_ < walks_.size()) advance(delivered_);
  delivered_ = walks_.size();
  if (queue_.empty()) return {nullptr, 0};
  delivered_ = queue_.top().track;
  queue_.pop();
  return {heads_[delivered_], delivered_};
}

}  // namespace tervo

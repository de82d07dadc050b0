#include "core/articulation_set.h"

#include <algorithm>
#include <cassert>

namespace tervo {
namespace {

template <typename Entries>
auto placeOf(Entries& entries, ParameterId row) {
  return std::lower_bound(entries.begin(), entries.end(), row,
                          [](const ParameterSet::Entry& entry, ParameterId sought) { return entry.first < sought; });
}

}  // namespace

ParameterSet::ParameterSet(std::span<const Entry> entries) {
  assert(std::adjacent_find(entries.begin(), entries.end(),
                            [](const Entry& a, const Entry& b) { return a.first >= b.first; }) == entries.end());
  if (entries.empty()) return;
  std::copy(entries.begin(), entries.end(), own(entries.size()).begin());
  size_ = static_cast<uint32_t>(entries.size());
}

/// The entries, which no copy shares, with room for so many.
std::span<ParameterSet::Entry> ParameterSet::own(std::size_t room) {
  const auto before = entries();
  if (before.empty()) size_ = room_ = 0;
  if (entries_.use_count() != 1 || room > room_) {
    constexpr std::size_t usual = 4;  // a range of keys, one of velocities
    const std::size_t wanted = room > room_ ? std::max({room, usual, 2 * before.size()}) : room_;
    auto made = std::make_shared_for_overwrite<Entry[]>(wanted);
    std::copy(before.begin(), before.end(), made.get());
    entries_ = std::move(made);
    room_ = static_cast<uint32_t>(wanted);
  }
  return {entries_.get(), room_};
}

std::optional<float> ParameterSet::get(ParameterId row) const {
  const auto all = entries();
  const auto place = placeOf(all, row);
  if (place == all.end() || place->first != row) return std::nullopt;
  return place->second;
}

void ParameterSet::set(ParameterId row, float value) {
  const auto all = entries();
  const auto place = all.empty() || all.back().first < row ? all.end() : placeOf(all, row);
  const auto index = place - all.begin();
  if (place != all.end() && place->first == row) {
    own(size_)[static_cast<std::size_t>(index)].second = value;
    return;
  }
  const auto first = own(all.size() + 1).begin();
  std::move_backward(first + index, first + size_, first + size_ + 1);
  first[index] = {row, value};
  ++size_;
}

void ParameterSet::erase(ParameterId row) {
  const auto all = entries();
  const auto index = placeOf(all, row) - all.begin();
  if (!get(row)) return;
  const auto first = own(size_).begin();
  std::move(first + index + 1, first + size_, first + index);
  if (--size_ == 0) entries_ = nullptr;
}

bool ParameterSet::operator==(const ParameterSet& other) const {
  return entries().data() == other.entries().data() || std::ranges::equal(entries(), other.entries());
}

}  // namespace tervo

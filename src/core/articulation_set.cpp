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

ParameterSet::ParameterSet(std::vector<Entry> entries) : entries_(std::move(entries)) {
  assert(std::adjacent_find(entries_.begin(), entries_.end(),
                            [](const Entry& a, const Entry& b) { return a.first >= b.first; }) == entries_.end());
}

std::optional<float> ParameterSet::get(ParameterId row) const {
  const auto place = placeOf(entries_, row);
  if (place == entries_.end() || place->first != row) return std::nullopt;
  return place->second;
}

void ParameterSet::set(ParameterId row, float value) {
  constexpr std::size_t usualRows = 4;  // a range of keys, one of velocities
  if (entries_.empty()) entries_.reserve(usualRows);
  if (entries_.empty() || entries_.back().first < row) {
    entries_.emplace_back(row, value);
    return;
  }
  const auto place = placeOf(entries_, row);
  if (place != entries_.end() && place->first == row) {
    place->second = value;
    return;
  }
  entries_.insert(place, {row, value});
}

void ParameterSet::erase(ParameterId row) {
  const auto place = placeOf(entries_, row);
  if (place != entries_.end() && place->first == row) entries_.erase(place);
}

}  // namespace tervo

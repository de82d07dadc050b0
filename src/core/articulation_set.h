#pragma once
// A sparse set of numbers by ParameterId: the rows that one level of an instrument sets. A value type; rows that are
// not set are absent and come from the level above, or from the row's default.

#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "core/parameter_id.h"

namespace tervo {

class ParameterSet {
 public:
  using Entry = std::pair<ParameterId, float>;

  ParameterSet() = default;
  /// By ascending row, each row once.
  explicit ParameterSet(std::vector<Entry> entries);

  std::optional<float> get(ParameterId row) const;
  void set(ParameterId row, float value);
  void erase(ParameterId row);
  bool empty() const { return entries_.empty(); }
  /// The rows that are set, by ascending row.
  std::span<const Entry> entries() const { return entries_; }
  bool operator==(const ParameterSet&) const = default;

 private:
  std::vector<Entry> entries_;
};

/// Articulation rows, 0..188.
using ArticulationSet = ParameterSet;

}  // namespace tervo

#pragma once
// A sparse set of numbers by ParameterId: the rows that one level of an instrument sets. A value type; rows that are
// not set are absent and come from the level above, or from the row's default.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <utility>

#include "core/parameter_id.h"

namespace tervo {

/// Copies share their entries until one of them changes: the regions of a large bank mostly sound alike. One set is for
/// one thread at a time, as other values are; copies in different threads have nothing to do with each other.
class ParameterSet {
 public:
  using Entry = std::pair<ParameterId, float>;

  ParameterSet() = default;
  /// By ascending row, each row once.
  explicit ParameterSet(std::span<const Entry> entries);

  std::optional<float> get(ParameterId row) const;
  void set(ParameterId row, float value);
  void erase(ParameterId row);
  bool empty() const { return entries().empty(); }
  /// The rows that are set, by ascending row. Copies that share them have them at the same address.
  std::span<const Entry> entries() const { return {entries_.get(), entries_ ? size_ : 0}; }
  bool operator==(const ParameterSet& other) const;

 private:
  std::span<Entry> own(std::size_t room);

  std::shared_ptr<Entry[]> entries_;  ///< null when there are none
  uint32_t size_ = 0, room_ = 0;      ///< of no meaning without entries
};

/// Articulation rows, 0..188.
using ArticulationSet = ParameterSet;

}  // namespace tervo

#pragma once
// Samples that integers cannot hold. Writers count them while they encode, so that whatever made them is reported.

#include <cstdint>
#include <span>

#include "core/report.h"

namespace tervo {

class ClippingCount {
 public:
  void add(std::span<const float> samples);
  /// One entry, where there were any.
  void reportTo(ConversionReport& report, TextView item) const;

 private:
  uint64_t samples_ = 0;
};

}  // namespace tervo

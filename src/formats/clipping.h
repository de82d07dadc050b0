#pragma once
// Samples that integers cannot hold. Writers count them while they encode, so that whatever made them is reported.

#include <cstdint>
#include <span>

#include "core/report.h"

namespace tervo {

/// What reports call samples that are infinite or not a number.
inline constexpr char16_t notNumbers[] = u"samples that are no finite numbers";

class ClippingCount {
 public:
  void add(std::span<const float> samples);
  /// An entry for those beyond full scale and one for those that are not a number, where there were any.
  void reportTo(ConversionReport& report, TextView item) const;

 private:
  uint64_t beyond_ = 0, silent_ = 0;
};

}  // namespace tervo

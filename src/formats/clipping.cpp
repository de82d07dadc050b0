#include "formats/clipping.h"

#include <cmath>

#include "formats/number_text.h"

namespace tervo {
namespace {

constexpr float fullScale = 1.000001f;  // beyond what a gain up to full scale rounds to

}  // namespace

void ClippingCount::add(std::span<const float> samples) {
  uint32_t outside = 0, notANumber = 0;
  for (const float sample : samples) outside += !(std::abs(sample) <= fullScale);
  if (outside == 0) return;
  for (const float sample : samples) notANumber += std::isnan(sample);
  beyond_ += outside - notANumber;
  silent_ += notANumber;
}

void ClippingCount::reportTo(ConversionReport& report, TextView item) const {
  const auto add = [&](TextView what, uint64_t samples, TextView now) {
    if (samples > 0) report.approximated(item, Text(what), numberText(static_cast<double>(samples)), Text(now));
  };
  add(u"samples beyond full scale", beyond_, u"clipped");
  add(notNumbers, silent_, u"silent");
}

}  // namespace tervo

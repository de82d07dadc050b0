#include "formats/clipping.h"

#include <algorithm>
#include <cmath>

#include "dsp/frame_kernels.h"
#include "formats/number_text.h"

namespace tervo {
namespace {

constexpr float fullScale = 1.000001f;  // beyond what a gain up to full scale rounds to

}  // namespace

void ClippingCount::add(std::span<const float> samples) {
  if (dsp::peakOf(samples) <= fullScale) return;
  samples_ += static_cast<uint64_t>(
      std::count_if(samples.begin(), samples.end(), [](float sample) { return std::abs(sample) > fullScale; }));
}

void ClippingCount::reportTo(ConversionReport& report, TextView item) const {
  if (samples_ > 0)
    report.approximated(item, u"samples beyond full scale", numberText(static_cast<double>(samples_)), u"clipped");
}

}  // namespace tervo

#include <algorithm>
#include <cmath>

#include "dsp/frame_kernels.h"
#include "tools/wave/mapped_samples.h"
#include "tools/wave/sample_scan.h"
#include "tools/wave/wave_edit.h"
#include "tools/wave/wave_operations.h"

namespace tervo {
namespace {

/// The mean of each channel, of the samples that are finite.
std::optional<std::vector<double>> meansOf(const Waveform& waveform, Host& host) {
  std::vector<double> means(static_cast<std::size_t>(waveform.channels()));
  const bool read = scan(waveform.samples, host, [&means](std::span<const float> frames, int64_t) {
    dsp::addSums(frames, means);
    return true;
  });
  if (!read) return std::nullopt;
  for (double& mean : means) mean /= static_cast<double>(waveform.frames());
  return means;
}

}  // namespace

Outcome runRemoveDcOffset(Item& copy, const OptionValues&, const OperationContext& context) {
  constexpr double lowest = 0x1p-24;  // half a step of 24 bits
  Waveform& waveform = waveformIn(copy);
  const auto means = meansOf(waveform, context.host);
  if (!means) return Outcome::failed;
  const double largest =
      *std::max_element(means->begin(), means->end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
  if (std::abs(largest) < lowest) return leftAlone(waveform, u"DC offset", u"there is none", context.report);
  fixup::reportSamples(context.report, waveform, u"DC offset", decibelText(decibels(std::abs(largest))), u"none");
  std::vector<float> offsets;
  for (const double mean : *means) offsets.push_back(static_cast<float>(-mean));
  waveform.samples = mapped(waveform.samples, [offsets](std::span<const float> in, std::span<float> out, int64_t) {
    dsp::addToChannels(in, out, offsets);
  });
  return Outcome::changed;
}

}  // namespace tervo

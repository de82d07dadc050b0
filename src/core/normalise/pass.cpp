#include "core/normalise/pass.h"

#include <algorithm>
#include <cmath>

namespace tervo::fixup {

Users::Users(const Collection& collection) {
  forEachRegion(collection, [this](Region& region) { regions_[region.waveform].push_back(&region); });
}

const std::vector<Region*>& Users::of(const Waveform& waveform) const {
  static const std::vector<Region*> none;
  const auto found = regions_.find(waveform.id());
  return found == regions_.end() ? none : found->second;
}

WholeLoop wholeLoop(const Marker& loop, const Waveform& waveform) {
  const int64_t frames = std::max<int64_t>(waveform.frames(), 1);
  const auto start = std::clamp<int64_t>(std::llround(loop.start), 0, frames - 1);
  return {start, std::clamp<int64_t>(start + std::llround(loop.length()), start + 1, frames)};
}

bool isFinerThanFloats(const Waveform& waveform) {
  const SampleFormat stored = formatOf(waveform.storedFormat);
  return stored == SampleFormat::pcm32 || stored == SampleFormat::float64;
}

void reportSamples(ConversionReport& report, const Waveform& waveform, TextView what, TextView from, TextView to) {
  const TextView loss = isFinerThanFloats(waveform) ? u", in 32-bit floats" : u"";
  const ReportKind kind = loss.empty() ? ReportKind::kept : ReportKind::approximated;
  report.add({waveform.name, Text(what), kind, Text(from), Text(to) + Text(loss)});
}

}  // namespace tervo::fixup

#include "tools/wave/sample_scan.h"

#include <algorithm>

#include "base/last_error.h"
#include "core/frame_reader.h"
#include "dsp/frame_kernels.h"

namespace tervo {
namespace {

constexpr std::size_t blockFrames = 32768;  // two asks for progress

}  // namespace

bool scan(const SampleRef& samples, Host& host,
          const std::function<bool(std::span<const float> frames, int64_t first)>& look) {
  auto reader = FrameReader::open(samples, 0);
  if (!reader) return false;
  const std::size_t blockSamples = blockFrames * static_cast<std::size_t>(samples->channels());
  for (int64_t first = 0; first < samples->frames();) {
    if (!host.progress(static_cast<double>(first) / static_cast<double>(samples->frames()))) return fail(u"Cancelled");
    const auto block = reader->next(blockSamples);
    if (!block) return false;
    if (block->empty()) return fail(u"Reading from file failed");
    if (!look(*block, first)) return false;
    first += static_cast<int64_t>(block->size()) / samples->channels();
  }
  return true;
}

std::optional<float> peakOf(const SampleRef& samples, Host& host) {
  float peak = 0;
  const bool read = scan(samples, host, [&peak](std::span<const float> frames, int64_t) {
    peak = std::max(peak, dsp::peakOf(frames));
    return true;
  });
  if (!read) return std::nullopt;
  return peak;
}

}  // namespace tervo

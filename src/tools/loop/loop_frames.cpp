#include "tools/loop/loop_frames.h"

#include "tools/wave/sample_scan.h"

namespace tervo {
std::optional<LoopFrames> readLoopFrames(const Waveform& waveform, Host& host) {
  LoopFrames all{{}, static_cast<std::size_t>(waveform.channels())};
  all.interleaved.reserve(static_cast<std::size_t>(waveform.frames()) * all.channels);
  const auto append = [&](std::span<const float> frames, int64_t) {
    all.interleaved.insert(all.interleaved.end(), frames.begin(), frames.end());
    return true;
  };
  if (!scan(waveform.samples, host, append)) return std::nullopt;
  return all;
}

void cutAfterLoop(LoopFrames& frames, std::size_t loopStart, std::size_t loopEnd) {
  std::vector<float>& x = frames.interleaved;
  x.resize(loopEnd * frames.channels);
  for (std::size_t i = 0; i < framesAfterLoop * frames.channels; ++i) {
    const float next = x[loopStart * frames.channels + i];
    x.push_back(next);
  }
}

}  // namespace tervo

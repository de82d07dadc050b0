#include "tools/loop/loop_frames.h"

#include "tools/wave/sample_scan.h"
#include "tools/wave/selectors.h"

namespace tervo {
namespace {

void cutMarkers(Waveform& waveform, double frames, const OperationContext& context) {
  for (std::size_t i = waveform.markers.size(); i-- > 0;) {
    Marker& marker = waveform.markers[i];
    if (marker.start >= frames) {
      context.report.dropped(waveform.name, u"marker " + marker.name, u"it was behind the loop");
      if (context.selectors) context.selectors->remove(i + 1);
      waveform.markers.erase(waveform.markers.begin() + static_cast<std::ptrdiff_t>(i));
    } else if (marker.end > frames && marker.type != MarkerType::position) {
      context.report.approximated(waveform.name, u"end of marker " + marker.name, u"", u"end of the frames");
      marker.end = frames;
    }
  }
}

}  // namespace

std::optional<LoopFrames> readLoopFrames(const Waveform& waveform, Host& host) {
  LoopFrames all{{}, static_cast<std::size_t>(waveform.channels())};
  all.interleaved.reserve(static_cast<std::size_t>(waveform.frames()) * all.channels);
  const auto append = [&](std::span<const float> frames, int64_t) {
    all.interleaved.insert(all.interleaved.end(), frames.begin(), frames.end());
    return true;
  };
  if (!scan(*waveform.samples, host, append)) return std::nullopt;
  return all;
}

void cutAfterLoop(Waveform& waveform, LoopFrames& frames, std::size_t loopStart, std::size_t loopEnd,
                  const OperationContext& context) {
  std::vector<float>& x = frames.interleaved;
  x.resize(loopEnd * frames.channels);
  for (std::size_t i = 0; i < framesAfterLoop * frames.channels; ++i) {
    const float next = x[loopStart * frames.channels + i];
    x.push_back(next);
  }
  cutMarkers(waveform, static_cast<double>(loopEnd + framesAfterLoop), context);
}

}  // namespace tervo

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "core/normalise/loop_frames.h"
#include "core/normalise/sample_views.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

/// The frame that a loop plays `later` frames after it has played its last one for the first time, 1 being the next.
int64_t loopedFrame(WholeLoop loop, LoopType type, int64_t later) {
  const int64_t n = loop.frames();
  if (n == 1) return loop.start;
  if (type == LoopType::forward) return loop.start + (later - 1) % n;
  if (type == LoopType::reverse) return loop.end - 1 - later % n;
  const int64_t phase = (n - 1 + later) % (2 * n - 2);
  return loop.start + (phase < n ? phase : 2 * n - 2 - phase);
}

void appendFrame(std::vector<Piece>& pieces, const SampleRef& samples, int64_t frame) {
  Piece& last = pieces.back();
  if (pieces.size() > 1 && last.first + last.frames == frame)
    ++last.frames;
  else
    pieces.push_back({samples, frame, 1});
}

int64_t endOf(const Marker& loop) {
  return static_cast<int64_t>(std::ceil(loop.end));
}

/// The loop that ends last; null when there is none.
const Marker* lastLoop(const Waveform& waveform) {
  const Marker* last = nullptr;
  for (const Marker& marker : waveform.markers) {
    if (isActiveLoop(marker) && (!last || marker.end > last->end)) last = &marker;
  }
  return last;
}

void append(Waveform& waveform, const Marker& loop, int64_t wanted, ConversionReport& report) {
  const WholeLoop range = wholeLoop(loop, waveform);
  const int64_t frames = waveform.frames();
  std::vector<Piece> pieces = {{waveform.samples, 0, frames}};
  for (int64_t frame = frames; frame < wanted; ++frame)
    appendFrame(pieces, waveform.samples, loopedFrame(range, loop.loopType, frame - range.end + 1));
  reportSamples(report, waveform, u"frames", fromUtf8(fmt::format("{}", frames)), fromUtf8(fmt::format("{}", wanted)));
  waveform.samples = joined(std::move(pieces));
}

}  // namespace

bool appendBehindLoops(Waveform& waveform, int64_t frames, ConversionReport& report) {
  const Marker* loop = waveform.holdsData() ? lastLoop(waveform) : nullptr;
  if (!loop || waveform.frames() >= endOf(*loop) + frames) return false;
  append(waveform, *loop, endOf(*loop) + frames, report);
  return true;
}

bool appendFrames(Pass& pass) {
  constexpr int64_t framesWanted = 32;  // what interpolating players read behind a loop's end
  for (const auto& waveform : pass.loaded.waveforms()) appendBehindLoops(*waveform, framesWanted, pass.report);
  return true;
}

}  // namespace tervo::fixup

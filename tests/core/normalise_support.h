#pragma once
// A player that follows loops frame by frame, and small documents for the tests of the load-time normalisation.

#include <functional>
#include <vector>

#include "core/levels.h"
#include "core/normalise/fix_up.h"

namespace tervo::fixup_test {

/// All frames, read in blocks of an odd size.
inline std::vector<float> framesOf(const SampleRef& samples, int64_t first = 0, std::size_t blockSamples = 14) {
  std::vector<float> all, block(blockSamples);
  const auto stream = samples->open(first);
  while (true) {
    const auto frames = stream->read(block);
    if (!frames.value_or(0)) return all;
    all.insert(all.end(), block.begin(),
               block.begin() + static_cast<std::ptrdiff_t>(*frames * static_cast<std::size_t>(samples->channels())));
  }
}

/// The frame numbers that are heard when frames [start, end) are played with a loop, up to `count` of them. The player
/// moves a position one frame at a time and turns it round at the ends of the loop.
inline std::vector<int64_t> heardFrames(int64_t start, int64_t end, const std::optional<Marker>& loop, int count) {
  std::vector<int64_t> heard;
  const auto first = static_cast<int64_t>(loop ? loop->start : 0),
             last = static_cast<int64_t>(loop ? loop->end : 0) - 1;
  const bool reaches = loop && start <= last && last < end;
  int64_t step = 1;
  for (int64_t at = start; at < end && static_cast<int>(heard.size()) < count; at += step) {
    heard.push_back(at);
    if (!reaches) continue;
    if (first == last) {
      if (at == last) step = 0;
    } else if (loop->loopType == LoopType::forward) {
      if (at == last) at = first - 1;
    } else if (loop->loopType == LoopType::alternating) {
      if (at == last) step = -1;
      if (at == first && step < 0) step = 1;
    } else {
      if (at == last) step = -1;
      if (at == first && step < 0) at = last + 1;
    }
  }
  return heard;
}

/// The same as samples of one channel.
inline std::vector<float> heard(const Waveform& waveform, FrameRange range, const std::optional<Marker>& loop,
                                int channel, int count) {
  const std::vector<float> all = framesOf(waveform.samples);
  std::vector<float> out;
  for (const int64_t frame :
       heardFrames(static_cast<int64_t>(range.start), static_cast<int64_t>(range.end), loop, count))
    out.push_back(all[static_cast<std::size_t>(frame * waveform.channels() + channel)]);
  return out;
}

inline Marker loopMarker(double start, double end, LoopType type, uint8_t count = loopForever) {
  return {.type = MarkerType::loop, .start = start, .end = end, .loopType = type, .loopCount = count};
}

/// Frames 0, 1/256, 2/256 ... plus `first`, interleaved.
inline SampleRef ramp(int64_t frames, int channels, float first = 0) {
  std::vector<float> samples(static_cast<std::size_t>(frames * channels));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = first + static_cast<float>(i) / 256;
  return makeResident(std::move(samples), channels);
}

/// One instrument over a collection, with its pass.
struct Document {
  Collection collection;
  Settings settings;
  Host host;
  ConversionReport report;

  Document() { settings.load = {}; }

  Waveform& wave(TextView name, SampleRef samples, std::vector<Marker> markers = {}) {
    Waveform& waveform = collection.add(std::make_unique<Waveform>());
    waveform.name = name;
    waveform.samples = std::move(samples);
    waveform.markers = std::move(markers);
    return waveform;
  }
  Layer& layer() {
    if (collection.instruments().empty()) collection.add(std::make_unique<Instrument>());
    return collection.instruments().front()->add(std::make_unique<Layer>());
  }
  static Region& region(Layer& layer, const Waveform& waveform, float pan = 0) {
    Region& region = layer.add(std::make_unique<Region>());
    region.waveform = waveform.id();
    if (pan != 0) region.articulation.set(ParameterId::panPosition, pan);
    return region;
  }
  bool fixUp(const Collection* mergedInto = nullptr) {
    return FixUpItems(collection, mergedInto, settings, host, report);
  }
  std::vector<Text> names() const {
    std::vector<Text> result;
    for (const auto& waveform : collection.waveforms()) result.push_back(waveform->name);
    return result;
  }
};

}  // namespace tervo::fixup_test

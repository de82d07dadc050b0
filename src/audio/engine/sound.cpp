#include "audio/engine/sound.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "core/levels.h"

namespace tervo::audio {
namespace {

std::shared_ptr<Sound> readSound(const SampleData& samples) {
  constexpr std::size_t framesAtOnce = 8192;
  auto sound = std::make_shared<Sound>();
  const auto channels = static_cast<std::size_t>(samples.channels());
  const auto total = static_cast<std::size_t>(samples.frames());
  sound->channels = std::min(samples.channels(), 2);
  for (int c = 0; c < sound->channels; ++c) sound->channel[c].resize(total);
  const auto stream = samples.open();
  if (!stream) return nullptr;
  std::vector<float> block(framesAtOnce * channels);
  for (std::size_t done = 0; done < total;) {
    const auto frames = stream->read(block);
    if (!frames) return nullptr;
    if (*frames == 0) break;
    for (std::size_t c = 0; c < static_cast<std::size_t>(sound->channels); ++c)
      for (std::size_t i = 0; i < *frames; ++i) {
        const float x = block[i * channels + c];
        // What is no number would stay in filters and effects for ever.
        sound->channel[c][done + i] = std::isfinite(x) ? x : 0.0f;
      }
    done += *frames;
  }
  return sound;
}

/// Where the loop lies once its turns are laid out: see the unrolling of loops at load time, which sounds the same.
struct LaidOut {
  std::vector<std::pair<int64_t, int64_t>> pieces;  ///< put in behind the loop: from, to; backwards where from > to
  int64_t start, end;
};

LaidOut layOut(LoopType type, int64_t start, int64_t end, bool isLeft) {
  const int64_t n = end - start;
  if (n < 2) return {{}, start, end};
  if (type == LoopType::reverse) return {{{end - 1, start}}, end - 1, end - 1 + n};
  if (!isLeft) return {{{end - 1, start + 1}}, start, end + n - 2};
  return {{{end - 1, start}, {start, end - 1}}, end, end + 2 * n - 2};
}

std::shared_ptr<Sound> withTurns(const Sound& plain, const LaidOut& turns, int64_t at) {
  auto sound = std::make_shared<Sound>();
  sound->channels = plain.channels;
  for (int c = 0; c < plain.channels; ++c) {
    const std::vector<float>& from = plain.channel[c];
    std::vector<float>& to = sound->channel[c];
    to.assign(from.begin(), from.begin() + at);
    for (const auto& [first, last] : turns.pieces) {
      // The frame on which it turns has been played.
      const int64_t step = first > last ? -1 : 1;
      for (int64_t i = first + step; i != last + (step > 0 ? 1 : -1); i += step)
        to.push_back(from[static_cast<std::size_t>(i)]);
    }
    to.insert(to.end(), from.begin() + at, from.end());
  }
  return sound;
}

}  // namespace

FixedFrames toFixed(double frames) {
  return static_cast<FixedFrames>(std::llround(frames * static_cast<double>(fixedOne)));
}

std::shared_ptr<const Sound> SoundCopies::find(const Key& key) {
  const auto found = copies_.find(key);
  if (found == copies_.end()) return nullptr;
  return found->second.samples.lock() ? found->second.sound.lock() : nullptr;
}

void SoundCopies::forgetUnused() {
  std::erase_if(copies_, [](const auto& each) { return each.second.sound.expired() || each.second.samples.expired(); });
}

std::shared_ptr<const Sound> SoundCopies::plainCopy(const SampleRef& samples) {
  const Key key{samples.get(), 0, 0, LoopType::off, false};
  if (auto sound = find(key)) return sound;
  auto sound = readSound(*samples);
  copies_[key] = {sound, samples};
  return sound;
}

bool SoundCopies::copyFor(const Region& region, PlayedSound& result) {
  result = {};
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  if (!waveform || !waveform->holdsData()) return true;
  auto sound = plainCopy(waveform->samples);
  if (!sound) return false;
  const FrameRange played = playedFrames(region);
  result.start = toFixed(played.start);
  result.end = std::min(toFixed(played.end), sound->frames() << fixedBits);
  const auto loop = playedLoop(region);
  // A loop that is entered behind its end is never played; less than a frame is none.
  if (loop && loop->length() >= 1 && loop->start >= 0 && toFixed(loop->end) <= result.end && played.start < loop->end) {
    if (loop->loopType == LoopType::forward) {
      result.loop = PlayedLoop{toFixed(loop->start), toFixed(loop->end), loop->loopCount, loop->loopPitch};
    } else {
      const bool isLeft = loop->loopType == LoopType::alternating && loop->loopCount != loopForever;
      const auto start = static_cast<int64_t>(std::llround(loop->start));
      const int64_t end = std::max(static_cast<int64_t>(std::llround(loop->end)), start + 1);
      const LaidOut turns = layOut(loop->loopType, start, end, isLeft);
      const Key key{waveform->samples.get(), start, end, loop->loopType, isLeft};
      auto turned = find(key);
      if (!turned) {
        turned = withTurns(*sound, turns, end);
        copies_[key] = {turned, waveform->samples};
      }
      result.end += (turned->frames() - sound->frames()) << fixedBits;
      result.loop = PlayedLoop{turns.start << fixedBits, turns.end << fixedBits, loop->loopCount, loop->loopPitch};
      sound = turned;
    }
  }
  result.sound = std::move(sound);
  return true;
}

}  // namespace tervo::audio

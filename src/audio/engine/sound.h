#pragma once
// The engine's own copy of what a region plays: frames in memory, channel by channel, with a forward loop or none.
// Made on the document thread, read by voices, never changed.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "audio/engine/block.h"
#include "core/instrument.h"
#include "core/waveform.h"

namespace tervo::audio {

FixedFrames toFixed(double frames);

struct PlayedLoop {
  FixedFrames start = 0;
  FixedFrames end = 0;
  uint8_t count = loopForever;
  float pitch = 0;  ///< semitones, while it plays

  FixedFrames length() const { return end - start; }
};

struct Sound {
  std::vector<float> channel[2];
  int channels = 0;

  int64_t frames() const { return static_cast<int64_t>(channel[0].size()); }
};

/// What a region plays of a sound.
struct PlayedSound {
  std::shared_ptr<const Sound> sound;  ///< null: the region is silent
  FixedFrames start = 0;
  FixedFrames end = 0;
  std::optional<PlayedLoop> loop;
};

/// Copies sounds, each once however many regions play it. Reverse and alternating loops become forward loops over
/// frames that are laid out as they are heard.
class SoundCopies {
 public:
  /// A sound without frames is silent. False with LastErrorText when the frames cannot be read.
  bool copyFor(const Region& region, PlayedSound& result);
  /// Drops its notes of copies that nobody has any more, or whose original is gone.
  void forgetUnused();

 private:
  struct Key {
    const SampleData* samples;
    int64_t loopStart, loopEnd;  ///< of the loop that was laid out; 0 where none was
    LoopType type;
    bool isLeft;  ///< what follows the loop is heard
    auto operator<=>(const Key&) const = default;
  };
  struct Copy {
    std::weak_ptr<const Sound> sound;
    std::weak_ptr<const SampleData> samples;  ///< still the one that the key names
  };
  std::shared_ptr<const Sound> plainCopy(const SampleRef& samples);
  std::shared_ptr<const Sound> find(const Key& key);

  std::map<Key, Copy> copies_;
};

}  // namespace tervo::audio

#pragma once
// A sampled sound: frames, how they were stored and are to be saved, playback parameters, markers and loops, tags.

#include <memory>
#include <vector>

#include "base/byte_source.h"
#include "base/endian.h"
#include "core/item.h"
#include "core/sample_data.h"
#include "core/sample_format.h"
#include "core/tags.h"

namespace tervo {

enum class MarkerType : uint8_t { position, section, loop };
/// "Off/One-shot | Forward/Normal | Reverse/Backwards | Alternating/Ping-Pong/Bi-directional".
enum class LoopType : uint8_t { off, forward, reverse, alternating };

/// "Position", "Section", "Loop".
TextView nameOf(MarkerType type);
/// "Off", "Forward", "Reverse", "Alternating".
TextView nameOf(LoopType type);

// Loop counts with a meaning of their own; the others are how often the loop plays.
inline constexpr uint8_t loopForever = 0;         ///< also while the key's release fades
inline constexpr uint8_t loopUntilRelease = 255;  ///< note-off leaves the loop and plays what follows it

/// Positions are frames counted from 0, fractions allowed; the end is the first frame after the range.
struct Marker {
  MarkerType type = MarkerType::position;
  Text name = {};
  double start = 0;
  double end = 1;
  LoopType loopType = LoopType::off;
  uint8_t loopCount = loopForever;
  float loopPitch = 0;     ///< semitones, while the loop plays
  uint32_t foreignId = 0;  ///< the number by which the source file names it (a cue ID); 0 when it has none

  double length() const { return end - start; }
  bool operator==(const Marker&) const = default;
};

/// A chunk that the program does not understand, kept so that saving in the same kind of container writes it back.
struct ForeignChunk {
  FourCC container;  ///< "RIFF" for WAV and RF64, "FORM" for AIFF ...
  FourCC id;
  bool beforeSamples = false;                ///< stood before the sample data
  std::shared_ptr<const ByteSource> source;  ///< the body's bytes
  uint64_t offset = 0;
  uint64_t bytes = 0;
};

class Waveform final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::waveform;
  Waveform() : Item(itemKind) {}

  bool holdsData() const override { return samples && samples->frames() > 0; }

  Text name;
  SampleRef samples;                  ///< null while nothing has been read
  double sampleRate = 22050;          ///< Hz
  uint8_t rootKey = 60;               ///< MIDI key that plays at the original pitch
  float fineTune = 0;                 ///< "Playback Pitch adjustment", cents, -100..100
  float gain = 0;                     ///< "Playback Volume adjustment", dB
  SampleFormatWord storedFormat = 0;  ///< as it stood in the source, kept so that a later save can keep it
  int storedBits = 0;                 ///< bits per sample in the source
  SampleCoding coding = SampleCoding::pcm16;
  uint8_t preferredFormat = 21;  ///< "Preferred data format for saving", 0..21; 21 is "Default"
  std::vector<Marker> markers;
  Tags tags;
  std::vector<ForeignChunk> foreignChunks;

  int channels() const { return samples ? samples->channels() : 0; }
  int64_t frames() const { return samples ? samples->frames() : 0; }
  /// Sets stored format, bits and coding together (see codingOf).
  void setStoredFormat(SampleFormat format, uint32_t flags);
  /// Exchanges everything but identifier and owner.
  void swapContent(Waveform& other) noexcept;
};

/// Gives `to` everything that `from` is but its identity. The frames are shared.
void copySound(const Waveform& from, Waveform& to);

/// The first and the second marker that is a loop: what editors call "Main Loop" and "Alt Loop". Null when there is
/// none.
const Marker* mainLoop(const Waveform& waveform);
const Marker* altLoop(const Waveform& waveform);

}  // namespace tervo

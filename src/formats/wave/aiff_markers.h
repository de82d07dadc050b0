#pragma once
// How to play the samples of an AIFF file: the chunks "MARK" and "INST" (Apple, "Audio Interchange File Format" 1.3).
// Loops are pairs of markers: one that plays while a key is held, and one for after it.

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "base/byte_writer.h"
#include "core/waveform.h"

namespace tervo {

inline constexpr TextView sustainLoopName = u"Sustain Loop", releaseLoopName = u"Release Loop";

/// One entry of "MARK".
struct AiffMarker {
  uint16_t id = 0;  ///< from 1 on
  uint32_t position = 0;
  Text name;
};

/// Understands as many markers as are there whole.
std::vector<AiffMarker> readAiffMarkers(std::span<const std::byte> body);
std::vector<std::byte> makeAiffMarkers(std::span<const AiffMarker> markers);

// A loop of "INST": how it plays, and the markers that it lies between.
struct AiffLoop {
  BigU16 playMode, begin, end;
};
namespace AiffPlayMode {
inline constexpr uint16_t none = 0, forward = 1, forwardBackward = 2;
}

// "INST".
struct AiffInstrument {
  uint8_t baseNote = 60;
  int8_t detune = 0;                                 // cents
  std::array<uint8_t, 4> ranges = {0, 127, 0, 127};  // lowest and highest note, lowest and highest velocity
  BigI16 gain;                                       // dB
  AiffLoop sustain, release;
};
static_assert(sizeof(AiffInstrument) == 20);

std::optional<AiffInstrument> readAiffInstrument(std::span<const std::byte> body);

/// What the two chunks make of a waveform.
struct AiffPlayback {
  uint8_t rootKey = 60;
  float fineTune = 0;           ///< cents
  float gain = 0;               ///< dB
  std::vector<Marker> markers;  ///< loops first
  std::vector<Text> lostNames;  ///< that a loop's markers had

  /// Whether a waveform still says the same.
  bool saysTheSameAs(const Waveform& waveform) const;
};
AiffPlayback understandAiff(std::span<const AiffMarker> markers, const std::optional<AiffInstrument>& instrument);
void apply(const AiffPlayback& playback, Waveform& waveform);

}  // namespace tervo

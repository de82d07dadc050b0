#pragma once
// How to play the samples of a WAV file: the chunks "smpl" and "inst" of RIFF-WAVE (Microsoft "New Multimedia Data
// Types and Data Techniques") and "wsmp" of DLS (Level 1, section 2.12; Level 2).

#include <optional>
#include <span>
#include <vector>

#include "base/byte_writer.h"
#include "core/waveform.h"

namespace tervo {

/// What a "smpl" chunk says.
struct SamplerData {
  std::optional<uint8_t> rootKey;
  float fineTune = 0;            ///< cents
  std::vector<Marker> loops;     ///< their foreignId is the cue ID
  std::vector<uint32_t> cueIds;  ///< of all loops, those that make no sense included
  bool hasOwnData = false;       ///< of one maker's sampler, behind the loops

  /// Whether a waveform with these loops still says the same.
  bool saysTheSameAs(const Waveform& waveform) const;
};

/// Understands as much of the body as is there; nothing when not even its fixed part is.
std::optional<SamplerData> readSampler(std::span<const std::byte> body);
void apply(const SamplerData& sampler, Waveform& waveform);

/// What an "inst" chunk says.
struct InstrumentData {
  uint8_t rootKey = 60;
  float fineTune = 0;  ///< cents
  float gain = 0;      ///< dB
};
std::optional<InstrumentData> readInstrumentChunk(std::span<const std::byte> body);
/// Key and tuning are taken only by a waveform that has none yet, the gain always.
void apply(const InstrumentData& instrument, Waveform& waveform);
/// Root key, fine tune, gain and loops of DLS. False when the body is too short for its fixed part.
bool readDlsSample(std::span<const std::byte> body, Waveform& waveform);

/// The loops of a waveform in their order.
std::vector<const Marker*> loopsOf(const Waveform& waveform);

/// The body of a "smpl" chunk; cueIds[i] belongs to the i-th loop.
std::vector<std::byte> makeSampler(const Waveform& waveform, std::span<const uint32_t> cueIds);
/// Sets the time of a frame in such a body, which a conversion of the rate changes.
void setSamplePeriod(std::span<std::byte> sampler, double sampleRate);

/// Key and tuning of the same pitch for fields that span half a semitone either way.
struct KeyTuning {
  uint8_t key;
  int8_t cents;
};
KeyTuning halfSemitoneTuning(const Waveform& waveform);

/// The 7 bytes of "inst". `previous` is the body that the source had, whose key and velocity ranges are kept.
std::vector<std::byte> makeInstrumentChunk(const Waveform& waveform, std::span<const std::byte> previous);

}  // namespace tervo

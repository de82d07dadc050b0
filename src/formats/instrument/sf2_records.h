#pragma once
// The records of a SoundFont bank as they stand in its "pdta" list ("SoundFont Technical Specification" 2.04,
// section 7), and the numbers of its generators (section 8.1).

#include <array>
#include <cstdint>
#include <string_view>

#include "base/endian.h"

namespace tervo::sf2 {

using RecordName = std::array<char, 20>;

struct PresetRecord {
  RecordName name;
  LittleU16 program, bank, firstBag;
  LittleU32 library, genre, morphology;
};

/// A zone, of a preset or of an instrument: where its generators and modulators begin.
struct BagRecord {
  LittleU16 firstGenerator, firstModulator;
};

struct ModulatorRecord {
  LittleU16 source, destination;
  LittleI16 amount;
  LittleU16 amountSource, transform;
};

struct GeneratorRecord {
  LittleU16 generator;
  LittleI16 amount;  ///< of a range the low byte is the lower end, the high byte the upper one
};

struct InstrumentRecord {
  RecordName name;
  LittleU16 firstBag;
};

struct SampleRecord {
  RecordName name;
  LittleU32 start, end, loopStart, loopEnd;  ///< in sample words from the beginning of "smpl"
  LittleU32 sampleRate;
  uint8_t rootKey;
  int8_t pitchCorrection;  ///< cents
  LittleU16 link, type;
};

static_assert(sizeof(PresetRecord) == 38 && sizeof(BagRecord) == 4 && sizeof(ModulatorRecord) == 10 &&
              sizeof(GeneratorRecord) == 4 && sizeof(InstrumentRecord) == 22 && sizeof(SampleRecord) == 46);

inline std::string_view nameIn(const RecordName& name) {
  const std::string_view chars(name.data(), name.size());
  return chars.substr(0, chars.find('\0'));
}

// Sample types.
inline constexpr uint16_t monoSample = 1, rightSample = 2, leftSample = 4, linkedSample = 8;
inline constexpr uint16_t compressedSample = 0x10;  ///< a stream of a codec in "smpl"; not in the published document
inline constexpr uint16_t romSample = 0x8000;

inline constexpr uint16_t drumBank = 128;
/// Silent words behind each sample, for synthesizers that read ahead.
inline constexpr uint32_t wordsBetweenSamples = 46;

// Sample modes.
inline constexpr int16_t loopsAlways = 1, loopsUntilRelease = 3;

enum class Gen : uint8_t {
  startOffset = 0,
  endOffset = 1,
  loopStartOffset = 2,
  loopEndOffset = 3,
  startOffsetCoarse = 4,
  modLfoToPitch = 5,
  vibLfoToPitch = 6,
  modEnvToPitch = 7,
  filterCutoff = 8,
  filterQ = 9,
  modLfoToCutoff = 10,
  modEnvToCutoff = 11,
  endOffsetCoarse = 12,
  modLfoToVolume = 13,
  chorusSend = 15,
  reverbSend = 16,
  pan = 17,
  modLfoDelay = 21,
  modLfoRate = 22,
  vibLfoDelay = 23,
  vibLfoRate = 24,
  modEnvDelay = 25,
  modEnvAttack = 26,
  modEnvHold = 27,
  modEnvDecay = 28,
  modEnvSustain = 29,
  modEnvRelease = 30,
  keyToModEnvHold = 31,
  keyToModEnvDecay = 32,
  volEnvDelay = 33,
  volEnvAttack = 34,
  volEnvHold = 35,
  volEnvDecay = 36,
  volEnvSustain = 37,
  volEnvRelease = 38,
  keyToVolEnvHold = 39,
  keyToVolEnvDecay = 40,
  instrument = 41,
  keyRange = 43,
  velocityRange = 44,
  loopStartOffsetCoarse = 45,
  keyNumber = 46,
  velocity = 47,
  attenuation = 48,
  loopEndOffsetCoarse = 50,
  coarseTune = 51,
  fineTune = 52,
  sampleId = 53,
  sampleModes = 54,
  scaleTuning = 56,
  exclusiveClass = 57,
  rootKey = 58,
};
inline constexpr std::size_t generatorCount = 60;

}  // namespace tervo::sf2

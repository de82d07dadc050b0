#pragma once
// Named constants for the rows of the ParameterTable; codecs use these names, never row numbers.

#include <cstdint>

namespace tervo {

/// A row's index in the ParameterTable, 0..233.
enum class ParameterId : uint16_t {
  // Pitch
  masterTuning = 0,
  keyToPitch = 1,
  pitchBendToPitch = 2,
  pLfoToPitch = 3,
  modWheelToPLfoToPitch = 4,
  aftertouchToPLfoToPitch = 5,
  velocityToPLfoToPitch = 6,
  xLfoToPitch = 7,
  modWheelToXLfoToPitch = 8,
  aftertouchToXLfoToPitch = 9,
  velocityToXLfoToPitch = 10,
  pEnvToPitch = 11,
  velocityToPEnvToPitch = 12,
  randomToPitch = 13,
  // Volume
  masterVolume = 14,
  velocityToVolume = 15,
  keyToVolume = 16,
  modWheelToVolume = 17,
  aftertouchToVolume = 18,
  vLfoToVolume = 19,
  modWheelToVLfoToVolume = 20,
  aftertouchToVLfoToVolume = 21,
  velocityToVLfoToVolume = 22,
  // Filter
  filterType = 23,
  filterCutoff = 24,
  velocityToCutoff = 25,
  keyToCutoff = 26,
  modWheelToCutoff = 27,
  aftertouchToCutoff = 28,
  fLfoToCutoff = 29,
  modWheelToFLfoToCutoff = 30,
  aftertouchToFLfoToCutoff = 31,
  velocityToFLfoToCutoff = 32,
  fEnvToCutoff = 33,
  velocityToFEnvToCutoff = 34,
  filterResonance = 35,
  velocityToResonance = 36,
  modWheelToResonance = 37,
  aftertouchToResonance = 38,
  // Equalizer
  eq1Mode = 39,
  eq1Frequency = 40,
  eq1Gain = 41,
  eq1Q = 42,
  eq2Mode = 43,
  eq2Frequency = 44,
  eq2Gain = 45,
  eq2Q = 46,
  eq3Mode = 47,
  eq3Frequency = 48,
  eq3Gain = 49,
  eq3Q = 50,
  // Pan
  panPosition = 51,
  cc10ToPan = 52,
  keyToPan = 53,
  xLfoToPan = 54,
  xEnvToPan = 55,
  randomToPan = 56,
  // Effect sends
  send1Level = 57,
  cc91ToSend1 = 58,
  send2Level = 59,
  cc92ToSend2 = 60,
  send3Level = 61,
  cc93ToSend3 = 62,
  send4Level = 63,
  cc94ToSend4 = 64,
  // LFOs
  pLfoShape = 65,
  pLfoFrequency = 66,
  pLfoDelay = 67,
  pLfoRamp = 68,
  vLfoShape = 69,
  vLfoFrequency = 70,
  vLfoDelay = 71,
  vLfoRamp = 72,
  fLfoShape = 73,
  fLfoFrequency = 74,
  fLfoDelay = 75,
  fLfoRamp = 76,
  xLfoShape = 77,
  xLfoFrequency = 78,
  xLfoDelay = 79,
  xLfoRamp = 80,
  // V-ENV
  vEnvInitialLevel = 81,
  vEnvAttack1Time = 82,
  vEnvVelocityToAttack1Time = 83,
  vEnvKeyToAttack1Time = 84,
  vEnvAttack1Level = 85,
  vEnvAttack2Time = 86,
  vEnvVelocityToAttack2Time = 87,
  vEnvKeyToAttack2Time = 88,
  vEnvAttack2Level = 89,
  vEnvDecay1Time = 90,
  vEnvVelocityToDecay1Time = 91,
  vEnvKeyToDecay1Time = 92,
  vEnvDecay1Level = 93,
  vEnvDecay2Time = 94,
  vEnvVelocityToDecay2Time = 95,
  vEnvKeyToDecay2Time = 96,
  vEnvSustain = 97,
  vEnvRelease1Rate = 98,
  vEnvRelease1Level = 99,
  vEnvRelease2Time = 100,
  vEnvRelease2Level = 101,
  vEnvRelease3Time = 102,
  vEnvRelease3Level = 103,
  vEnvVelocityToReleaseTime = 104,
  vEnvKeyToReleaseTime = 105,
  vEnvReleaseMode = 106,
  shutdownRate = 107,
  // P-ENV
  pEnvInitialLevel = 108,
  pEnvAttack1Time = 109,
  pEnvVelocityToAttack1Time = 110,
  pEnvKeyToAttack1Time = 111,
  pEnvAttack1Level = 112,
  pEnvAttack2Time = 113,
  pEnvVelocityToAttack2Time = 114,
  pEnvKeyToAttack2Time = 115,
  pEnvAttack2Level = 116,
  pEnvDecay1Time = 117,
  pEnvVelocityToDecay1Time = 118,
  pEnvKeyToDecay1Time = 119,
  pEnvDecay1Level = 120,
  pEnvDecay2Time = 121,
  pEnvVelocityToDecay2Time = 122,
  pEnvKeyToDecay2Time = 123,
  pEnvSustain = 124,
  pEnvRelease1Rate = 125,
  pEnvRelease1Level = 126,
  pEnvRelease2Time = 127,
  pEnvRelease2Level = 128,
  pEnvRelease3Time = 129,
  pEnvRelease3Level = 130,
  pEnvVelocityToReleaseTime = 131,
  pEnvKeyToReleaseTime = 132,
  pEnvReleaseMode = 133,
  separator134 = 134,
  // F-ENV
  fEnvInitialLevel = 135,
  fEnvAttack1Time = 136,
  fEnvVelocityToAttack1Time = 137,
  fEnvKeyToAttack1Time = 138,
  fEnvAttack1Level = 139,
  fEnvAttack2Time = 140,
  fEnvVelocityToAttack2Time = 141,
  fEnvKeyToAttack2Time = 142,
  fEnvAttack2Level = 143,
  fEnvDecay1Time = 144,
  fEnvVelocityToDecay1Time = 145,
  fEnvKeyToDecay1Time = 146,
  fEnvDecay1Level = 147,
  fEnvDecay2Time = 148,
  fEnvVelocityToDecay2Time = 149,
  fEnvKeyToDecay2Time = 150,
  fEnvSustain = 151,
  fEnvRelease1Rate = 152,
  fEnvRelease1Level = 153,
  fEnvRelease2Time = 154,
  fEnvRelease2Level = 155,
  fEnvRelease3Time = 156,
  fEnvRelease3Level = 157,
  fEnvVelocityToReleaseTime = 158,
  fEnvKeyToReleaseTime = 159,
  fEnvReleaseMode = 160,
  separator161 = 161,
  // X-ENV
  xEnvInitialLevel = 162,
  xEnvAttack1Time = 163,
  xEnvVelocityToAttack1Time = 164,
  xEnvKeyToAttack1Time = 165,
  xEnvAttack1Level = 166,
  xEnvAttack2Time = 167,
  xEnvVelocityToAttack2Time = 168,
  xEnvKeyToAttack2Time = 169,
  xEnvAttack2Level = 170,
  xEnvDecay1Time = 171,
  xEnvVelocityToDecay1Time = 172,
  xEnvKeyToDecay1Time = 173,
  xEnvDecay1Level = 174,
  xEnvDecay2Time = 175,
  xEnvVelocityToDecay2Time = 176,
  xEnvKeyToDecay2Time = 177,
  xEnvSustain = 178,
  xEnvRelease1Rate = 179,
  xEnvRelease1Level = 180,
  xEnvRelease2Time = 181,
  xEnvRelease2Level = 182,
  xEnvRelease3Time = 183,
  xEnvRelease3Level = 184,
  xEnvVelocityToReleaseTime = 185,
  xEnvKeyToReleaseTime = 186,
  xEnvReleaseMode = 187,
  separator188 = 188,
  // Trigger
  triggerType = 189,
  triggerLowKey = 190,
  triggerHighKey = 191,
  triggerLowVelocity = 192,
  triggerHighVelocity = 193,
  triggerKeyFadeIn = 194,
  triggerKeyFadeOut = 195,
  triggerKeyFadeFormula = 196,
  triggerVelocityFadeIn = 197,
  triggerVelocityFadeOut = 198,
  triggerVelocityFadeFormula = 199,
  triggerSustainSwitch = 200,
  triggerDelay = 201,
  keyExclusionGroup = 202,
  noteExclusionMode = 203,
  // Marker
  markerType = 204,
  markerName = 205,
  markerStart = 206,
  markerEnd = 207,
  loopType = 208,
  loopCount = 209,
  loopPitch = 210,
  // Info tags
  tagName = 211,
  tagArtist = 212,
  tagComments = 213,
  tagCopyright = 214,
  tagEngineer = 215,
  tagProduct = 216,
  tagSourceFile = 217,
  tagImage = 218,
  // Waveform
  sampleRate = 219,
  rootKey = 220,
  fineTune = 221,
  gain = 222,
  preferredFormat = 223,
  editedLoop = 224,
  // Region waveform overrides
  rootKeyOverride = 225,
  playSection = 226,
  loopSection = 227,
  phaseGroup = 228,
  phaseMaster = 229,
  // Instrument
  drumKit = 230,
  bankMsb = 231,
  bankLsb = 232,
  program = 233,
};
inline constexpr int parameterCount = 234;

constexpr int indexOf(ParameterId row) {
  return static_cast<int>(row);
}
constexpr ParameterId offsetBy(ParameterId row, int rows) {
  return static_cast<ParameterId>(indexOf(row) + rows);
}

constexpr bool isArticulation(ParameterId row) {
  return row <= ParameterId::separator188;
}
constexpr bool isTrigger(ParameterId row) {
  return row >= ParameterId::triggerType && row <= ParameterId::noteExclusionMode;
}
constexpr bool isMarkerRow(ParameterId row) {
  return row >= ParameterId::markerType && row <= ParameterId::loopPitch;
}
constexpr bool isTag(ParameterId row) {
  return row >= ParameterId::tagName && row <= ParameterId::tagImage;
}
/// What a region sets about the waveform that it plays.
constexpr bool isWaveformOverride(ParameterId row) {
  return row >= ParameterId::rootKeyOverride && row <= ParameterId::phaseMaster;
}

/// The four envelopes and the four LFOs have the same rows at a fixed distance.
enum class Modulator : uint8_t { volume, pitch, filter, extra };

/// The row of another envelope that corresponds to a row of the V-ENV (vEnvInitialLevel..vEnvReleaseMode).
constexpr ParameterId inEnvelope(Modulator envelope, ParameterId vEnvRow) {
  return offsetBy(vEnvRow, 27 * static_cast<int>(envelope));
}

/// The row of another LFO that corresponds to a row of the P-LFO (pLfoShape..pLfoRamp).
constexpr ParameterId inLfo(Modulator lfo, ParameterId pLfoRow) {
  constexpr int places[] = {1, 0, 2, 3};  // the P-LFO stands before the V-LFO
  return offsetBy(pLfoRow, 4 * places[static_cast<int>(lfo)]);
}

static_assert(inEnvelope(Modulator::pitch, ParameterId::vEnvSustain) == ParameterId::pEnvSustain);
static_assert(inEnvelope(Modulator::filter, ParameterId::vEnvInitialLevel) == ParameterId::fEnvInitialLevel);
static_assert(inEnvelope(Modulator::extra, ParameterId::vEnvReleaseMode) == ParameterId::xEnvReleaseMode);
static_assert(inLfo(Modulator::volume, ParameterId::pLfoShape) == ParameterId::vLfoShape);
static_assert(inLfo(Modulator::extra, ParameterId::pLfoRamp) == ParameterId::xLfoRamp);

}  // namespace tervo

#include "formats/instrument/sf1_zone.h"

#include <algorithm>
#include <cmath>

namespace tervo::sf2 {
namespace {

constexpr int16_t unsaid = -32768;
constexpr int fullSustain = 96, quarterTones = 50, halfTones = 100;

// Amounts in units of SoundFont 2.
double time(double milliseconds) {
  return milliseconds > 0 ? std::max(1200 * std::log2(milliseconds / 1000), -12000.0) : -12000;
}
double timePerKey(double amount) {
  return amount * 5.55;
}
/// Steps of 1/96 of 8.176 Hz.
double frequency(double steps) {
  return steps > 0 ? 1200 * std::log2(steps) - 7925 : -15600;
}
double modLfoFrequency(double steps) {
  return steps > 0 ? frequency(steps) : -725;
}
double pitchDepth(double amount) {
  return amount * 600 / 64;
}
double lfoToCutoff(double amount) {
  return amount * 3600 / 64;
}
double envelopeToCutoff(double amount) {
  return amount * 7200 / 64;
}
double tremolo(double amount) {
  return amount * 120 / 64;
}
double cutoff(double amount) {
  return amount >= 127 ? 14400 : 59 * amount + 4366;
}
double resonance(double amount) {
  return amount * 1.5;
}
double send(double amount) {
  return amount * 1000 / 255;
}
double pan(double amount) {
  return amount * 1000 / 127 - 500;
}
/// 127 is full amplitude. An attenuation of 1 is heard as 0.04 dB, not as 0.1.
double attenuation(double amplitude) {
  return amplitude > 0 ? std::min(-20 * std::log10(amplitude / 127) / 0.04, 1440.0) : 1440;
}
double modSustain(double level) {
  return level < fullSustain ? 1000 * (fullSustain - level) / fullSustain : 0;
}
double volumeSustain(double level) {
  return level < fullSustain ? 1000 - 10.5 * level : 0;
}
double scaleTuning(double isQuarter) {
  return isQuarter != 0 ? quarterTones : halfTones;
}

struct Conversion {
  Gen generator;
  double (*convert)(double amount);
};
// clang-format off
constexpr Conversion conversions[] = {
    {Gen::modLfoToPitch, pitchDepth}, {Gen::vibLfoToPitch, pitchDepth}, {Gen::modEnvToPitch, pitchDepth},
    {Gen::filterCutoff, cutoff}, {Gen::filterQ, resonance},
    {Gen::modLfoToCutoff, lfoToCutoff}, {Gen::modEnvToCutoff, envelopeToCutoff}, {Gen::modLfoToVolume, tremolo},
    {Gen::chorusSend, send}, {Gen::reverbSend, send}, {Gen::pan, pan}, {Gen::attenuation, attenuation},
    {Gen::modLfoDelay, time}, {Gen::modLfoRate, modLfoFrequency}, {Gen::vibLfoDelay, time}, {Gen::vibLfoRate, frequency},
    {Gen::modEnvDelay, time}, {Gen::modEnvAttack, time}, {Gen::modEnvHold, time}, {Gen::modEnvDecay, time},
    {Gen::modEnvSustain, modSustain}, {Gen::modEnvRelease, time},
    {Gen::keyToModEnvHold, timePerKey}, {Gen::keyToModEnvDecay, timePerKey},
    {Gen::volEnvDelay, time}, {Gen::volEnvAttack, time}, {Gen::volEnvHold, time}, {Gen::volEnvDecay, time},
    {Gen::volEnvSustain, volumeSustain}, {Gen::volEnvRelease, time},
    {Gen::keyToVolEnvHold, timePerKey}, {Gen::keyToVolEnvDecay, timePerKey},
    {Gen::scaleTuning, scaleTuning},
};
// clang-format on

ZoneValues makeUnsaid() {
  ZoneValues values = presetDefaults();
  for (std::size_t i = 0; i < generatorCount; ++i) {
    const bool isKept = i == static_cast<std::size_t>(Gen::keyRange) ||
                        i == static_cast<std::size_t>(Gen::velocityRange) ||
                        i == static_cast<std::size_t>(Gen::instrument) || i == static_cast<std::size_t>(Gen::sampleId);
    if (!isKept) values.generators[i] = unsaid;
  }
  return values;
}

/// What the card plays where no zone says anything.
const ZoneValues& sf1Defaults() {
  static const ZoneValues defaults = [] {
    ZoneValues values = instrumentDefaults();
    values[Gen::modEnvSustain] = values[Gen::volEnvSustain] = 1000;
    values[Gen::modLfoRate] = -725;
    values[Gen::vibLfoRate] = -15600;
    values.generators[samplePitchGenerator] = unsaid;
    return values;
  }();
  return defaults;
}

int16_t rounded(double value) {
  return static_cast<int16_t>(std::lround(std::clamp(value, -32767.0, 32767.0)));
}

/// Coarse and fine tuning count keys, which may be quarter tones; the sample's own pitch comes on top.
void tune(ZoneValues& values, const SampleRecord& sample) {
  const int cents =
      values[Gen::coarseTune] * values[Gen::scaleTuning] + values[Gen::fineTune] * values[Gen::scaleTuning] / halfTones;
  int correction = 0;
  if (const int16_t pitch = values.generators[samplePitchGenerator]; pitch != unsaid) {
    SampleRecord own = sample;
    setSamplePitch(own, pitch);
    correction = own.pitchCorrection - sample.pitchCorrection;
    if (values[Gen::rootKey] < 0 && own.rootKey != sample.rootKey) values[Gen::rootKey] = own.rootKey;
  }
  values[Gen::coarseTune] = rounded((cents + correction) / halfTones);
  values[Gen::fineTune] = rounded((cents + correction) % halfTones);
  values.generators[samplePitchGenerator] = 0;
}

}  // namespace

const ZoneValues& unsaidZone() {
  static const ZoneValues values = makeUnsaid();
  return values;
}

void setSamplePitch(SampleRecord& record, int16_t pitch) {
  const int nearest = std::clamp((pitch + 50) / 100, 0, 127);
  record.rootKey = static_cast<uint8_t>(nearest);
  record.pitchCorrection = static_cast<int8_t>(std::clamp(nearest * 100 - pitch, -99, 99));
}

ZoneValues sf1Combined(const ZoneValues& instrument, const ZoneValues& preset, const SampleRecord& sample) {
  ZoneValues values = sf1Defaults();
  std::array<bool, generatorCount> isSaid{};
  for (std::size_t i = 0; i < generatorCount; ++i) {
    for (const ZoneValues* zone : {&instrument, &preset}) {
      if (isSaid[i] || zone->generators[i] == unsaid) continue;
      values.generators[i] = zone->generators[i];
      isSaid[i] = true;
    }
  }
  for (const auto& [generator, convert] : conversions)
    if (isSaid[static_cast<std::size_t>(generator)]) values[generator] = rounded(convert(values[generator]));
  tune(values, sample);
  return values;
}

}  // namespace tervo::sf2

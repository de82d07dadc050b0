#pragma once
// Instruments and messages at random, for tests that let the engine play whatever comes.

#include <random>

#include "tests/audio/sound_lab.h"

namespace tervo::test {

/// Every kind of message at random, with notes in the majority, on four channels.
inline MidiMessage randomMessage(std::mt19937& random) {
  static constexpr uint8_t controllers[] = {1, 7, 10, 11, 64, 66, 67, 91, 93, 120, 121, 123, 126, 127, 0, 5, 65};
  const auto data = [&] { return static_cast<uint8_t>(random() % 128); };
  const auto channel = static_cast<uint8_t>(random() % 4);
  switch (random() % 10) {
    case 0:
      return {static_cast<uint8_t>(0xB0 | channel), controllers[random() % std::size(controllers)], data()};
    case 1:
      return {static_cast<uint8_t>((random() % 2 != 0 ? 0xE0 : 0xD0) | channel), data(), data()};
    default:
      return {static_cast<uint8_t>((random() % 2 != 0 ? 0x90 : 0x80) | channel),
              static_cast<uint8_t>(40 + random() % 40), data()};
  }
}

/// An instrument that uses much of what there is: two layers of looped sound, filters, LFOs, release samples.
inline void fill(SoundLab& lab) {
  ArticulationSet& rows = lab.addSine(440, 0.5).articulation;
  rows.set(P::filterType, 4), rows.set(P::filterCutoff, 1500), rows.set(P::fLfoToCutoff, 12);
  rows.set(P::vEnvRelease1Rate, 0.3f), rows.set(P::pLfoToPitch, 0.3f), rows.set(P::send3Level, 0.3f);
  rows.set(P::randomToPan, 0.5f);
  ArticulationSet& stereo = lab.add(sineFrames(300, 9600, 0.5), 2, SoundLab::loopOver(100, 4000)).articulation;
  stereo.set(P::eq2Gain, 6), stereo.set(P::vEnvRelease1Rate, 0.2f);
  lab.add(sineFrames(900, 4800, 0.2)).trigger.set(P::triggerType, 1);
}

/// Up to four regions of any length, loop, trigger and articulation.
inline void fillAtRandom(SoundLab& lab, std::mt19937& random) {
  const auto below = [&](uint32_t end) { return static_cast<int>(random() % end); };
  for (int i = 1 + below(4); i > 0; --i) {
    const auto frames = static_cast<std::size_t>(200 + below(20000));
    const int channels = 1 + below(2);
    std::optional<Marker> loop;
    if (below(4) != 0) {
      const auto end = static_cast<double>(frames) / channels - 1;
      loop = SoundLab::loopOver(end / (2 + below(40)), end, static_cast<LoopType>(1 + below(3)),
                                static_cast<uint8_t>(below(2) != 0 ? below(6) : loopUntilRelease));
    }
    Region& region = lab.add(
        Frames(frames / static_cast<std::size_t>(channels) * static_cast<std::size_t>(channels), 0.3f), channels, loop);
    region.trigger.set(P::triggerType, static_cast<float>(below(3) == 0 ? below(18) : 0));
    region.trigger.set(P::keyExclusionGroup, static_cast<float>(below(3)));
    region.trigger.set(P::noteExclusionMode, static_cast<float>(below(2)));
    region.trigger.set(P::triggerDelay, below(4) == 0 ? 0.05f : 0.0f);
    ArticulationSet& rows = region.articulation;
    rows.set(P::filterType, static_cast<float>(below(13))), rows.set(P::filterResonance, static_cast<float>(below(20)));
    rows.set(P::fEnvToCutoff, static_cast<float>(below(60))), rows.set(P::xLfoToPan, 0.5f);
    rows.set(P::pLfoShape, static_cast<float>(below(14))), rows.set(P::pLfoToPitch, 1);
    rows.set(P::vEnvDecay2Time, 0.5f), rows.set(P::vEnvSustain, static_cast<float>(below(3)) * 0.45f);
    rows.set(P::vEnvRelease1Rate, static_cast<float>(below(20)) * 0.1f);
    rows.set(P::vEnvReleaseMode, static_cast<float>(below(8) == 0));
    rows.set(P::send1Level, 0.3f), rows.set(P::send3Level, 0.3f);
  }
}

}  // namespace tervo::test

#include "audio/render/instrument_renderer.h"

#include "base/last_error.h"
#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

using audio::NoteRenderOptions;

struct StoppingHost final : Host {
  bool progress(double fraction) override {
    last = fraction;
    return --left >= 0;
  }
  double last = 0;
  int left = 1 << 30;
};

/// The left channel.
Frames leftOf(const Waveform& waveform) {
  Frames stereo(static_cast<std::size_t>(waveform.frames()) * 2), left;
  EXPECT_EQ(waveform.samples->open()->read(stereo), static_cast<std::size_t>(waveform.frames()));
  for (std::size_t i = 0; i < stereo.size(); i += 2) left.push_back(stereo[i]);
  return left;
}
double secondsOf(const Waveform& waveform) {
  return static_cast<double>(waveform.frames()) / waveform.sampleRate;
}

TEST(RenderInstrument, OneNoteNextToMiddleCAsLongAsItMayLast) {
  SoundLab lab;
  lab.addSine(480, 0.5).trigger.set(P::triggerLowKey, 72);
  lab.instrument->name = u"Organ";
  StoppingHost host;
  const auto waveforms = audio::renderInstrument(*lab.instrument, {.sampleRate = 32000, .longest = 1.5}, host);
  ASSERT_EQ(waveforms.size(), 1u);
  EXPECT_EQ(waveforms[0]->name, u"Organ");
  EXPECT_EQ(waveforms[0]->rootKey, 72);
  EXPECT_EQ(waveforms[0]->frames(), 48000);
  const Frames sound = leftOf(*waveforms[0]);
  // At 32 kHz the key an octave above the sound's own has 960 Hz, as 1440 would have at the laboratory's rate.
  EXPECT_NEAR(centsBetween(hertzOf(Frames(sound.begin() + 8000, sound.end() - 8000)), 1440), 0, 1);
  EXPECT_NEAR(peak(sound), 0.5 / std::numbers::sqrt2, 2e-3);  // nothing but the pan takes from it
  EXPECT_NEAR(sound.back(), 0, 1e-6);
  EXPECT_GT(peak(Frames(sound.end() - 960, sound.end() - 480)), 0.3);
}

TEST(RenderInstrument, EndsWithTheSoundButNotTooSoon) {
  SoundLab lab;
  lab.add(sineFrames(480, 24000, 0.5)).trigger.set(P::triggerHighKey, 60);
  Region& late = lab.add(sineFrames(480, 4800, 0.5));  // silent for longer than a pause may last
  late.trigger.set(P::triggerLowKey, 61), late.trigger.set(P::triggerDelay, 0.2f);
  late.trigger.set(P::rootKeyOverride, 61);
  StoppingHost host;
  NoteRenderOptions options{.longest = 5, .waveforms = 128};
  const auto waveforms = audio::renderInstrument(*lab.instrument, options, host);
  ASSERT_EQ(waveforms.size(), 128u);
  EXPECT_NEAR(secondsOf(*waveforms[60]), 0.5, 0.01);
  EXPECT_NEAR(secondsOf(*waveforms[61]), 0.3, 0.01);
  EXPECT_NEAR(secondsOf(*waveforms[120]), 0.25, 0.01);
  EXPECT_NEAR(peak(leftOf(*waveforms[61])), 0.5 / std::numbers::sqrt2, 2e-3);
  EXPECT_GT(host.last, 0.99);
}

TEST(RenderInstrument, SeveralNotesInEqualDistancesAndNoneTooLoud) {
  SoundLab lab;
  Region& low = lab.addSine(480, 1);
  low.trigger.set(P::triggerLowKey, 20), low.trigger.set(P::triggerHighKey, 39);
  Region& high = lab.addSine(480, 1);
  high.trigger.set(P::triggerLowKey, 80), high.trigger.set(P::triggerHighKey, 99);
  for (Region* region : {&low, &high}) region->articulation.set(P::masterVolume, 12);
  StoppingHost host;
  const auto waveforms = audio::renderInstrument(*lab.instrument, {.longest = 0.3, .waveforms = 4}, host);
  ASSERT_EQ(waveforms.size(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    constexpr int keys[] = {25, 35, 85, 95};
    EXPECT_EQ(waveforms[i]->rootKey, keys[i]);
    EXPECT_NEAR(peak(leftOf(*waveforms[i])), 1, 1e-6);
  }
  EXPECT_NE(waveforms[0]->name, waveforms[1]->name);
}

TEST(RenderInstrument, SaysWhyItCannot) {
  SoundLab lab;
  StoppingHost host;
  EXPECT_TRUE(audio::renderInstrument(*lab.instrument, {}, host).empty());
  EXPECT_EQ(LastErrorText(), u"Failed to render synth to wave");
  lab.addSine();
  host.left = 2;
  EXPECT_TRUE(audio::renderInstrument(*lab.instrument, {.waveforms = 3}, host).empty());
  EXPECT_EQ(LastErrorText(), u"Save aborted!");
}

}  // namespace
}  // namespace tervo::test

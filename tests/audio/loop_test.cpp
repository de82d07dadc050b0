#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

/// A ramp, so that every frame tells where it comes from: frame n is (n + 1) / 1000.
Frames numbered(std::size_t frames) {
  Frames result;
  for (std::size_t i = 0; i < frames; ++i) result.push_back(static_cast<float>(i + 1) / 1000);
  return result;
}

/// The frames that are played from a sound of 40, hard left at full level, as numbers from 0; -1 is silence. The first
/// ones are left out, where the envelope rises.
std::vector<int> playedFrames(const Marker& loop, std::size_t count, double liftAt = 0) {
  SoundLab lab;
  Region& region = lab.add(numbered(40), 1, loop);
  region.articulation.set(P::panPosition, -1);
  region.articulation.set(P::vEnvInitialLevel, 1);
  region.articulation.set(P::vEnvAttack1Level, 1);
  region.articulation.set(P::vEnvRelease1Rate, 100);
  lab.start();
  lab.press();
  Frames sound;
  if (liftAt > 0) {
    sound = lab.left(liftAt);
    lab.lift();
  }
  const Frames rest = lab.left(0.01);
  sound.insert(sound.end(), rest.begin(), rest.end());
  std::vector<int> frames;
  for (std::size_t i = 0; i < count; ++i) frames.push_back(static_cast<int>(std::lround(sound[i] * 1000)) - 1);
  return frames;
}

std::vector<int> counted(std::initializer_list<std::pair<int, int>> runs) {
  std::vector<int> result;
  for (const auto& [from, to] : runs)
    for (int i = from; i != to + (from <= to ? 1 : -1); i += from <= to ? 1 : -1) result.push_back(i);
  return result;
}

TEST(Loop, EveryTypeAndCountIsExactAtTheSeam) {
  struct Case {
    LoopType type;
    uint8_t count;
    std::vector<int> frames;
  };
  const Case cases[] = {
      {LoopType::forward, loopForever, counted({{0, 29}, {10, 29}, {10, 29}, {10, 20}})},
      {LoopType::forward, 3, counted({{0, 29}, {10, 29}, {10, 39}, {-1, -1}})},
      {LoopType::forward, 1, counted({{0, 39}, {-1, -1}})},
      {LoopType::alternating, loopForever, counted({{0, 29}, {28, 10}, {11, 29}, {28, 20}})},
      {LoopType::reverse, loopForever, counted({{0, 29}, {28, 10}, {29, 10}, {29, 20}})},
  };
  for (const Case& each : cases)
    EXPECT_EQ(playedFrames(SoundLab::loopOver(10, 30, each.type, each.count), each.frames.size()), each.frames)
        << static_cast<int>(each.type) << " " << static_cast<int>(each.count);
}

TEST(Loop, UntilReleaseGoesOnBehindTheLoop) {
  // Lifted after two blocks: 128 frames are 0 to 29, four times 10 to 29, and 10 to 27.
  const auto frames = playedFrames(SoundLab::loopOver(10, 30, LoopType::forward, loopUntilRelease), 142, 128 / rate);
  const std::vector<int> tail(frames.begin() + 126, frames.end());
  EXPECT_EQ(tail, counted({{26, 39}, {-1, -1}, {-1, -1}}));
}

TEST(Loop, FractionsOfFramesKeepThePitch) {
  // One period of 109.0909 frames, 440 Hz: rounded to 109 frames it would be 1.4 cents sharp.
  SoundLab lab;
  const double period = rate / 440;
  lab.add(sineFrames(440, 400), 1, SoundLab::loopOver(period, 2 * period));
  lab.start();
  lab.press();
  lab.left(0.1);
  EXPECT_LT(std::fabs(centsBetween(hertzOf(lab.left(1)), 440)), 0.05);
}

TEST(Loop, ASeamOfAToneIsNotHeard) {
  for (const LoopType type : {LoopType::forward, LoopType::alternating}) {
    SoundLab lab;
    // Turning points at the crests: the sound read backwards goes on as it came.
    const double start = type == LoopType::forward ? 0 : 25, end = type == LoopType::forward ? 1000 : 976;
    lab.add(sineFrames(480, 1000), 1, SoundLab::loopOver(start, end, type));
    lab.start();
    lab.press(65);
    lab.left(0.1);
    const Frames sound = lab.left(0.5);
    const double hertz = 480 * std::exp2(5 / 12.0);
    double others = 0;
    for (const double each : {0.37, 0.5, 1.5, 2.0, 3.0}) others = std::max(others, levelAt(sound, each * hertz));
    EXPECT_LT(dB(others / levelAt(sound, hertz)), -60);
  }
}

TEST(Loop, PitchOfTheLoopHoldsFromItsStart) {
  SoundLab lab;
  Marker loop = SoundLab::loopOver(24000, 48000);
  loop.loopPitch = 7;
  lab.add(sineFrames(480, 48000), 1, loop);
  lab.start();
  lab.press();
  const Frames sound = lab.left(1);
  EXPECT_NEAR(centsBetween(hertzOf(part(sound, 0.1, 0.45)), 480), 0, 0.5);
  EXPECT_NEAR(centsBetween(hertzOf(part(sound, 0.55, 0.95)), 480), 700, 0.5);
}

TEST(Loop, SectionsAndMissingSounds) {
  SoundLab lab;
  Region& region = lab.add(Frames(4800, 1.0f));
  lab.collection.waveforms()[0]->markers.push_back({.type = MarkerType::section, .start = 1200, .end = 3600});
  region.trigger.set(P::playSection, 1);
  Region& silent = lab.add({}, 1);
  silent.waveform = noItem;
  lab.start();
  lab.press();
  const Frames sound = lab.left(0.2);
  EXPECT_GT(rms(part(sound, 0.01, 0.049)), 0.5);
  EXPECT_EQ(peak(part(sound, 0.051, 0.2)), 0);
  EXPECT_TRUE(lab.engine->isSilent());
}

}  // namespace
}  // namespace tervo::test

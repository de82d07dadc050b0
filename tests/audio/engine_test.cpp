#include <atomic>
#include <thread>

#include "base/last_error.h"
#include "platform/thread.h"
#include "tests/audio/allocations.h"
#include "tests/audio/random_playing.h"

namespace tervo::test {
namespace {

Engine::Setup setupOf(int voices, int workers) {
  Engine::Setup setup;
  setup.voices = voices;
  setup.workers = workers;
  return setup;
}

/// A quarter of a second with much to do, a second with little, silence until the effects are idle, and little again.
Frames randomPlaying(int workers, std::size_t framesAtOnce, audio::RenderLanes kernel = nullptr) {
  SoundLab lab;
  fill(lab);
  Engine::Setup setup = setupOf(512, workers);
  setup.kernel = kernel;
  lab.start(setup);
  std::mt19937 random(3);
  const auto post = [&](int from, int to, int step) {
    for (int at = from; at < to; at += step) EXPECT_TRUE(lab.engine->postEvent(at, randomMessage(random)));
  };
  post(0, 12000, 10);
  post(12000, 60000, 1500);
  for (uint8_t channel = 0; channel < 4; ++channel)
    lab.engine->postEvent(60000, {static_cast<uint8_t>(0xB0 | channel), 120, 0});
  post(300000, 330000, 1500);
  Frames all(2 * 330000);
  for (std::size_t i = 0; i < all.size(); i += 2 * framesAtOnce)
    lab.engine->render(std::span(all).subspan(i, std::min(2 * framesAtOnce, all.size() - i)));
  EXPECT_EQ(peak(std::span(all).subspan(2 * 290000, 20000)), 0);
  EXPECT_GT(peak(std::span(all).subspan(2 * 300000)), 0.01);
  return all;
}

TEST(Engine, OutputDependsNeitherOnThreadsNorOnBuffersNorOnInstructions) {
  const Frames one = randomPlaying(1, 64);
  EXPECT_GT(peak(one), 0.1);
  for (const std::size_t frames : {100u, 128u, 192u, 480u, 5000u})
    EXPECT_TRUE(randomPlaying(1, frames) == one) << frames;
  EXPECT_TRUE(randomPlaying(2, 64) == one);
  EXPECT_TRUE(randomPlaying(8, 5000) == one);
  for (const audio::RenderLanes kernel : audio::availableKernels().kernels) {
    if (!kernel) break;
    EXPECT_TRUE(randomPlaying(1, 480, kernel) == one);
  }
}

TEST(Engine, WhatThreadsTheSystemHasAreEnough) {
  const Frames one = randomPlaying(1, 480);
  for (const int more : {0, 2}) {
    platform::limitThreads(more);
    EXPECT_TRUE(randomPlaying(8, 480) == one) << more;
    platform::limitThreads(-1);
  }
}

TEST(Engine, TheAudioPathDoesNotAllocate) {
  SoundLab lab;
  fill(lab);
  lab.start(setupOf(512, 2));
  std::mt19937 random(5);
  Frames buffer(2 * 333);
  uint32_t most = 0;
  const auto play = [&] {
    for (int i = 0; i < 500; ++i) {
      for (int event = 0; event < 5; ++event) lab.engine->postEvent(lab.engine->time(), randomMessage(random));
      lab.engine->render(buffer);
      if (i % 50 == 0) lab.engine->shedLoad(1.2);
      most = std::max(most, lab.engine->activeVoices());
    }
  };
  EXPECT_EQ(allocationsOf(play), 0);
  EXPECT_GT(most, 128u);  // enough for both threads
}

TEST(Engine, StolenNotesFade) {
  SoundLab lab;
  lab.addConstant();
  Engine::Setup setup = setupOf(4, 1);
  setup.hasEffects = false;
  lab.start(setup);
  for (const int key : {60, 62, 64, 65}) lab.press(key);
  lab.render(0.1);
  lab.press(67), lab.press(69);
  const Frames sound = lab.left(0.1);
  // A voice more or less is 0.7; the fastest attack and the fade take about 1 ms each for most of that.
  for (std::size_t i = 1; i < sound.size(); ++i) EXPECT_LT(std::fabs(sound[i] - sound[i - 1]), 0.05f) << i;
  EXPECT_NEAR(sound.back(), 4 * std::sqrt(0.5f), 1e-3f);
  EXPECT_EQ(lab.engine->activeVoices(), 4u);
}

TEST(Engine, TwentyThousandEventsAtOnce) {
  SoundLab lab;
  lab.addSine();
  lab.start(setupOf(32, 1));
  for (int i = 0; i < 10000; ++i) lab.press(20 + i % 90), lab.lift(20 + (i + 7) % 90);
  lab.render(0.1);
  EXPECT_LE(lab.engine->activeVoices(), 32u);
  EXPECT_GT(lab.engine->activeVoices(), 0u);
}

TEST(Engine, StatusTextCountsRegionsAndTellsOfClippingOnce) {
  SoundLab lab;
  lab.addConstant();
  lab.start();
  EXPECT_EQ(lab.engine->statusText(), u"");
  lab.press(60);
  lab.render(0.02);
  EXPECT_EQ(lab.engine->statusText(), u"1 region");
  lab.press(62);
  lab.render(0.02);
  EXPECT_EQ(lab.engine->statusText(), u"2 regions -CLIPPING-");
  lab.lift(60), lab.lift(62);
  lab.press(64);
  lab.render(0.1);
  EXPECT_EQ(lab.engine->statusText(), u"1 region -CLIPPING-");  // while the first ones were fading
  EXPECT_EQ(lab.engine->statusText(), u"1 region");
  lab.engine->setLimit(true);
  lab.press(65), lab.press(67);
  EXPECT_EQ(peak(lab.left(0.05)), 1);
}

TEST(Engine, LoadIsShedByTheQuietestNotes) {
  SoundLab lab;
  lab.addConstant();
  lab.start(setupOf(64, 1));
  for (int key = 30; key < 70; ++key) lab.press(key, key == 50 ? 20 : 100);
  lab.render(0.05);
  lab.engine->shedLoad(0.8);
  lab.engine->shedLoad(0.85);
  lab.render(0.05);
  EXPECT_EQ(lab.engine->activeVoices(), 39u);
  lab.engine->shedLoad(1.3);
  lab.render(0.01);
  EXPECT_EQ(lab.engine->activeVoices(), 29u);
}

TEST(Engine, OfEqualNotesTheFirstIsStolen) {
  const auto heardAfter = [](audio::Stealing stealing) {
    SoundLab lab;
    lab.addSine(480, 0.5);
    lab.start();
    for (const int key : {60, 72, 84}) lab.press(key);
    lab.render(0.1);
    EXPECT_TRUE(lab.engine->stealNote(stealing));
    EXPECT_TRUE(lab.engine->stealNote(stealing));  // not the one that fades already
    lab.render(0.05);
    const Frames sound = lab.left(0.2);
    return std::array{levelAt(sound, 480) > 0.01, levelAt(sound, 960) > 0.01, levelAt(sound, 1920) > 0.01};
  };
  for (const auto stealing : {audio::Stealing::soft, audio::Stealing::hard})
    EXPECT_EQ(heardAfter(stealing), (std::array{false, false, true}));
}

TEST(Engine, InstrumentsAreReplacedWhileNotesSound) {
  SoundLab lab;
  lab.addSine(480);
  lab.start();
  lab.press(60);
  lab.render(0.1);
  SoundLab other;
  other.addSine(960);
  ASSERT_TRUE(lab.engine->loadInstrument(*other.instrument, Loading::replace));
  EXPECT_GT(levelAt(lab.left(0.1), 480), 0.5);
  lab.press(64);  // 960 Hz played four keys higher
  const Frames both = lab.left(0.2);
  EXPECT_GT(levelAt(both, 480), 0.5);
  EXPECT_GT(levelAt(both, 960 * std::exp2(4 / 12.0)), 0.5);
  ASSERT_TRUE(lab.engine->loadInstrument(*lab.instrument, Loading::stopped));
  EXPECT_EQ(peak(lab.left(0.1)), 0);
}

TEST(Engine, LoadingAndPostingWhileItRenders) {
  SoundLab lab;
  fill(lab);
  lab.start(setupOf(160, 2));
  std::atomic<bool> ending = false;
  std::jthread audio([&] {
    std::vector<float> buffer(512);
    while (!ending) lab.engine->render(buffer);
  });
  std::mt19937 random(2);
  for (int i = 0; i < 60; ++i) {
    for (int event = 0; event < 20; ++event) lab.engine->postEvent(0, randomMessage(random));
    EXPECT_TRUE(lab.engine->loadInstrument(*lab.instrument, i % 5 == 0 ? Loading::stopped : Loading::replace));
    lab.engine->statusText();
  }
  ending = true;
}

TEST(Engine, FailuresHaveTheirTexts) {
  SoundLab lab;
  lab.addSine();
  Engine::Setup setup;
  setup.instrumentCapacity = 0;
  const auto engine = Engine::create(setup);
  EXPECT_FALSE(engine->loadInstrument(*lab.instrument, Loading::stopped));
  EXPECT_EQ(LastErrorText(), u"Couldn't create instrument");
  EXPECT_FALSE(audio::loadInstrument(nullptr, *lab.instrument, Loading::stopped));
  EXPECT_EQ(LastErrorText(), u"Synth not initialized!");
}

}  // namespace
}  // namespace tervo::test

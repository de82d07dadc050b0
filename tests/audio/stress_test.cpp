#include <atomic>
#include <cstdlib>
#include <thread>

#include "tests/audio/allocations.h"
#include "tests/audio/random_playing.h"

namespace tervo::test {
namespace {

constexpr int programs = 4;
constexpr int blocksPerBuffer = 5, blocksPerTurn = 3 * blocksPerBuffer, turnsPerSecond = 750 / blocksPerTurn;

/// Seconds of sound: TERVO_STRESS_SECONDS in the environment, or some.
int stressSeconds() {
  const char* asked = std::getenv("TERVO_STRESS_SECONDS");
  return asked ? std::max(std::atoi(asked), 1) : 10;
}

/// An engine with an audio thread of its own, that renders as many blocks as it is allowed.
class Playing {
 public:
  explicit Playing(Engine& engine) : engine_(engine), thread_([this] { run(); }) {}
  ~Playing() {
    ending_ = true;
    thread_.join();
  }
  /// Does not wait, but for what was allowed before the last time.
  void allow(int blocks) {
    waitForAllBut(blocks);
    allowed_ += blocks;
  }
  void waitForAllBut(int blocks) const {
    while (allowed_ - done_ > blocks) std::this_thread::yield();
  }
  float peak() const { return peak_; }

 private:
  void run() {
    float stereo[128 * blocksPerBuffer];
    while (!ending_) {
      if (done_ == allowed_) {
        std::this_thread::yield();
        continue;
      }
      if (engine_.render(stereo) == 0) continue;  // an instrument is being loaded
      peak_ = static_cast<float>(test::peak(stereo));
      done_ += blocksPerBuffer;
    }
  }

  Engine& engine_;
  std::atomic<int> allowed_ = 0, done_ = 0;
  std::atomic<float> peak_ = 0;
  std::atomic<bool> ending_ = false;
  std::thread thread_;
};

class Stress {
 public:
  Stress() {
    Engine::Setup setup;
    setup.voices = 96;
    setup.workers = 2;
    engine_ = Engine::create(setup);
  }

  void playSecond(Playing& playing) {
    for (int turn = 0; turn < turnsPerSecond; ++turn) {
      for (int i = 0; i < 6; ++i) EXPECT_TRUE(engine_->postEvent(0, anyMessage()));
      playing.allow(blocksPerTurn);
      most_ = std::max(most_, engine_->activeVoices());
      if (turn % 5 == 0) changeInstruments();
    }
  }
  /// Ends all notes and lets everything ring out: the slowest sound with the most turns takes some 20 s.
  void expectSilence(Playing& playing) {
    constexpr int longest = 30;
    playing.waitForAllBut(0);
    for (uint8_t channel = 0; channel < 16; ++channel)
      for (const uint8_t controller : {uint8_t{64}, uint8_t{66}, uint8_t{123}})
        EXPECT_TRUE(engine_->postEvent(0, {static_cast<uint8_t>(0xB0 | channel), controller, 0}));
    for (int second = 0; second < longest && (second == 0 || !engine_->isSilent()); ++second) {
      playing.allow(turnsPerSecond * blocksPerTurn);
      playing.waitForAllBut(0);
    }
    EXPECT_EQ(engine_->activeVoices(), 0u);
    EXPECT_EQ(playing.peak(), 0);  // exactly
    EXPECT_TRUE(engine_->isSilent());
    EXPECT_EQ(engine_->statusText(), u"");
  }
  /// Allocations that are left when nothing sounds and every program has the same small instrument.
  int64_t allocationsAtRest(Playing& playing) {
    expectSilence(playing);
    for (int round = 0; round < 2; ++round) {  // the second one frees what the first has replaced
      for (auto& lab : labs_) {
        lab = std::make_unique<SoundLab>();
        lab->addConstant();
      }
      for (int program = 0; program < programs; ++program) load(program, Loading::replace);
      playing.allow(blocksPerTurn);
      playing.waitForAllBut(0);
    }
    return liveAllocations();
  }
  Engine& engine() { return *engine_; }
  uint32_t mostVoices() const { return most_; }

 private:
  MidiMessage anyMessage() {
    if (random_() % 40 != 0) return randomMessage(random_);
    return {static_cast<uint8_t>(0xC0 | random_() % 4), static_cast<uint8_t>(random_() % programs), 0};
  }
  /// Replaces one by another, or deletes one from the document that may still sound; rarely with the engine stopped.
  void changeInstruments() {
    const auto program = static_cast<int>(random_() % programs);
    auto& lab = labs_[static_cast<std::size_t>(program)];
    if (lab && random_() % 3 == 0) return lab.reset();
    lab = std::make_unique<SoundLab>();
    fillAtRandom(*lab, random_);
    load(program, random_() % 20 == 0 ? Loading::stopped : Loading::replace);
    engine_->statusText();
  }
  void load(int program, Loading loading) {
    EXPECT_TRUE(engine_->loadInstrumentAs(*labs_[static_cast<std::size_t>(program)]->instrument,
                                          static_cast<uint32_t>(program), loading));
  }

  std::mt19937 random_{17};
  uint32_t most_ = 0;
  std::array<std::unique_ptr<SoundLab>, programs> labs_;
  std::unique_ptr<Engine> engine_;
};

TEST(Stress, RandomPlayingWhileInstrumentsComeAndGoLeavesNothingBehind) {
  Stress stress;
  Playing playing(stress.engine());
  stress.playSecond(playing);
  const int64_t before = stress.allocationsAtRest(playing);
  const int seconds = stressSeconds();
  for (int i = 0; i < seconds; ++i) {
    stress.playSecond(playing);
    if (i % 30 == 29) stress.expectSilence(playing);
  }
  EXPECT_EQ(stress.allocationsAtRest(playing), before);
  EXPECT_GT(stress.mostVoices(), 40u);  // it was no easy time
}

TEST(Stress, EnginesEndWhereverTheirWorkersAre) {
  Engine::Setup setup;
  setup.voices = 256;
  setup.workers = 4;
  // Going to work, asleep, or between the two.
  for (int i = 0; i < 400; ++i) {
    const auto engine = Engine::create(setup);
    std::this_thread::sleep_for(std::chrono::microseconds(i % 40 * 5));
  }
}

}  // namespace
}  // namespace tervo::test

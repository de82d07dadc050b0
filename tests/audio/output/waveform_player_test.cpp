#include "audio/output/waveform_player.h"

#include <cmath>
#include <limits>
#include <numbers>

#include "base/last_error.h"
#include "tests/audio/output/output_bench.h"
#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

using audio::WaveformPlayer;

std::unique_ptr<Waveform> waveformOf(Frames frames, double sampleRate, std::vector<Marker> markers = {}) {
  auto waveform = std::make_unique<Waveform>();
  waveform->samples = makeResident(std::move(frames), 1);
  waveform->sampleRate = sampleRate;
  waveform->markers = std::move(markers);
  return waveform;
}

/// The left side of what is heard, until it ends or there is enough.
Frames played(WaveformPlayer& player, std::size_t enough) {
  Frames stereo(2 * enough);
  const std::size_t frames = player.render(stereo);
  Frames left;
  for (std::size_t i = 0; i < frames; ++i) left.push_back(stereo[2 * i]);
  return left;
}

TEST(WaveformPlayer, LoopsAreHeardAsTheyStand) {
  using enum LoopType;
  constexpr uint8_t forEver = loopForever, released = loopUntilRelease;
  // Frames 0 to 7; the loop is 2, 3, 4.
  const struct {
    LoopType type;
    uint8_t count;
    double start;
    Frames heard;
  } cases[] = {
      {off, forEver, 0, {0, 1, 2, 3, 4, 5, 6, 7}},
      {forward, forEver, 0, {0, 1, 2, 3, 4, 2, 3, 4, 2, 3, 4, 2}},
      {forward, 1, 0, {0, 1, 2, 3, 4, 5, 6, 7}},
      {forward, 3, 0, {0, 1, 2, 3, 4, 2, 3, 4, 2, 3, 4, 5}},
      {reverse, forEver, 0, {0, 1, 2, 3, 4, 3, 2, 4, 3, 2, 4, 3}},
      {reverse, 1, 0, {0, 1, 2, 3, 4, 3, 2, 5, 6, 7}},
      {alternating, forEver, 0, {0, 1, 2, 3, 4, 3, 2, 3, 4, 3, 2, 3}},
      // A way back is always followed by a way forth.
      {alternating, 2, 0, {0, 1, 2, 3, 4, 3, 2, 3, 4, 5, 6, 7}},
      {forward, released, 3, {3, 4, 2, 3, 4, 2, 3, 4, 2, 3, 4, 2}},
      // Behind the loop there is none.
      {forward, forEver, 6, {6, 7}},
  };
  for (const auto& [type, count, start, heard] : cases) {
    const auto waveform = waveformOf({0, 1, 2, 3, 4, 5, 6, 7}, 48000, {SoundLab::loopOver(2, 5, type, count)});
    const auto player = WaveformPlayer::create(*waveform, {start, 1, 48000});
    EXPECT_EQ(played(*player, 12), heard) << toUtf8(nameOf(type)) << " count " << int{count} << " from " << start;
    EXPECT_EQ(player->isFinished(), heard.size() < 12 || heard.back() == 7);
  }
}

TEST(WaveformPlayer, WhatIsNoNumberIsSilent) {
  const float nan = std::numeric_limits<float>::quiet_NaN(), infinite = std::numeric_limits<float>::infinity();
  const auto waveform = waveformOf({1, nan, 1, infinite, -infinite, 1}, 48000);
  EXPECT_EQ(played(*WaveformPlayer::create(*waveform, {0, 1, 48000}), 6), (Frames{1, 0, 1, 0, 0, 1}));
  for (const float x : played(*WaveformPlayer::create(*waveform, {0, 1, 44100}), 6)) EXPECT_LT(std::fabs(x), 3);
}

TEST(WaveformPlayer, ReleaseLeavesTheLoopAndStopFadesOut) {
  const auto waveform =
      waveformOf({0, 1, 2, 3, 4, 5, 6, 7}, 48000, {SoundLab::loopOver(2, 5, LoopType::forward, loopUntilRelease)});
  const auto player = WaveformPlayer::create(*waveform, {0, 1, 48000});
  played(*player, 6);
  player->release();
  EXPECT_EQ(played(*player, 9), (Frames{3, 4, 5, 6, 7}));

  const auto steady = waveformOf(Frames(1000, 1), 48000, {SoundLab::loopOver(0, 1000)});
  const auto stopped = WaveformPlayer::create(*steady, {0, 0.5f, 48000});
  EXPECT_EQ(played(*stopped, 1), Frames{0.5f});
  stopped->stop();
  const Frames fade = played(*stopped, 4800);
  EXPECT_EQ(fade.size(), 240u);  // 5 ms
  for (std::size_t i = 1; i < fade.size(); ++i) EXPECT_NEAR(fade[i - 1] - fade[i], 0.5 / 240, 1e-6);
  EXPECT_TRUE(stopped->isFinished());

  const auto limited = WaveformPlayer::create(*steady, {0, 1, 48000, 1.0});
  EXPECT_EQ(played(*limited, 96000).size(), 48000u);
}

TEST(WaveformPlayer, ConvertsRatesAndCrossesLoopSeamsCleanly) {
  const struct {
    double from, hertz;
    uint32_t to;
    double loopStart, loopEnd, cleanTodB;
  } cases[] = {
      {44100, 1000, 48000, 4410, 44100, -90},   // 1000 whole periods
      {22050, 5000, 48000, 2205, 22050, -85},   //
      {96000, 1000, 44100, 9600, 96000, -90},   //
      {48000, 1000, 48000, 100.5, 148.5, -25},  // fractions of frames are only crossed, but without a click
  };
  for (const auto& [from, hertz, to, loopStart, loopEnd, cleanTodB] : cases) {
    Frames frames(static_cast<std::size_t>(from));
    for (std::size_t i = 0; i < frames.size(); ++i)
      frames[i] = static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / from));
    const auto waveform = waveformOf(frames, from, {SoundLab::loopOver(loopStart, loopEnd)});
    const auto player = WaveformPlayer::create(*waveform, {0, 1, to});
    const Frames heard = played(*player, 2 * to);
    ASSERT_EQ(heard.size(), 2 * to);
    double worst = 0;
    for (std::size_t i = to / 20; i < heard.size(); ++i) {
      const double ideal = 0.5 * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / to);
      worst = std::max(worst, std::abs(static_cast<double>(heard[i]) - ideal));
    }
    EXPECT_LT(dB(worst / 0.5), cleanTodB) << from << " Hz at " << to;
  }
}

TEST(WaveformPlayer, FrequenciesThatTheDeviceLacksAreNotHeard) {
  Frames frames(96000);
  for (std::size_t i = 0; i < frames.size(); ++i)
    frames[i] = static_cast<float>(std::sin(2 * std::numbers::pi * 30000 * static_cast<double>(i) / 96000));
  const auto waveform = waveformOf(frames, 96000);
  const auto player = WaveformPlayer::create(*waveform, {0, 1, 48000});
  const Frames heard = played(*player, 40000);
  EXPECT_LT(dB(peak(std::span(heard).subspan(100, 39000))), -80);
}

TEST(WaveformPlayer, KeepsWhatItPlaysAndNeedsSomething) {
  HandDevice* device = nullptr;
  audio::AudioOutput output({}, [&](const platform::AudioRequest&) {
    auto made = std::make_unique<HandDevice>(platform::AudioFormat{48000, 2, platform::AudioCoding::float32, 4}, 2);
    device = made.get();
    return made;
  });
  EXPECT_EQ(playWaveform(output, Waveform(), 0, 1), nullptr);
  EXPECT_EQ(LastErrorText(), u"No wave data");
  EXPECT_EQ(device, nullptr);  // nothing to play: no device is opened

  auto waveform = waveformOf({0.5f, 0.25f, 0.125f}, 48000);
  const auto player = playWaveform(output, *waveform, 1, 2);
  waveform.reset();
  EXPECT_EQ(device->turn(), (Frames{0.5f, 0.5f, 0.25f, 0.25f}));
  EXPECT_FALSE(output.isPlaying(*player));
  EXPECT_DOUBLE_EQ(player->seconds(), 2.0 / 48000);
}

}  // namespace
}  // namespace tervo::test

#include "audio/render/song_renderer.h"

#include "base/last_error.h"
#include "tests/audio/sound_lab.h"
#include "tests/core/song_builder.h"

namespace tervo::test {
namespace {

using audio::RenderJob;
using audio::RenderOptions;

struct RecordingHost final : Host {
  void showStatus(TextView text) override { status.emplace_back(text); }
  bool progress(double part) override { return progressed = part, ++polls <= allowed; }
  std::size_t ask(const Question& question) override { return answer.value_or(question.safeButton); }
  std::vector<Text> status;
  int polls = 0, allowed = 1 << 30;
  double progressed = 0;
  std::optional<std::size_t> answer;
};

/// Program `program`, then key 60 from 0.5 s to 1 s at 120 quarter notes a minute; nothing is held behind it.
std::unique_ptr<Song> oneNote(int program = 0, int channel = 0, int bankMsb = 0) {
  auto song = songOf(0, 480,
                     {trackBytes({0,
                                  0xB0 | channel,
                                  0,
                                  bankMsb,
                                  0,
                                  0xC0 | channel,
                                  program,  //
                                  0x83,
                                  0x60,
                                  0x90 | channel,
                                  60,
                                  127,
                                  0x83,
                                  0x60,
                                  60,
                                  0,  //
                                  0,
                                  0xFF,
                                  0x2F,
                                  0})});
  return song;
}

Frames samplesOf(const Waveform& waveform) {
  Frames frames(static_cast<std::size_t>(waveform.frames()) * 2);
  EXPECT_EQ(waveform.samples->open()->read(frames), static_cast<std::size_t>(waveform.frames()));
  return frames;
}

class Rendering : public testing::Test {
 protected:
  Rendering() {
    lab.addConstant();
    options.hasEffects = options.normalised = options.cutsSilence = false;
    options.workers = 1;
  }
  std::unique_ptr<Waveform> render(const Song& song) {
    return audio::renderSong(song, {lab.collection, [this] { return defaults; }, host, options});
  }

  SoundLab lab;
  RecordingHost host;
  RenderOptions options;
  const Collection* defaults = nullptr;
};

TEST_F(Rendering, NotesStandAtTheirTimesWithHeadroomForTheVoices) {
  options.voices = 16;
  const auto waveform = render(*oneNote());
  ASSERT_TRUE(waveform);
  const Frames sound = samplesOf(*waveform);
  std::size_t first = 0;
  while (first < sound.size() && std::fabs(sound[first]) < 1e-4f) ++first;
  EXPECT_NEAR(static_cast<double>(first / 2) / rate, 0.5, 0.002);
  const double volume = 100.0 * 100 / (127 * 127);
  EXPECT_NEAR(peak(sound), std::numbers::sqrt2 / 2 * volume / 4, 1e-3);
  EXPECT_NEAR(static_cast<double>(waveform->frames()) / rate, 1.0, 0.02);
}

TEST_F(Rendering, ABankIsThatOfTheProgramBehindIt) {
  // Bank 1 has a constant of half the level.
  SoundLab other;
  other.addConstant(0.5f);
  other.instrument->bankMsb = 1;
  defaults = &other.collection;
  const std::vector<int> program = {0, 0xC0, 0}, bank = {0, 0xB0, 0, 1};
  const auto level = [&](const std::vector<std::vector<int>>& before) {
    TrackBytes track;
    for (const auto& message : before)
      for (const int byte : message) track.push_back(static_cast<std::byte>(byte));
    const TrackBytes note = trackBytes({0, 0x90, 60, 127, 0x83, 0x60, 60, 0, 0, 0xFF, 0x2F, 0});
    track.insert(track.end(), note.begin(), note.end());
    const auto waveform = render(*songOf(0, 480, {track}));
    return waveform ? peak(samplesOf(*waveform)) : 0;
  };
  const double usual = level({program});
  ASSERT_GT(usual, 0.01);
  EXPECT_DOUBLE_EQ(level({}), usual);
  EXPECT_DOUBLE_EQ(level({bank}), usual);
  EXPECT_DOUBLE_EQ(level({program, bank}), usual);
  EXPECT_NEAR(level({bank, program}), usual / 2, 1e-6);
  EXPECT_NEAR(level({program, bank, program}), usual / 2, 1e-6);
}

TEST_F(Rendering, CanBeAbortedAmongEventsOfOneTime) {
  TrackBytes track;
  for (int i = 0; i < 5000; ++i) track = std::move(track) + trackBytes({0, 0x90, 20 + i % 80, 100});
  host.allowed = 3;
  EXPECT_FALSE(render(*songOf(0, 480, {track + trackBytes({0, 0xFF, 0x2F, 0})})));
  EXPECT_EQ(LastErrorText(), u"Done: Rendered aborted!");
  EXPECT_EQ(host.polls, 4);
  EXPECT_EQ(host.progressed, 0);
}

TEST_F(Rendering, NormalisesCutsSilenceAndKeepsATail) {
  options.normalised = options.cutsSilence = true;
  auto waveform = render(*oneNote());
  EXPECT_FLOAT_EQ(static_cast<float>(peak(samplesOf(*waveform))), 1);
  EXPECT_NEAR(static_cast<double>(waveform->frames()) / rate, 0.5, 0.01);
  options.cutsSilence = false;
  options.tailSeconds = 0.75;
  waveform = render(*oneNote());
  EXPECT_NEAR(static_cast<double>(waveform->frames()) / rate, 1.75, 0.005);
  options.tailSeconds = std::nullopt;
  options.hasEffects = true;
  waveform = render(*oneNote());
  const double seconds = static_cast<double>(waveform->frames()) / rate;
  EXPECT_GT(seconds, 1.3);
  EXPECT_LE(seconds, 11.1);
}

TEST_F(Rendering, SilenceIsMeasuredAgainstTheLoudest) {
  // A release of 96 dB in two seconds: 90 dB are 1.875 s.
  lab.instrument->articulation.set(P::vEnvRelease1Rate, 2);
  options.normalised = options.cutsSilence = true;
  for (const int volume : {127, 3}) {
    for (const int voices : {1, 1024}) {
      options.voices = voices;
      const auto waveform = render(*songOf(0, 480,
                                           {trackBytes({0, 0xB0, 7, volume, 0, 0x90, 60, 127, 0x83, 0x60, 60, 0,  //
                                                        0, 0xFF, 0x2F, 0})}));
      EXPECT_NEAR(static_cast<double>(waveform->frames()) / rate, 0.5 + 1.875, 0.02) << volume << " " << voices;
    }
  }
}

TEST_F(Rendering, SilencePassesInNoTime) {
  // A note, and another one 100,000 s later: 38 GB of frames.
  const auto song =
      songOf(0, 480, {trackBytes({0, 0x90, 60,   127, 0x60, 60, 0, 0xAD, 0xE3, 0xB0, 0, 60, 127, 0x60, 60, 0,  //
                                  0, 0xFF, 0x2F, 0})});
  EXPECT_FALSE(render(*song));
  EXPECT_EQ(LastErrorText(), u"Done: Rendered aborted!");
  host.answer = 0;
  const auto waveform = render(*song);
  ASSERT_TRUE(waveform);
  const auto second = static_cast<int64_t>((100000 + 0.1) * rate);
  Frames frames(2 * 4800);
  ASSERT_TRUE(waveform->samples->open(second - 2400)->read(frames));
  EXPECT_EQ(peak(part(frames, 0, 0.099)), 0);
  EXPECT_GT(peak(part(frames, 0.11, 0.2)), 0.01);
  EXPECT_LT(host.polls, 10000);
}

TEST_F(Rendering, WhatCannotBeRendered) {
  EXPECT_FALSE(render(*songOf(0, 480, {trackBytes({0, 0xC0, 1, 0, 0xFF, 0x2F, 0})})));
  EXPECT_EQ(LastErrorText(), u"Done: No notes to render!");
  host.allowed = 1;
  EXPECT_FALSE(render(*oneNote()));
  EXPECT_EQ(LastErrorText(), u"Done: Rendered aborted!");
}

TEST_F(Rendering, MissingInstrumentsComeFromTheDefaultCollection) {
  struct Case {
    int program, channel, bank;  ///< the song's
    int has;                     ///< program of the default collection's instrument
    bool hasDrums;
    bool isHeard;
  };
  const Case cases[] = {{5, 0, 0, 5, false, true}, {5, 0, 3, 5, false, true}, {6, 0, 0, 5, false, false},
                        {5, 9, 0, 0, true, true},  {5, 9, 3, 0, true, true},  {5, 9, 0, 5, false, false},
                        {0, 0, 3, 9, false, true}};  // the last one is in the document
  for (const Case& each : cases) {
    SoundLab bank;
    bank.addConstant();
    bank.instrument->program = static_cast<uint8_t>(each.has);
    bank.instrument->drum = each.hasDrums;
    defaults = &bank.collection;
    const auto waveform = render(*oneNote(each.program, each.channel, each.bank));
    ASSERT_TRUE(waveform);
    EXPECT_EQ(peak(samplesOf(*waveform)) > 0, each.isHeard) << each.program << " " << each.channel << " " << each.bank;
  }
}

TEST_F(Rendering, RegionsThatTheSongDoesNotReachAreNotRead) {
  // Reading the second sound would fail.
  struct Unreadable final : SampleData {
    Unreadable() : SampleData(1, 100) {}
    std::unique_ptr<SampleStream> open(int64_t) const override { return fail(u"Reading from file failed"); }
  };
  Region& other = lab.addConstant();
  lab.collection.waveforms().back()->samples = std::make_shared<Unreadable>();
  other.trigger.set(P::triggerLowKey, 61);
  EXPECT_TRUE(render(*oneNote()));
  other.trigger.set(P::triggerLowKey, 60);
  EXPECT_FALSE(render(*oneNote()));
  EXPECT_EQ(LastErrorText(), u"Couldn't create instrument");
}

TEST_F(Rendering, WithoutADefaultCollectionTheRestIsRendered) {
  const auto waveform = render(*oneNote(7));
  ASSERT_TRUE(waveform);
  EXPECT_EQ(peak(samplesOf(*waveform)), 0);
  EXPECT_EQ(host.status.front(),
            u"Could not open the default GM/GS collection!\nInstruments will be missing from the song.");
}

TEST_F(Rendering, InTheDocumentTheWaveformTakesTheSongsPlaceWhenWanted) {
  Song& song = lab.collection.add(oneNote());
  song.name = u"Tune";
  Settings settings;
  settings.mid2wav.deleteSrc = 1;
  host.answer = 0;
  ASSERT_TRUE(audio::renderSongInDocument(lab.collection, song, {}, host, settings));
  EXPECT_TRUE(lab.collection.songs().empty());
  EXPECT_EQ(lab.collection.waveforms().back()->name, u"Tune");
  EXPECT_EQ(host.status.back(), u"Done: Rendered Tune to waveform \"Tune\".");
}

}  // namespace
}  // namespace tervo::test

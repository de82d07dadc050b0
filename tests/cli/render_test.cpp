#include <gmock/gmock.h>

#include "base/last_error.h"
#include "core/collection.h"
#include "core/report.h"
#include "core/settings.h"
#include "formats/save_flow.h"
#include "tests/cli/command_fixture.h"
#include "tests/core/song_builder.h"

namespace tervo::test {
namespace {

/// A folder with a bank of one steady instrument and a song of one note, half a second long.
class RenderCommand : public CommandTest {
 protected:
  RenderCommand() {
    Collection bank;
    auto waveform = std::make_unique<Waveform>();
    waveform->sampleRate = 44100;
    std::vector<float> frames;
    for (int i = 0; i < 4410; ++i) frames.push_back(i / 50 % 2 == 0 ? 0.5f : -0.5f);
    waveform->samples = makeResident(std::move(frames), 1);
    waveform->markers.push_back({.type = MarkerType::loop, .start = 0, .end = 4400, .loopType = LoopType::forward});
    auto region = std::make_unique<Region>();
    region->waveform = bank.add(std::move(waveform)).id();
    auto instrument = std::make_unique<Instrument>();
    instrument->name = u"Steady";
    instrument->add(std::make_unique<Layer>()).add(std::move(region));
    bank.add(std::move(instrument));
    save(bank, u"sf2", u"bank.sf2");
    Collection songs;
    for (const int program : {0, 40}) {
      const TrackBytes track =
          trackBytes({0, 0xC0, program, 0, 0x90, 60, 100, 0x83, 0x60, 0x80, 60, 0, 0, 0xFF, 0x2F, 0});
      save(songs.add(songOf(0, 480, {track})), u"mid", program == 0 ? u"song.mid" : u"other.mid");
    }
  }
  void save(const Item& item, TextView extension, TextView name) {
    ConversionReport report;
    Host host;
    const SaveContext context{host, report, settings_};
    for (FormatIndex row = 0; const FormatDescriptor* descriptor = rowAt(row); ++row) {
      if (descriptor->extension != extension || !descriptor->write) continue;
      ASSERT_TRUE(SaveItem(&item, row, folder.text(name), context)) << toUtf8(LastErrorText());
      return;
    }
    FAIL();
  }
  nlohmann::json infoOf(TextView name) {
    EXPECT_EQ(run({u"info", Text(name), u"--json"}), 0);
    return json()[0]["waveforms"][0];
  }

 private:
  Settings settings_;
};

TEST_F(RenderCommand, MakesAWaveformWithTheBank) {
  ASSERT_EQ(run({u"render", u"song.mid", u"-o", u"out.wav", u"--bank", u"bank.sf2", u"--rate", u"32000"}), 0)
      << console.error;
  const auto waveform = infoOf(u"out.wav");
  EXPECT_EQ(waveform["sampleRate"], 32000);
  EXPECT_EQ(waveform["channels"], 2);
  EXPECT_GT(waveform["frames"], 15000);
}

TEST_F(RenderCommand, ConvertRendersForRowsWithoutSongs) {
  ASSERT_EQ(run({u"convert", u"song.mid", u"-o", u"out.aif", u"--bank", u"bank.sf2", u"--tail", u"2", u"--set",
                 u"mid2wav.bDeleteSilence=0", u"--threads", u"1"}),
            0)
      << console.error;
  EXPECT_NEAR(infoOf(u"out.aif")["frames"].get<double>(), 2.5 * 48000, 200);
}

TEST_F(RenderCommand, ConvertRendersInstrumentsForRowsOfWaveforms) {
  const std::vector<Text> convert = {
      u"convert", u"bank.sf2", u"--item", u"instrument:0", u"--set", u"sy2wt.dwmsMaxLength=500", u"-o"};
  const auto with = [&](std::initializer_list<Text> more) {
    std::vector<Text> arguments = convert;
    arguments.insert(arguments.end(), more);
    return run(arguments);
  };
  ASSERT_EQ(with({u"note.wav", u"--rate", u"32000", u"--interpolation", u"sinc"}), 0) << console.error;
  const auto note = infoOf(u"note.wav");
  EXPECT_EQ(note["frames"], 16000);
  EXPECT_EQ(note["rootKey"], 60);
  ASSERT_EQ(with({u"notes.wav", u"--set", u"sy2wt.iNumWaves=2"}), 0) << console.error;
  EXPECT_EQ(infoOf(u"notes 032.wav")["frames"], 24000);
  EXPECT_EQ(infoOf(u"notes 096.wav")["rootKey"], 96);
  EXPECT_EQ(with({u"notes.wav", u"--set", u"sy2wt.iNumWaves=2"}), 1);
  EXPECT_THAT(console.error, testing::HasSubstr("File exists already"));
  // The only sound of a bank is taken as it is; of several sounds none is meant without being named.
  ASSERT_EQ(run({u"convert", u"bank.sf2", u"-o", u"sound.wav"}), 0) << console.error;
  EXPECT_EQ(infoOf(u"sound.wav")["frames"], 4410);
  ASSERT_EQ(
      run({u"convert", u"bank.sf2", u"sound.wav", u"-o", u"several.sf2", u"--set", u"load.bAutoRemoveDupWaves=0"}), 0);
  ASSERT_EQ(run({u"convert", u"several.sf2", u"-o", u"rendered.wav"}), 0) << console.error;
  EXPECT_EQ(infoOf(u"rendered.wav")["channels"], 2);
}

TEST_F(RenderCommand, SaysWhyItCannot) {
  EXPECT_EQ(run({u"render", u"song.mid", u"-o", u"out.mid"}), 1);
  EXPECT_THAT(console.error, testing::HasSubstr("it holds songs"));
  const struct {
    std::vector<Text> arguments;
    const char* message;
  } cases[] = {
      {{u"-o", u"out.sf2"}, "it holds instruments"},
      {{u"-o", u"out.wav", u"--bank", u"bank.sf2", u"--bank", u"missing.sf2"}, "missing.sf2: Could not open file"},
      {{u"-o", u"out.wav", u"--bank", u"other.mid"}, "other.mid: There are no instruments in it"},
      {{u"other.mid", u"-o", u"out.wav"}, "songs 2; choose one with --item song:N"},
  };
  for (const auto& [arguments, message] : cases) {
    std::vector<Text> all = {u"render", u"song.mid"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(run(all), 1);
    EXPECT_THAT(console.error, testing::HasSubstr(message));
  }
  EXPECT_EQ(run({u"render", u"song.mid", u"-o", u"out.wav", u"--tail", u"-1"}), 2);
  EXPECT_THAT(console.error, testing::HasSubstr("--tail: \"-1\" is no number from 0 to 3600"));
  EXPECT_EQ(run({u"render", u"song.mid", u"-o", u"out.wav", u"--voices", u"0"}), 2);
  console.onPoll = [](int) { return true; };
  EXPECT_EQ(run({u"render", u"song.mid", u"-o", u"out.wav", u"--bank", u"bank.sf2"}), 130);
}

TEST_F(RenderCommand, TheBankStaysWhatItIs) {
  const std::string bank = folder.get(u"bank.sf2");
  std::filesystem::create_hard_link(folder / u"bank.sf2", folder / u"link.sf2");
  const struct {
    std::vector<Text> arguments;
    int status;
    const char* message;
  } cases[] = {
      {{u"render", u"song.mid", u"-o", u"o.wav", u"--report=bank.sf2"}, 2, "bank.sf2: The report would replace"},
      {{u"convert", u"song.mid", u"-o", u"o.wav", u"--report=link.sf2"}, 2, "link.sf2: The report would replace"},
      {{u"play", u"song.mid", u"--device", u"null", u"--report=bank.sf2"}, 2, "bank.sf2: The report would replace"},
      {{u"batch", u"song.mid", u"--to", u"wav", u"-d", u"o", u"--report=bank.sf2"},
       2,
       "bank.sf2: The report would replace"},
      {{u"render", u"song.mid", u"-o", u"bank.sf2", u"--format", u"wav"}, 1, "bank.sf2: The file would be replaced"},
      {{u"convert", u"song.mid", u"-o", u"link.sf2", u"--format", u"wav"}, 1, "link.sf2: The file would be replaced"},
  };
  const std::vector<Text> named = {u"--bank", u"bank.sf2"}, usual = {u"--set", u"mid2wav.wszGMBank=bank.sf2"};
  for (const auto& [arguments, status, message] : cases) {
    for (const auto& naming : {named, usual}) {
      if (status != 2 && naming == usual) continue;  // what nobody named may be replaced by what is named
      std::vector<Text> all = arguments;
      all.insert(all.end(), naming.begin(), naming.end());
      if (all[0] != u"play") all.push_back(u"--overwrite");
      EXPECT_EQ(run(all), status);
      EXPECT_THAT(console.error, testing::HasSubstr(message));
      EXPECT_EQ(folder.get(u"bank.sf2"), bank);
    }
  }
}

TEST_F(RenderCommand, AMissingDefaultBankLeavesSilence) {
  for (const bool isTerminal : {false, true}) {
    console.terminal = isTerminal;
    EXPECT_EQ(
        run({u"render", u"song.mid", u"-o", u"out.wav", u"--overwrite", u"--set", u"mid2wav.wszGMBank=nowhere.sf2"}),
        0);
    const std::string text =
        "Could not open the default GM/GS collection!\nInstruments will be missing from the song.\n";
    const std::size_t place = console.error.find(text);
    ASSERT_NE(place, std::string::npos) << console.error;
    EXPECT_EQ(console.error.find("Could not open the default", place + 1), std::string::npos);
  }
}

TEST_F(RenderCommand, SaysWhichInstrumentsAreMissing) {
  ASSERT_EQ(run({u"render", u"other.mid", u"-o", u"out.wav", u"--bank", u"bank.sf2", u"--report"}), 0);
  EXPECT_THAT(console.error, testing::HasSubstr("notes stay silent: program 40 (1 note)\n"));
  EXPECT_THAT(console.error, testing::HasSubstr("dropped: program 40: no bank has it, silent: 1 note\n"));
}

}  // namespace
}  // namespace tervo::test

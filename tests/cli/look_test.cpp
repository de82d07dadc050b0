// tervo detect, info, formats, settings.

#include "base/last_error.h"
#include "tests/cli/command_fixture.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo::test {
namespace {

using nlohmann::json;

class LookCommands : public CommandTest {
 protected:
  void SetUp() override {
    const Bytes sampler = u32({0, 0, 125000, 61, 0, 0, 0, 1, 0, 0, 0, 1, 2, 0, 7});
    putBytes(u"tone.wav", WavBuilder().fmt({}).data(i16({1, 2, 3, 4})).chunk("smpl", sampler).bytes());
    folder.put(u"two.sw", std::string(8, '\0'));
    folder.put(u"empty.wav", "");
    folder.put(u"what.xyz", "hello");
    folder.put(u"tune.imf", "hello");
    std::filesystem::create_directory(folder / u"folder.wav");
  }
  void putBytes(TextView name, const Bytes& bytes) {
    folder.put(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }
};

TEST_F(LookCommands, DetectNamesRowAndConfidence) {
  EXPECT_EQ(run({u"detect", u"tone.wav", u"two.sw", u"what.xyz", u"tune.imf"}), 0);
  EXPECT_EQ(console.output,
            "tone.wav: Microsoft wave (row 491, .wav), confidence 100 %\n"
            "two.sw: Signed words (16-bit) - Little Endian (row 433, .sw), confidence 55 %\n"
            "what.xyz: Unrecognized (row 0, .*), confidence 0 %\n"
            "tune.imf: Unrecognized (row 0, .*), confidence 0 %; "
            "known, but not readable yet: id Software Music Format (560Hz)\n");
  EXPECT_EQ(console.error, "");
}

TEST_F(LookCommands, DetectGivesOneObjectAFile) {
  EXPECT_EQ(run({u"detect", u"--json", u"absent.wav", u"tone.wav", u"empty.wav"}), 1);
  EXPECT_EQ(json(), json::parse(
                        R"([{"path": "absent.wav", "index": -1, "extension": "", "description": "", "confidence": 0},
              {"path": "tone.wav", "index": 491, "extension": "wav", "description": "Microsoft wave", "confidence": 100},
              {"path": "empty.wav", "index": -1, "extension": "", "description": "", "confidence": 0}])"));
  EXPECT_NE(console.error.find("tervo: absent.wav: Could not open file ("), std::string::npos) << console.error;
  EXPECT_NE(console.error.find("tervo: empty.wav: File is of zero size\n"), std::string::npos) << console.error;
}

TEST_F(LookCommands, InfoShowsTheDocument) {
  ASSERT_EQ(run({u"info", u"--json", u"tone.wav", u"what.xyz"}), 1);
  const auto all = json();
  ASSERT_EQ(all.size(), 2u);
  const auto& file = all[0];
  EXPECT_EQ(file["path"], "tone.wav");
  EXPECT_EQ(file["format"],
            json::parse(R"({"index": 491, "extension": "wav", "description": "Microsoft wave", "confidence": 100})"));
  EXPECT_EQ(file["collection"]["name"], "tone");
  EXPECT_TRUE(file["collection"]["tags"].contains("Source file on disk"));
  auto waveform = file["waveforms"][0];
  waveform.erase("tags");
  EXPECT_EQ(waveform, json::parse(R"({"name": "tone", "sampleRate": 8000, "channels": 1, "frames": 4, "bits": 16,
      "sampleFormat": "PCM 16-bit", "sampleCoding": "PCM 16-bit", "rootKey": 61, "fineTune": 0, "gain": 0,
      "loops": [{"number": 1, "name": "", "type": "Forward", "start": 1, "end": 3, "count": 7}], "markers": []})"));
  EXPECT_EQ(file["instruments"], json::array());
  EXPECT_EQ(file["songs"], json::array());
  EXPECT_EQ(file["report"], json::array());
  EXPECT_EQ(all[1], json::parse(R"({"path": "what.xyz", "error": "Not detected as any supported file type"})"));

  ASSERT_EQ(run({u"info", u"tone.wav"}), 0);
  EXPECT_EQ(console.output,
            "tone.wav: Microsoft wave\n  waveform 0: tone\n"
            "    8000 Hz, mono, 4 frames (0.001 s), PCM 16-bit, root key 61\n    #1 loop 1 to 3, Forward, 7 times\n");
}

TEST_F(LookCommands, InfoSaysWhyAndWhatToDo) {
  const struct {
    TextView file;
    std::string message;
  } cases[] = {
      {u"absent.wav", "Could not open file ("},
      {u"folder.wav", "Could not open file ("},
      {u"empty.wav", "File is of zero size\n"},
      {u"what.xyz", "Not detected as any supported file type (--force-raw reads it as raw data)\n"},
      {u"tune.imf", "Not detected as any supported file type (known, but not readable yet: id Software"},
  };
  for (const auto& [file, message] : cases) {
    EXPECT_EQ(run({u"info", Text(file)}), 1);
    EXPECT_EQ(console.output, "");
    EXPECT_NE(console.error.find("tervo: " + toUtf8(file) + ": " + message), std::string::npos) << console.error;
  }
  // The question that nobody was there to answer, and the answer that was taken.
  EXPECT_TRUE(console.error.starts_with("The selected file can not be detected")) << console.error;
  EXPECT_NE(console.error.find("\n  -> Cancel\n"), std::string::npos);
}

TEST_F(LookCommands, RawDataIsReadAsTheUserSays) {
  const struct {
    std::vector<Text> options;
    int channels, frames;
    double rate;
    std::string format;
  } cases[] = {
      {{u"--force-raw"}, 1, 2, 44100, "PCM 16-bit"},
      {{u"--answer", u"yes"}, 1, 2, 44100, "PCM 16-bit"},
      {{u"--answer", u"raw data=ok"}, 1, 2, 44100, "PCM 16-bit"},
      {{u"--force-raw", u"--raw-format", u"PCM 8-bit", u"--raw-offset", u"1"}, 1, 4, 44100, "PCM 8-bit"},
      {{u"--force-raw", u"--raw-format", u"PCM 8-bit", u"--raw-length", u"3"}, 1, 3, 44100, "PCM 8-bit"},
      {{u"--force-raw", u"--raw-format", u"mu-law 8-bit", u"--raw-channels", u"2", u"--raw-rate", u"8000.5"},
       2,
       2,
       8000.5,
       "Mu-law 8-bit"},
  };
  for (const auto& each : cases) {
    std::vector<Text> arguments = {u"info", u"what.xyz", u"--json"};
    arguments.insert(arguments.end(), each.options.begin(), each.options.end());
    ASSERT_EQ(run(arguments), 0) << console.error;
    const auto file = json()[0];
    EXPECT_EQ(file["format"]["confidence"], 0);
    const auto& waveform = file["waveforms"][0];
    EXPECT_EQ(waveform["channels"], each.channels);
    EXPECT_EQ(waveform["frames"], each.frames);
    EXPECT_EQ(waveform["sampleRate"], each.rate);
    EXPECT_EQ(waveform["sampleFormat"], each.format);
  }
}

TEST_F(LookCommands, ALookThatIsCancelledStops) {
  console.onPoll = [](int polls) { return polls > 1; };
  EXPECT_EQ(run({u"detect", u"--json", u"tone.wav", u"tone.wav", u"tone.wav"}), 130);
  EXPECT_EQ(json().size(), 1u);
}

TEST_F(LookCommands, FormatsListsTheTable) {
  EXPECT_EQ(run({u"formats", u"--json"}), 0);
  const auto rows = json();
  ASSERT_EQ(rows.size(), 543u);
  EXPECT_EQ(rows[492], json::parse(R"({"index": 492, "extension": "wav", "description": "Broadcast wave", "kinds": 1,
      "flags": 0, "variant": 0, "declared": "RD", "available": "RD"})"));
  EXPECT_EQ(rows[434]["variant"], 16777216);
  EXPECT_EQ(rows[434]["declared"], "W");
  EXPECT_EQ(run({u"formats"}), 0);
  EXPECT_NE(console.output.find("\n  392  sf2"), std::string::npos);
}

TEST_F(LookCommands, SettingsAreShownAsTheRunHasThem) {
  EXPECT_EQ(run({u"settings", u"get", u"MID2WAV.iMaxPolyphony", u"--set", u"mid2wav.iMaxPolyphony=99"}), 0);
  EXPECT_EQ(console.output, "99\n");
  EXPECT_EQ(run({u"settings", u"list", u"--json", u"--set", u"mid2wav.iMaxPolyphony=99"}), 0);
  bool found = false;
  for (const auto& row : json()) {
    if (row["key"] != "mid2wav.iMaxPolyphony") continue;
    found = row["value"] == "99" && row["default"] == "128";
  }
  EXPECT_TRUE(found);
  EXPECT_EQ(run({u"settings", u"get", u"no.such"}), 1);
  EXPECT_EQ(console.error, "tervo: no.such: Unknown setting \"no.such\"\n");
  for (const Text command : {u"detect", u"info"}) {
    EXPECT_EQ(run({command, u"tone.wav", u"--set", u"no.such=1"}), 2);
    EXPECT_EQ(console.error, "tervo: --set no.such=1: Unknown setting \"no.such\"\n");
  }
}

TEST_F(LookCommands, ResultsThatNobodyGotAreAFailure) {
  console.broken = true;
  for (const std::vector<Text>& arguments :
       {std::vector<Text>{u"formats"}, {u"--version"}, {u"detect", u"tone.wav"}, {u"info", u"tone.wav"}}) {
    EXPECT_EQ(run(arguments), 1);
    EXPECT_TRUE(console.error.starts_with("tervo: standard output: Writing to file failed")) << console.error;
  }
}

TEST(Printable, KeepsOneLineAndTheTerminal) {
  EXPECT_EQ(printable(u"a\nb\t\x1B[2J\x7F\x9B é\xDCFF"), "a\\nb\\t\\x1B[2J\\x7F\\x9B \xC3\xA9\xFF");
  MemoryConsole memory;
  setLastErrorText(u"Too much data!\n\nRemove some...\n");
  memory.failure(u"a\nb", u"why");
  EXPECT_EQ(memory.error, "tervo: a\\nb: Too much data! Remove some... (why)\n");
}

}  // namespace
}  // namespace tervo::test

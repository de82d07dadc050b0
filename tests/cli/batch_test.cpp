#include <gmock/gmock.h>

#include "platform/path.h"
#include "tests/cli/command_fixture.h"

namespace tervo::test {
namespace {

using testing::HasSubstr, testing::Not;

// A mono WAV file (Microsoft Multimedia Standards Update) of silence.
std::string wavOf(int frames) {
  const auto little = [](uint32_t value, int bytes) {
    std::string result;
    for (int i = 0; i < bytes; ++i) result += static_cast<char>(value >> (8 * i));
    return result;
  };
  const auto size = static_cast<uint32_t>(frames * 2);
  return "RIFF" + little(36 + size, 4) + "WAVEfmt " + little(16, 4) + little(1, 2) + little(1, 2) + little(44100, 4) +
         little(88200, 4) + little(2, 2) + little(16, 2) + "data" + little(size, 4) + std::string(size, '\0');
}

class BatchCommand : public CommandTest {
 protected:
  BatchCommand() {
    std::filesystem::create_directories(folder / u"in/sub");
    folder.put(u"in/a.wav", wavOf(1000));
    folder.put(u"in/sub/b.wav", wavOf(500));
    folder.put(u"in/readme.txt", "nothing to hear");
  }
  bool exists(TextView name) const { return std::filesystem::exists(folder / name); }
};

TEST_F(BatchCommand, ConvertsIntoSeveralFormatsWithTheSaveOptions) {
  EXPECT_EQ(run({u"batch", u"in", u"--to", u"aif,wav", u"-d", u"out", u"--coding", u"PCM 24-bit", u"--rate", u"22050",
                 u"--json", u"-j", u"2"}),
            0)
      << console.error;
  EXPECT_EQ(json()["counts"]["done"], 4);
  EXPECT_EQ(json()["counts"]["unrecognised"], 2) << "found in a folder, so no failure";
  EXPECT_TRUE(json()["entries"][0]["report"].is_array());
  ASSERT_EQ(run({u"info", u"out/sub/b.wav", u"--json"}), 0) << console.error;
  EXPECT_EQ(json()[0]["waveforms"][0]["sampleFormat"], "PCM 24-bit");
  EXPECT_EQ(json()[0]["waveforms"][0]["frames"], 250);
}

TEST_F(BatchCommand, SaysWhatFailedAndWhy) {
  folder.put(u"in/broken.wav", wavOf(1000).substr(0, 30));
  EXPECT_EQ(run({u"batch", u"in", u"missing.wav", u"--to", u"aif", u"-d", u"out", u"--report=r.json"}), 1);
  EXPECT_THAT(console.output, HasSubstr("Done: 2 converted, 1 not recognised, 2 failed\n"));
  const auto below = [](TextView from, TextView name) { return toUtf8(platform::join(from, name)); };
  EXPECT_THAT(console.error,
              HasSubstr("tervo: " + below(u"in", u"broken.wav") + " -> " + below(u"out", u"broken.aif") + ": "));
  EXPECT_THAT(console.error,
              HasSubstr("tervo: missing.wav -> " + below(u"out", u"missing.aif") + ": Could not open file"));
  EXPECT_EQ(nlohmann::json::parse(folder.get(u"r.json"))["counts"]["failed"], 2);
  EXPECT_EQ(run({u"batch", u"in/a.wav", u"--to", u"aif", u"-d", u"out"}), 1) << "it is there already";
  EXPECT_EQ(run({u"batch", u"in/a.wav", u"--to", u"aif", u"-d", u"out", u"--overwrite", u"--quiet"}), 0);
  EXPECT_EQ(console.output + console.error, "");
}

TEST_F(BatchCommand, ADryRunWritesNothing) {
  EXPECT_EQ(run({u"batch", u"in/a.wav", u"in/sub", u"--to", u"aif", u"-d", u"out", u"--dry-run"}), 0);
  EXPECT_THAT(console.output, HasSubstr("a.wav -> out"));
  EXPECT_THAT(console.output, HasSubstr("2 to convert\n"));
  EXPECT_FALSE(exists(u"out"));
}

TEST_F(BatchCommand, CancelledByTheUserItCanBeResumed) {
  console.onPoll = [](int) { return true; };
  EXPECT_EQ(run({u"batch", u"in", u"--to", u"aif", u"-d", u"out", u"-j", u"1"}), 130) << console.output;
  EXPECT_THAT(console.output, HasSubstr("Cancelled: "));
  console.onPoll = nullptr;
  EXPECT_EQ(run({u"batch", u"in", u"--to", u"aif", u"-d", u"out", u"--resume"}), 0) << console.error;
  EXPECT_TRUE(exists(u"out/a.aif") && exists(u"out/sub/b.aif"));
  EXPECT_EQ(run({u"batch", u"in", u"--to", u"aif", u"-d", u"out", u"--resume"}), 0);
  EXPECT_THAT(console.output, HasSubstr("0 converted, 2 finished before"));
}

TEST_F(BatchCommand, RefusesWrongUsage) {
  const std::vector<Text> rows[] = {{u"--to", u"nonsense"}, {u"--to", u"wav,aif,aifc,w64,au"}, {u"--to", u"wav,,aif"}};
  for (const auto& to : rows) {
    std::vector<Text> arguments = {u"batch", u"in", u"-d", u"out"};
    arguments.insert(arguments.end(), to.begin(), to.end());
    EXPECT_EQ(run(arguments), 2) << toUtf8(to[1]);
  }
  EXPECT_EQ(run({u"batch", u"in/a.wav", u"--to", u"aif", u"-d", u"out", u"--report=in/a.wav"}), 2);
  EXPECT_EQ(folder.get(u"in/a.wav"), wavOf(1000));
}

}  // namespace
}  // namespace tervo::test

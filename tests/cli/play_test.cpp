#include "formats/codec/compressed_stream.h"
#include "formats/codec/flac.h"
#include "tests/cli/command_fixture.h"
#include "tests/formats/instrument/sf2_builder.h"

namespace tervo::test {
namespace {

class PlayTest : public CommandTest {
 protected:
  PlayTest() {
    // 100 frames of 16 bits, mono, 48000 Hz.
    const std::string header("RIFF\xEC\0\0\0WAVEfmt \x10\0\0\0\1\0\1\0\x80\xBB\0\0\0\x77\1\0\2\0\x10\0data\xC8\0\0\0",
                             44);
    folder.put(u"a.wav", header + std::string(200, '\x20'));
    // A loop from frame 0 to 99 that never ends.
    const std::string loop = std::string("smpl\x3C\0\0\0", 8) + std::string(28, '\0') + std::string("\1\0\0\0", 4) +
                             std::string(16, '\0') + std::string("\x63", 1) + std::string(11, '\0');
    std::string looped = header;
    looped.replace(4, 2, "\x30\1");
    folder.put(u"looped.wav", looped + std::string(200, '\x20') + loop);
  }
};

TEST_F(PlayTest, PlaysIntoAFile) {
  std::filesystem::create_directory(folder / u"sounds");
  std::filesystem::rename(folder / u"a.wav", folder / u"sounds/a.wav");
  EXPECT_EQ(run({u"play", u"sounds/a.wav", u"--device", u"file:out.wav", u"--set", u"aio.fdbWaveGain=0"}), 0);
  EXPECT_EQ(console.error, "--> 48000 Hz - 2 channels - Floats\n");
  const std::string out = folder.get(u"out.wav");
  const std::size_t data = out.find("data") + 8;
  ASSERT_EQ(out.size(), data + 100 * 8);
  // 0x2020 of 32768, on both sides.
  const float expected[] = {8224.0f / 32768, 8224.0f / 32768};
  EXPECT_EQ(out.substr(data + 99 * 8), std::string(reinterpret_cast<const char*>(expected), 8));
}

TEST_F(PlayTest, ReplacesNothingUnasked) {
  const std::string sound = folder.get(u"a.wav");
  folder.put(u"old.wav", "old");
  EXPECT_EQ(run({u"play", u"a.wav", u"--device", u"file:a.wav", u"--overwrite"}), 1);
  EXPECT_EQ(folder.get(u"a.wav"), sound);
  EXPECT_EQ(run({u"play", u"a.wav", u"--device", u"file:old.wav"}), 1);
  EXPECT_NE(console.error.find("old.wav: File exists already (--overwrite replaces it)"), std::string::npos);
  // A file that was broken off is not there.
  console.onPoll = [&](int) { return console.error.find("--> ") != std::string::npos; };
  EXPECT_EQ(run({u"play", u"looped.wav", u"--seconds", u"3600", u"--device", u"file:old.wav", u"--overwrite"}), 130);
  EXPECT_EQ(folder.get(u"old.wav"), "old");
  console.onPoll = nullptr;
  EXPECT_EQ(run({u"play", u"a.wav", u"--device", u"file:old.wav", u"--overwrite"}), 0);
  EXPECT_NE(folder.get(u"old.wav"), "old");
}

TEST_F(PlayTest, ReportsWhatIsLost) {
  if (!canDecode(flacName)) GTEST_SKIP();
  std::vector<float> frames(20000);
  for (std::size_t i = 0; i < frames.size(); ++i) frames[i] = static_cast<float>(i * 37 % 2000) / 32768;
  auto stream = *encodeFlac(*makeResident(std::move(frames), 1), 22050, 16);
  for (std::size_t i = 0; i < 20; ++i) stream[stream.size() / 2 + i] ^= std::byte{0x55};
  const auto bank = bankOf({stream}).build();
  folder.put(u"bank.sf3", {reinterpret_cast<const char*>(bank.data()), bank.size()});
  std::vector<Text> arguments = {u"play",     u"bank.sf3", u"--item",    u"waveform:0",
                                 u"--device", u"null",     u"--seconds", u"0.1"};
  arguments.push_back(u"--report");
  EXPECT_EQ(run(arguments), 0);
  EXPECT_NE(console.error.find("Sample: dropped: some frames"), std::string::npos) << console.error;
  arguments.back() = u"--report=lost.txt";
  arguments.push_back(u"--json");
  ASSERT_EQ(run(arguments), 0);
  EXPECT_EQ(json()["report"][0]["what"], "some frames");
  EXPECT_NE(folder.get(u"lost.txt").find("some frames"), std::string::npos);
}

TEST_F(PlayTest, SaysWhatCannotBePlayed) {
  const struct {
    std::vector<Text> arguments;
    int status;
    const char* message;
  } cases[] = {
      {{u"a.wav", u"--device", u"Nobody"},
       1,
       "tervo: Nobody: Could not open audio output device (There is no such audio device)\n"},
      {{u"a.wav", u"--device", u"file:nowhere/out.wav"}, 1, "out.wav: Could not open audio output device ("},
      {{u"a.wav", u"a.wav", u"--device", u"null", u"--set", u"load.bAutoRemoveDupWaves=0"},
       1,
       "choose one with --item KIND:N"},
      {{u"a.wav", u"--device", u"null", u"--midi-in", u"null"}, 1, "Only an instrument can be played from a MIDI port"},
      {{u"a.wav", u"--device", u"null", u"--midi-out", u"null"}, 1, "Only a song can be sent to a MIDI port"},
      {{u"looped.wav", u"--device", u"file:out.wav"}, 1, "say with --seconds how long the file is to be"},
      {{u"a.wav", u"--notes", u"60,128"}, 2, "\"60,128\" are no keys"},
      {{u"a.wav", u"--notes", u"60+"}, 2, "are no keys"},
  };
  for (const auto& [arguments, status, message] : cases) {
    std::vector<Text> all = {u"play"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(run(all), status);
    EXPECT_NE(console.error.find(message), std::string::npos) << console.error;
  }
}

TEST_F(PlayTest, ListsDevicesAsJson) {
  ASSERT_EQ(run({u"devices", u"--json"}), 0);
  for (const char* list : {"audioOutputs", "midiInputs", "midiOutputs"}) EXPECT_TRUE(json()[list].is_array());
}

}  // namespace
}  // namespace tervo::test

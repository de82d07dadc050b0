#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

#include "tests/cli/command_fixture.h"

namespace tervo::test {
namespace {

namespace fs = std::filesystem;

/// No command of these tests sees the settings of whoever runs them.
class OwnSettings final : public testing::Environment {
 public:
  void SetUp() override { setenv("TERVO_SETTINGS", (folder_ / u"settings").c_str(), 1); }

 private:
  TestFolder folder_;
};
const auto* const ownSettings = testing::AddGlobalTestEnvironment(new OwnSettings);

class PosixCommands : public CommandTest {};

TEST_F(PosixCommands, SettingsAreKept) {
  EXPECT_EQ(run({u"settings", u"set", u"mid2wav.iMaxPolyphony", u"77", u"--json"}), 0) << console.error;
  EXPECT_EQ(json()["value"], "77");
  EXPECT_EQ(run({u"settings", u"get", u"mid2wav.iMaxPolyphony"}), 0);
  EXPECT_EQ(console.output, "77\n");
  EXPECT_EQ(run({u"settings", u"set", u"mid2wav.iMaxPolyphony", u"many"}), 1);
  EXPECT_EQ(run({u"settings", u"get", u"mid2wav.iMaxPolyphony"}), 0);
  EXPECT_EQ(console.output, "77\n");
}

TEST_F(PosixCommands, AFolderOfStatesThatIsNoneIsSaid) {
  setenv("XDG_DATA_HOME", (folder / u"").c_str(), 1);
  EXPECT_EQ(run({u"state", u"list"}), 0) << console.error;  // not made yet
  folder.put(u"Tervo Studio", "a file");
  EXPECT_EQ(run({u"state", u"list"}), 1);
  EXPECT_NE(console.error.find("Tervo Studio: Could not open file"), std::string::npos) << console.error;
  unsetenv("XDG_DATA_HOME");
}

TEST_F(PosixCommands, WhatIsNoFileIsRefusedAtOnce) {
  ASSERT_EQ(mkfifo((folder / u"pipe.wav").c_str(), 0600), 0);
  fs::create_symlink("loop.wav", folder / u"loop.wav");
  const struct {
    Text file;
    std::string message;
  } cases[] = {{u"pipe.wav", "File is of zero size\n"},
               {u"/dev/zero", "File is of zero size\n"},
               {u"loop.wav", "Could not open file (Too many levels of symbolic links)\n"}};
  for (const auto& [file, message] : cases) {
    EXPECT_EQ(run({u"detect", file}), 1);
    EXPECT_EQ(console.error, "tervo: " + toUtf8(file) + ": " + message);
  }
}

TEST_F(PosixCommands, NamesOfAnyBytesAreReadWrittenAndShown) {
  const Text odd = fromPathBytes("\xFF\n\x1B.sw");
  folder.put(u"a.sw", "1234");
  ASSERT_EQ(run({u"convert", u"a.sw", u"-o", odd}), 0) << console.error;
  ASSERT_EQ(run({u"detect", odd}), 0) << console.error;
  EXPECT_TRUE(console.output.starts_with("\xFF\\n\\x1B.sw: Signed words")) << console.output;
  EXPECT_EQ(run({u"detect", odd, u"--json"}), 0);
  EXPECT_EQ(json()[0]["path"], "\xEF\xBF\xBD\n\x1B.sw");
}

TEST_F(PosixCommands, OtherNamesOfTheTargetKeepWhatTheyHad) {
  folder.put(u"a.sw", "1234");
  folder.put(u"one.sw", "old");
  fs::create_hard_link(folder / u"one.sw", folder / u"other.sw");
  fs::create_hard_link(folder / u"a.sw", folder / u"same.sw");
  for (const Text target : {u"one.sw", u"same.sw"}) {
    ASSERT_EQ(run({u"convert", u"a.sw", u"-o", target, u"--overwrite"}), 0) << console.error;
    EXPECT_EQ(folder.get(target), "1234");
  }
  EXPECT_EQ(folder.get(u"other.sw"), "old");
}

TEST_F(PosixCommands, AFullDiskLeavesTheTargetAlone) {
  folder.put(u"a.sw", std::string(600'000, '\x11'));
  folder.put(u"old", "precious");
  EXPECT_EQ(run({u"convert", u"a.sw", u"-o", u"/dev/full", u"--format", u"wav"}), 1);
  EXPECT_EQ(console.error, "tervo: /dev/full: Writing to file failed (No space left on device)\n");

  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{5'000, before.rlim_max};
  // A row of each writer: plain, companded, Dialogic, GSM, G.722, Wave64 and WAV in three codings.
  for (const std::vector<Text>& way :
       std::initializer_list<std::vector<Text>>{{u"433"},
                                                {u"457"},
                                                {u"474"},
                                                {u"179"},
                                                {u"490"},
                                                {u"491"},
                                                {u"491", u"--coding", u"ADPCM 4-bit"},
                                                {u"491", u"--coding", u"Float 32-bit", u"--rate", u"48000"}}) {
    std::vector<Text> arguments = {u"convert", u"a.sw", u"-o", u"old", u"--overwrite", u"--format"};
    arguments.insert(arguments.end(), way.begin(), way.end());
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(run(arguments), 1) << toUtf8(way[0]);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(console.error, "tervo: old: Writing to file failed (File too large)\n") << toUtf8(way[0]);
    EXPECT_TRUE(folder.get(u"old") == "precious");
    EXPECT_EQ(folder.count(), 2);
  }
}

/// A sound of four million bytes, more than any buffer on the way holds.
TEST_F(PosixCommands, AFullDiskIsSaidWhileASoundIsPlayedIntoAFile) {
  const std::string header("RIFF\x24\0\x40\0WAVEfmt \x10\0\0\0\1\0\1\0\x80\xBB\0\0\0\x77\1\0\2\0\x10\0data\0\0\x40\0",
                           44);
  folder.put(u"long.wav", header + std::string(0x400000, '\x20'));
  EXPECT_EQ(run({u"play", u"long.wav", u"--device", u"file:/dev/full", u"--overwrite"}), 1);
  EXPECT_NE(console.error.find("/dev/full: Writing to file failed (No space left on device)"), std::string::npos)
      << console.error;
}

}  // namespace
}  // namespace tervo::test

#include "cli/command_line.h"

#include <gmock/gmock.h>

#include <array>

#include "cli/cli_host.h"

namespace tervo::cli {
namespace {

CommandLine parsed(std::vector<Text> arguments) {
  Parsed result = parseCommandLine(arguments);
  EXPECT_TRUE(result.commandLine) << result.error;
  return result.commandLine.value_or(CommandLine{});
}

TEST(CommandLine, ConvertTakesItsOptions) {
  const CommandLine line =
      parsed({u"convert", u"a.wav", u"-o", u"b.wav", u"--coding", u"pcm 24-bit", u"--rate", u"48000", u"--channels",
              u"1", u"b\xDCFF.wav", u"--set", u"load.bConfirm=1", u"--set", u"aio.nLatency=5", u"--answer", u"yes"});
  EXPECT_EQ(line.command, Command::convert);
  ASSERT_EQ(line.files.size(), 2u);
  EXPECT_EQ(line.files[1].shown, u"b\xDCFF.wav");
  EXPECT_EQ(line.target.shown, u"b.wav");
  EXPECT_EQ(line.save.coding, SampleCoding::pcm24);
  EXPECT_EQ(parsed({u"convert", u"a.wav", u"-o", u"b.wav", u"--coding", u"gsm 2-bit"}).save.format, SampleFormat::gsm);
  EXPECT_EQ(line.save.sampleRate, 48000);
  EXPECT_EQ(line.save.channels, 1);
  EXPECT_EQ(line.sets.size(), 2u);
  EXPECT_EQ(line.answers, std::vector<Text>{u"yes"});
}

TEST(CommandLine, ReportTakesAFileOnlyWithAnEqualsSign) {
  const CommandLine bare = parsed({u"convert", u"--report", u"a.wav", u"-o", u"b.wav"});
  EXPECT_EQ(bare.report, ReportOutput::standardError);
  EXPECT_EQ(bare.files.size(), 1u);
  const CommandLine file = parsed({u"convert", u"--report=r.json", u"a.wav", u"-o", u"b.wav"});
  EXPECT_EQ(file.report, ReportOutput::file);
  EXPECT_EQ(file.reportFile.shown, u"r.json");
}

TEST(CommandLine, ProcessTakesTheOptionsOfItsOperation) {
  const CommandLine line = parsed({u"process", u"transpose", u"a.mid", u"-o", u"b.mid", u"--semitones", u"-3"});
  EXPECT_EQ(line.command, Command::process);
  ASSERT_TRUE(line.operation);
  EXPECT_EQ(line.operation->name, u"transpose");
  ASSERT_EQ(line.operationOptions.size(), 1u);
  EXPECT_EQ(line.operationOptions[0].first, u"semitones");
  EXPECT_EQ(line.operationOptions[0].second, u"-3");
  EXPECT_EQ(parsed({u"process", u"--list", u"--json"}).command, Command::processList);
}

TEST(CommandLine, WrongUsageExitsWithTwoAndHelpWithZero) {
  const std::vector<Text> wrong[] = {{},
                                     {u"nonsense"},
                                     {u"convert", u"a.wav"},
                                     {u"info"},
                                     {u"convert", u"a", u"-o", u"b", u"--coding", u"PCM 17-bit"},
                                     {u"convert", u"a", u"-o", u"b", u"--channels", u"3"},
                                     {u"convert", u"a", u"-o", u"b", u"--rate", u"0"},
                                     {u"convert", u"a", u"-o", u"b", u"--raw-order", u"middle"},
                                     {u"process"},
                                     {u"process", u"transpose", u"a", u"-o", u"b", u"--semitones", u"128"},
                                     {u"process", u"transpose", u"a", u"-o", u"b", u"--kinds", u"notes"},
                                     {u"settings"}};
  for (const auto& arguments : wrong) {
    const Parsed result = parseCommandLine(arguments);
    EXPECT_FALSE(result.commandLine);
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_FALSE(result.error.empty());
    EXPECT_TRUE(result.output.empty());
  }
  const auto error = [](const std::vector<Text>& arguments) { return parseCommandLine(arguments).error; };
  EXPECT_THAT(error({u"process", u"nope", u"a", u"-o", u"b"}), testing::HasSubstr("no command \"process nope\""));
  EXPECT_THAT(error(wrong[10]), testing::HasSubstr("--kinds"));
  for (const Text option : {u"--help", u"--version"}) {
    const Parsed result = parseCommandLine({option});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_FALSE(result.output.empty());
  }
}

TEST(Answers, ChooseButtons) {
  constexpr std::array<TextView, 3> buttons = {u"&Merge w current", u"&Replace current", u"&Cancel"};
  const Question question{u"How would you like to open the file?", buttons, 2};
  const struct {
    std::vector<Text> answers;
    std::size_t button;
  } cases[] = {
      {{}, 2},
      {{u"yes"}, 0},
      {{u"no"}, 2},
      {{u"like to open=replace CURRENT"}, 1},
      {{u"yes", u"something else=Replace current"}, 0},
      {{u"like to open=no such button"}, 2},
  };
  for (const auto& c : cases) EXPECT_EQ(chosenButton(question, c.answers), c.button);
}

}  // namespace
}  // namespace tervo::cli

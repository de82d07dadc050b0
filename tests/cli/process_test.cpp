// What `tervo process` works on, saves and says.

#include <gmock/gmock.h>

#include <array>

#include "tests/cli/command_fixture.h"
#include "tools/operation.h"

namespace tervo::test {
namespace {

using namespace std::string_literals;

class Process : public CommandTest {
 protected:
  /// A bank of two sounds with a preset each, the second one with a full-scale square wave.
  void SetUp() override {
    folder.put(u"a.sw", "\x00\x20\x00\xE0\x00\x20\x00\xE0"s);
    std::string square;
    for (int i = 0; i < 4000; ++i) square += i / 50 % 2 ? "\xFF\x7F"s : "\x00\x80"s;
    folder.put(u"b.sw", square);
    for (const Text name : {u"a", u"b"}) ASSERT_EQ(run({u"convert", name + u".sw", u"-o", name + u".sf2"}), 0);
    ASSERT_EQ(run({u"convert", u"a.sf2", u"b.sf2", u"-o", u"both.sf2"}), 0) << console.error;
  }
  nlohmann::json document(const Text& file) {
    EXPECT_EQ(run({u"info", u"--json", file}), 0) << console.error;
    return json()[0];
  }
  int process(std::vector<Text> arguments, const Text& in = u"both.sf2", const Text& out = u"out.sf2") {
    arguments.insert(arguments.begin(), u"process");
    arguments.insert(arguments.end(), {in, u"-o", out, u"--overwrite"});
    return run(arguments);
  }
};

TEST_F(Process, KeepsTheRestOfTheDocument) {
  const struct {
    std::vector<Text> items;
    std::array<int, 2> frames;
    std::string done;
  } cases[] = {{{}, {8, 8000}, "2 of 2"},
               {{u"waveform:1"}, {4, 8000}, "1 of 1"},
               {{u"waveform:1", u"waveform:1", u"instrument:1"}, {4, 8000}, "1 of 1"},
               {{u"instrument:0"}, {8, 4000}, "1 of 1"}};
  for (const auto& each : cases) {
    std::vector<Text> arguments = {u"resample", u"--to", u"88200"};
    for (const Text& item : each.items) arguments.insert(arguments.end(), {u"--item", item});
    ASSERT_EQ(process(arguments), 0) << console.error;
    EXPECT_EQ(console.error, "Done: Resample: " + each.done + " items changed\n");
    const auto saved = document(u"out.sf2");
    ASSERT_EQ(saved["instruments"].size(), 2u);
    ASSERT_EQ(saved["waveforms"].size(), 2u);
    for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(saved["waveforms"][i]["frames"], each.frames[i]);
  }
  // A file of one waveform holds the one that is named.
  ASSERT_EQ(process({u"reverse", u"--item", u"waveform:0"}, u"both.sf2", u"out.sw"), 0) << console.error;
  EXPECT_EQ(folder.get(u"out.sw"), "\x00\xE0\x00\x20\x00\xE0\x00\x20"s);
}

TEST_F(Process, SaysWhatIsWrong) {
  const struct {
    std::vector<Text> arguments;
    int status;
    std::string error;
  } cases[] = {
      {{u"gain", u"--by", u"3", u"--item", u"waveform:2"}, 1, "there is no waveform:2; in the document"},
      {{u"transpose", u"--item", u"instrument:0"}, 1, "There is no song to process"},
      {{u"crop", u"--start", u"0.5", u"--end", u"0.2", u"--item", u"waveform:0"}, 1, "it ends before it begins"},
      {{u"crossfade-loop", u"--length", u"10"}, 1, "always the whole loop"},
      {{u"gain", u"--by", u"97"}, 2, "is no number from -96 to 96"},
      {{u"gain", u"--by", u"1", u"--by", u"2"}, 2, "--by may be given only once"},
      {{u"reduce-bits", u"--bits", u"1.5"}, 2, "is no whole number from 1 to 24"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(process(each.arguments), each.status) << each.error;
    EXPECT_THAT(console.error, testing::HasSubstr(each.error));
    EXPECT_THAT(console.error, testing::Not(testing::HasSubstr("--format")));
  }
}

TEST_F(Process, ReportsWhatIsClipped) {
  // Full scale is exceeded where the edges of the square wave ring; how often depends on the filter.
  ASSERT_EQ(process({u"resample", u"--to", u"48000", u"--report"}), 0);
  EXPECT_THAT(console.error, testing::HasSubstr("b: approximated: samples beyond full scale, from "));
  EXPECT_THAT(console.error, testing::Not(testing::HasSubstr("a: approximated: samples beyond")));
  // Of 0.25 and -0.25 every sample, of the square wave too.
  ASSERT_EQ(process({u"gain", u"--by", u"+13", u"--report"}), 0);
  EXPECT_THAT(console.error, testing::HasSubstr("a: approximated: samples beyond full scale, from 4 to clipped"));
  EXPECT_THAT(console.error, testing::HasSubstr("b: approximated: samples beyond full scale, from 4000 to clipped"));
}

// An option of an operation beside one of the command of the same name ends the program.
TEST_F(Process, OptionsOfOperationsHaveNamesOfTheirOwn) {
  for (const Operation& operation : Operations())
    EXPECT_EQ(run({u"process", Text(operation.name), u"--help"}), 0) << toUtf8(operation.name) << console.error;
}

TEST_F(Process, ListsTheCandidatesThatAreAskedFor) {
  ASSERT_EQ(process({u"find-loop", u"--item", u"waveform:1"}), 0);
  EXPECT_THAT(console.error, testing::Not(testing::HasSubstr("candidate")));
  ASSERT_EQ(process({u"find-loop", u"--item", u"waveform:1", u"--candidates", u"2"}), 0);
  EXPECT_THAT(console.error, testing::HasSubstr("b: kept: loop candidate 1, taken"));
}

}  // namespace
}  // namespace tervo::test

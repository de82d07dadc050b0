#include "tests/cli/command_fixture.h"

namespace tervo::test {
namespace {

using namespace std::string_literals;

class State : public CommandTest {
 protected:
  void SetUp() override {
    folder.put(u"a.sw", "\x00\x40\x00\xC0"s);  // 0.5, -0.5
    folder.put(u"b.sb", "\x20\x20\x20"s);
  }
};

TEST_F(State, SavedOnceShowsAndConvertsWithoutItsSources) {
  ASSERT_EQ(run({u"state", u"save", u"a.sw", u"b.sb", u"-o", u"s.tvs"}), 0) << console.error;
  ASSERT_EQ(run({u"state", u"save", u"a.sw", u"-o", u"s.tvs"}), 1);
  EXPECT_NE(console.error.find("File exists already"), std::string::npos);
  std::filesystem::remove(folder / u"a.sw");

  ASSERT_EQ(run({u"state", u"list", u"s.tvs", u"--json"}), 0);
  EXPECT_EQ(json()[0]["version"], 12090000);
  EXPECT_EQ(json()[0]["records"], 3);
  ASSERT_EQ(run({u"state", u"load", u"s.tvs", u"--json"}), 0);
  EXPECT_EQ(json()[0]["waveforms"][1]["frames"], 3);
  ASSERT_EQ(run({u"state", u"load", u"s.tvs", u"--item", u"waveform:0", u"-o", u"out.sb"}), 0) << console.error;
  EXPECT_EQ(folder.get(u"out.sb"), "\x40\xC0"s);
}

TEST_F(State, SaysWhatIsWrong) {
  EXPECT_EQ(run({u"state", u"load", u"a.sw"}), 1);
  EXPECT_EQ(console.error, "tervo: a.sw: Not a program state file\n");
  folder.put(u"old.tvs", "TvSt\x8F\x7A\xB8\x00\x01\x00\x00\x00"s);
  EXPECT_EQ(run({u"state", u"load", u"old.tvs", u"-o", u"out.sb"}), 1);
  EXPECT_EQ(console.error, "tervo: old.tvs: Wrong state version\n");
  EXPECT_EQ(run({u"state", u"list", u"old.tvs", u"--json"}), 0);
  EXPECT_EQ(json()[0]["readable"], false);
  EXPECT_EQ(run({u"state", u"load"}), 2);
  folder.put(u"many.tvs", "TvSt\x90\x7A\xB8\x00\xFF\xFF\xFF\x00"s + std::string(64, '\0'));
  EXPECT_EQ(run({u"state", u"list", u"many.tvs"}), 1);
  EXPECT_EQ(console.error, "tervo: many.tvs: The program state file is damaged\n");
}

TEST_F(State, DoesNotReplaceWhatItIsMadeOf) {
  const std::string before = folder.get(u"a.sw");
  EXPECT_EQ(run({u"state", u"save", u"b.sb", u"a.sw", u"-o", u"./a.sw", u"--overwrite"}), 2);
  EXPECT_NE(console.error.find("a.sw: "), std::string::npos) << console.error;
  EXPECT_EQ(folder.get(u"a.sw"), before);
  ASSERT_EQ(run({u"state", u"save", u"a.sw", u"-o", u"s.tvs"}), 0);
  EXPECT_EQ(run({u"state", u"load", u"s.tvs", u"-o", u"out.sb", u"--report=s.tvs"}), 2);
  EXPECT_EQ(run({u"state", u"list", u"s.tvs"}), 0);
}

TEST_F(State, RefusesSettingsThatLoadingAStateDoesNotUse) {
  ASSERT_EQ(run({u"state", u"save", u"a.sw", u"-o", u"s.tvs"}), 0);
  EXPECT_EQ(run({u"state", u"load", u"s.tvs", u"--set", u"load.bConfirm=0"}), 2);
  EXPECT_NE(console.error.find("--set load."), std::string::npos) << console.error;
}

}  // namespace
}  // namespace tervo::test

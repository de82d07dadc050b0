#include "core/history/state_ring.h"

#include <gtest/gtest.h>

#include <ctime>

#include "base/last_error.h"
#include "tests/platform/test_folder.h"

namespace tervo {
namespace {

using AfterLoading = StateRing::AfterLoading;

/// States of an empty document whose name says which one it is.
struct States {
  test::TestFolder folder;
  StateRing ring{folder.text(u"Tervo Studio"), nullptr};
  Collection document;

  bool save(TextView content, TextView name) {
    document.name = content;
    return ring.SaveState(imageOf(document), Text(name));
  }
  bool saveNumber(int number) {
    const Text text = fromUtf8(std::to_string(number));
    return save(text, u"Saved state 00:00." + text);
  }
  /// What the restored document is called; "-" when nothing was restored.
  Text restored(int offset, AfterLoading afterLoading = AfterLoading::keepFile) {
    document.name = u"?";
    return ring.RestoreState(document, offset, afterLoading) ? document.name : Text(u"-");
  }
  std::ptrdiff_t files() const {
    return std::distance(std::filesystem::directory_iterator(folder / u"Tervo Studio"), {});
  }
  bool hasFile(int number) const {
    return std::filesystem::exists(folder /
                                   (u"Tervo Studio/Saved state 00_00_" + fromUtf8(std::to_string(number)) + u".tvs"));
  }
};

TEST(StateRing, NamesStatesByTheLocalTimeAndFilesWithoutColons) {
  std::tm local{};
  local.tm_year = 125, local.tm_mon = 2, local.tm_mday = 3, local.tm_isdst = -1;
  local.tm_hour = 14, local.tm_min = 5, local.tm_sec = 33;
  const Text name = savedStateName(std::chrono::system_clock::from_time_t(std::mktime(&local)));
  EXPECT_EQ(name, u"Saved state 14:05.33");
  EXPECT_EQ(stateFileName(name), u"Saved state 14_05_33.tvs");
}

TEST(StateRing, StepsBothWaysWithinItsBounds) {
  States states;
  EXPECT_EQ(states.restored(0), u"-");
  for (int number = 1; number <= 4; ++number) ASSERT_TRUE(states.saveNumber(number));
  EXPECT_EQ(states.restored(4), u"-");
  EXPECT_EQ(states.restored(-1), u"-");
  EXPECT_EQ(states.document.name, u"?");
  EXPECT_EQ(states.restored(0), u"4");
  EXPECT_EQ(states.restored(2), u"2");
  EXPECT_EQ(states.restored(2), u"-");
  EXPECT_EQ(states.restored(-1), u"3");
  ASSERT_TRUE(states.saveNumber(5));  // drops what lay ahead
  EXPECT_EQ(states.files(), 4);
  EXPECT_FALSE(states.hasFile(4));
  EXPECT_EQ(states.restored(-1), u"-");
  EXPECT_EQ(states.restored(1), u"3");
}

TEST(StateRing, The33rdStateDeletesTheFirst) {
  States states;
  for (int number = 1; number <= 33; ++number) ASSERT_TRUE(states.saveNumber(number));
  EXPECT_EQ(states.files(), 32);
  EXPECT_FALSE(states.hasFile(1));
  EXPECT_EQ(states.ring.oldest(), 1);
  EXPECT_EQ(states.ring.newest(), 0);
  EXPECT_EQ(states.restored(31), u"2");
  EXPECT_EQ(states.restored(1), u"-");
}

TEST(StateRing, StatesOfOneSecondShareAFileThatStaysAsLongAsOneOfThemDoes) {
  States states;
  ASSERT_TRUE(states.save(u"first", u"Saved state 10:00.00"));
  ASSERT_TRUE(states.save(u"second", u"Saved state 10:00.00"));
  EXPECT_EQ(states.files(), 1);
  EXPECT_EQ(states.restored(1), u"second");
  // The new state overwrites the file of the entry that it drops.
  ASSERT_TRUE(states.save(u"third", u"Saved state 10:00.00"));
  EXPECT_EQ(states.files(), 1);
  EXPECT_EQ(states.restored(0), u"third");
}

TEST(StateRing, ARestoredStateCanTakeItsFileWithIt) {
  States states;
  for (int number = 1; number <= 3; ++number) ASSERT_TRUE(states.saveNumber(number));
  EXPECT_EQ(states.restored(0, AfterLoading::deleteFile), u"3");
  EXPECT_FALSE(states.hasFile(3));
  EXPECT_EQ(states.restored(0), u"2");
  EXPECT_EQ(states.restored(1, AfterLoading::deleteFile), u"1");
  EXPECT_EQ(states.restored(0, AfterLoading::deleteFile), u"2");
  EXPECT_EQ(states.ring.oldest(), -1);
  EXPECT_EQ(states.files(), 0);
}

TEST(StateRing, TakesUpTheLastStatesOfEarlierRuns) {
  States states;
  const auto now = std::filesystem::file_time_type::clock::now();
  for (int number = 10; number <= 43; ++number) {
    ASSERT_TRUE(states.save(fromUtf8(std::to_string(number)), u"Saved state 00:00.01"));
    // Later states have earlier times of the day.
    const auto file =
        states.folder / (u"Tervo Studio/Saved state 00_00_" + fromUtf8(std::to_string(99 - number)) + u".tvs");
    std::filesystem::rename(states.folder / u"Tervo Studio/Saved state 00_00_01.tvs", file);
    std::filesystem::last_write_time(file, now + std::chrono::seconds(number));
  }
  states.folder.put(u"Tervo Studio/Saved state of mine.tvs", "not the program's");
  states.ring = StateRing(states.folder.text(u"Tervo Studio"), nullptr);
  EXPECT_EQ(states.files(), 33);
  EXPECT_EQ(states.restored(0), u"43");
  EXPECT_EQ(states.restored(31), u"12");
  EXPECT_EQ(states.restored(1), u"-");
  EXPECT_EQ(states.restored(-31), u"43");
  ASSERT_TRUE(states.saveNumber(44));
  EXPECT_EQ(states.files(), 33);
}

TEST(StateRing, AFailedWriteChangesNothing) {
  States states;
  ASSERT_TRUE(states.saveNumber(1));
  std::filesystem::create_directory(states.folder / u"Tervo Studio/Saved state 00_00_2.tvs");
  EXPECT_FALSE(states.saveNumber(2));
  EXPECT_EQ(states.ring.newest(), 0);
  EXPECT_EQ(states.restored(0), u"1");
}

}  // namespace
}  // namespace tervo

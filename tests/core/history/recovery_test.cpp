#include "core/history/recovery.h"

#include <gtest/gtest.h>

#include "tests/core/history/sample_document.h"
#include "tests/platform/test_folder.h"

namespace tervo {
namespace {

using std::chrono::seconds;

struct Recovered {
  test::TestFolder folder;
  Text states = folder.text(u"states");
  Collection document;
  Host host;
  DocumentHistory history{document, host, states, nullptr};
  RecoveryKeeper::Time now{};

  void rename(TextView name) {
    history.edit(document.id(), u"Rename", [&] { document.name = name; });
  }
  /// Lets the time pass, and a write end that it begins.
  void tend(RecoveryKeeper& keeper, seconds passed) {
    now += passed;
    keeper.tend(history, document, now);
    keeper.settle();
    keeper.tend(history, document, now);
  }
  Text nameIn(TextView path) {
    Collection loaded;
    return readStateFile(loaded, path, nullptr) ? loaded.name : Text();
  }
};

TEST(Recovery, WritesUnsavedChangesAtIntervalsAndTakesTheFileAlongAtTheEnd) {
  Recovered test;
  {
    RecoveryKeeper keeper(test.states, nullptr, seconds(30));
    test.tend(keeper, seconds(100));
    EXPECT_FALSE(platform::fileExists(keeper.path()));
    test.rename(u"one");
    test.tend(keeper, seconds(1));
    EXPECT_EQ(test.nameIn(keeper.path()), u"one");
    test.rename(u"two");
    test.tend(keeper, seconds(29));
    EXPECT_EQ(test.nameIn(keeper.path()), u"one");
    // A write of a second would be followed by a rest of twenty; this one takes far less.
    test.tend(keeper, seconds(60));
    EXPECT_EQ(test.nameIn(keeper.path()), u"two");
    EXPECT_TRUE(lostStates(test.states).empty());

    test.history.markSaved();
    test.tend(keeper, seconds(1));
    EXPECT_FALSE(platform::fileExists(keeper.path()));
    test.rename(u"three");
    test.tend(keeper, seconds(60));
    EXPECT_EQ(test.nameIn(keeper.path()), u"three");
  }
  EXPECT_TRUE(std::filesystem::is_empty(test.folder / u"states"));
}

TEST(Recovery, OffersWhatADeadProgramLeft) {
  Recovered test;
  RecoveryKeeper keeper(test.states, nullptr);
  test.rename(u"lost");
  test.tend(keeper, seconds(1));
  const Text left = test.folder.text(u"states/Recovery left.tvs");
  std::filesystem::copy_file(std::filesystem::path(keeper.path()), std::filesystem::path(left));
  test.folder.put(u"states/Saved state 10_00_00.tvs", "no recovery");
  ASSERT_EQ(lostStates(test.states), std::vector<Text>{left});
  EXPECT_EQ(test.nameIn(left), u"lost");
  discardLostState(left);
  EXPECT_TRUE(lostStates(test.states).empty());
}

}  // namespace
}  // namespace tervo

#include "core/history/recovery.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

#include "platform/path.h"
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

TEST(Recovery, AFailedWriteIsTriedAgainAfterTheInterval) {
  Recovered test;
  RecoveryKeeper keeper(test.states, nullptr, seconds(30));
  test.rename(u"one");
  test.folder.put(u"states", "no folder");
  test.tend(keeper, seconds(1));
  std::filesystem::remove(test.folder / u"states");
  std::filesystem::create_directories(std::filesystem::path(keeper.path()));
  test.tend(keeper, seconds(60));
  std::filesystem::remove(std::filesystem::path(keeper.path()));
  test.tend(keeper, seconds(1));
  EXPECT_FALSE(platform::fileExists(keeper.path()));
  test.tend(keeper, seconds(60));
  EXPECT_EQ(test.nameIn(keeper.path()), u"one");
}

/// Gives one answer after the other.
struct AnsweringHost final : Host {
  std::vector<std::size_t> answers;
  std::size_t asked = 0;
  std::vector<Text> texts;
  std::size_t ask(const Question& question) override {
    texts.emplace_back(question.text);
    return asked < answers.size() ? answers[asked++] : question.safeButton;
  }
};

TEST(Recovery, OffersWhatADeadProgramLeft) {
  constexpr std::size_t restore = 0, later = 1, discard = 2;
  Recovered test;
  RecoveryKeeper keeper(test.states, nullptr);
  test.rename(u"lost");
  test.tend(keeper, seconds(1));
  const auto leave = [&](TextView name) {
    const Text left = platform::join(test.states, u"Recovery " + Text(name) + u".tvs");
    std::filesystem::copy_file(std::filesystem::path(keeper.path()), std::filesystem::path(left));
    return left;
  };
  const Text first = leave(u"1"), second = leave(u"2"), third = leave(u"3");
  test.folder.put(u"states/Recovery 0.tvs", "damaged");
  test.folder.put(u"states/Saved state 10_00_00.tvs", "no recovery");
  const Text damaged = platform::join(test.states, u"Recovery 0.tvs");
  ASSERT_EQ(lostStates(test.states), (std::vector<Text>{damaged, first, second, third}));

  // By the system's own calendar, so that the clock on the wall reads it back.
  std::tm written{};
  written.tm_year = 126, written.tm_mon = 2, written.tm_mday = 4, written.tm_hour = 5, written.tm_min = 6;
  written.tm_isdst = -1;
  const auto at = std::chrono::system_clock::from_time_t(std::mktime(&written));
  std::filesystem::last_write_time(std::filesystem::path(first), std::chrono::file_clock::from_sys(at));

  Collection document;
  AnsweringHost host;
  host.answers = {restore, later, discard, restore};
  DocumentHistory history(document, host, test.states, nullptr);
  const auto taken = offerLostStates(history, host, test.states);
  EXPECT_EQ(taken, third);
  ASSERT_EQ(host.texts.size(), 4u);
  EXPECT_TRUE(host.texts[1].ends_with(u"restore it?\n\nlost, 2026-03-04 05:06"));
  EXPECT_EQ(host.texts[0].find(u"lost"), Text::npos) << "it is damaged";
  EXPECT_EQ(document.name, u"lost");
  EXPECT_TRUE(history.hasUnsavedChanges());
  EXPECT_FALSE(history.Undo());
  EXPECT_EQ(lostStates(test.states), (std::vector<Text>{damaged, first, third}));
  // The state that was taken goes when there is another of the same document, not before.
  RecoveryKeeper own(test.states, nullptr);
  own.replaces(*taken);
  const RecoveryKeeper::Time now{std::chrono::hours(1)};
  own.tend(history, document, now);
  own.settle();
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(*taken)));
  own.tend(history, document, now);
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(*taken)));
  EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(own.path())));
}

}  // namespace
}  // namespace tervo

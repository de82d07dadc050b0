#include <gmock/gmock.h>

#include <algorithm>

#include "base/last_error.h"
#include "formats/batch/batch_run.h"
#include "platform/path.h"
#include "platform/program.h"
#include "platform/thread.h"
#include "tests/platform/test_folder.h"

namespace tervo {
namespace {

using testing::ElementsAre, testing::HasSubstr, testing::IsEmpty;
using namespace std::chrono_literals;

class Batch : public testing::Test {
 protected:
  Batch() {
    for (const TextView name : {u"in", u"out"}) std::filesystem::create_directory(folder / name);
    wav = writerForExtension(u"wav");
    aiff = writerForExtension(u"aif");
  }

  void put(TextView name, std::string_view content = "copy") {
    std::filesystem::create_directories((folder / name).parent_path());
    folder.put(name, content);
  }

  BatchRequest request() {
    BatchRequest request;
    for (const Text& name : sources) request.sources.push_back(folder.text(name));
    request.rows = {wav};
    request.targetFolder = folder.text(target);
    request.resume = resume;
    request.overwrite = overwrite;
    return request;
  }

  /// The targets of a plan, below the target folder, with "/" between the names.
  std::vector<std::string> plannedNames(std::vector<FormatIndex> rows) {
    BatchRequest wanted = request();
    wanted.rows = std::move(rows);
    std::vector<std::string> names;
    for (const BatchEntry& entry : PlanBatch(std::move(wanted)).entries) {
      std::string name = toUtf8(entry.target.substr(std::min(entry.target.size(), folder.text(target).size() + 1)));
      std::replace(name.begin(), name.end(), '\\', '/');
      names.push_back(entry.state == BatchState::failed ? "!" + name : name);
    }
    return names;
  }

  /// Runs to the end, or cancels once an entry is running. The last state of each entry with its cause.
  std::vector<std::string> run(bool cancelWhenRunning = false) {
    BatchRun batch(PlanBatch(request()), {workers, stallSeconds, platform::siblingProgram(u"stand_in")});
    started = batch.start();
    for (int polls = 0; started && !batch.isOver() && polls < 1000; ++polls) {
      batch.poll(100ms);
      if (cancelWhenRunning && countsOf(batch.entries()).running > 0) batch.cancel();
    }
    entries = batch.entries();
    std::vector<std::string> states;
    for (const BatchEntry& entry : entries)
      states.push_back(toUtf8(nameOf(entry.state)) + (entry.cause.empty() ? "" : ": " + toUtf8(entry.cause)));
    return states;
  }

  test::TestFolder folder;
  FormatIndex wav, aiff;
  std::vector<Text> sources = {u"in"};
  Text target = u"out";
  bool resume = false, overwrite = false, started = false;
  int workers = 2;
  double stallSeconds = 60;
  std::vector<BatchEntry> entries;
};

TEST_F(Batch, TargetsKeepTheirFoldersAndClashesAreResolved) {
  for (const TextView name :
       {u"in/b/kick.wav", u"in/b/kick.aif", u"in/b/KICK.flac", u"in/a.aif", u"in/.hidden", u"in/c/.git/x"})
    put(name);
  EXPECT_THAT(plannedNames({wav}), ElementsAre("a.wav", "b/KICK.wav", "b/kick.aif.wav", "b/kick (2).wav"));
  EXPECT_THAT(plannedNames({wav, aiff}), ElementsAre("a.wav", "a.aif", "b/KICK.wav", "b/KICK.aif", "b/kick.aif.wav",
                                                     "b/kick (2).aif", "b/kick (2).wav", "b/kick.wav.aif"));
  sources = {u"in/a.aif", u"in", u"in/a.aif"};
  EXPECT_EQ(plannedNames({wav}).size(), 4u) << "each file once";
}

TEST_F(Batch, NothingGetsTheNameOfASource) {
  target = u"in", overwrite = true;
  put(u"in/a.wav"), put(u"in/b.aif");
  EXPECT_THAT(plannedNames({wav}), ElementsAre("a (2).wav", "b.wav"));
  std::filesystem::create_hard_link(folder / u"in/a.wav", folder / u"out/b.wav");
  target = u"out";
  EXPECT_THAT(plannedNames({wav}), ElementsAre("a.wav", "b.aif.wav")) << "a source under another name";
}

TEST_F(Batch, TheTargetFolderIsNoSource) {
  target = u"in/out";
  put(u"in/a.aif"), put(u"in/out/a.wav");
  EXPECT_THAT(plannedNames({wav}), ElementsAre("!a.wav")) << "it is there already";
}

// What is converted where the sources are must not be converted again by the next run.
TEST_F(Batch, OwnTargetsAreNoSources) {
  target = u"in";
  put(u"in/a.aif");
  EXPECT_THAT(run(), ElementsAre("done"));
  resume = true;
  EXPECT_THAT(run(), ElementsAre("finished before"));
}

TEST_F(Batch, EachWorkerCostsItsOwnEntryOnly) {
  put(u"in/1", "crash"), put(u"in/2", "fail"), put(u"in/3", "copy"), put(u"in/4", "foreign"), put(u"in/5", "hang");
  put(u"in/6/x", "slow");
  stallSeconds = 1;
  const auto states = run();
  ASSERT_EQ(states.size(), 6u);
  EXPECT_THAT(states[0], HasSubstr("failed: The conversion crashed ("));
  EXPECT_EQ(states[1], "failed: It is broken (so it is)") << "without the name";
  EXPECT_EQ(states[2], "done");
  EXPECT_THAT(states[3], HasSubstr("unrecognised: Not detected"));
  EXPECT_EQ(states[4], "failed: No sign of life for 1 seconds");
  EXPECT_EQ(states[5], "done");
  EXPECT_THAT(entries[2].report, HasSubstr("a loss"));
  EXPECT_EQ(folder.get(u"out/3.wav"), "copy");
  const auto files = std::distance(std::filesystem::directory_iterator(folder / u"out"), {});
  EXPECT_EQ(files, 3) << "two results, one of them a folder, and the journal";

  sources = {u"in/4"}, target = u"other";
  EXPECT_THAT(run(), ElementsAre(HasSubstr("failed: Not detected"))) << "it was named";
}

TEST_F(Batch, CancelEndsWorkersAndLeavesNothingHalf) {
  for (const TextView name : {u"in/1", u"in/2", u"in/3", u"in/4"}) put(name, "hang");
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THAT(run(true), ElementsAre("cancelled", "cancelled", "cancelled", "cancelled"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, 30s);
  EXPECT_FALSE(std::filesystem::exists(folder / u"out/1.wav"));
}

TEST_F(Batch, ResumeLeavesOutWhatIsFinished) {
  put(u"in/1", "copy"), put(u"in/2", "hang"), put(u"in/3", "copy");
  workers = 1;
  EXPECT_THAT(run(true), testing::Contains("cancelled"));
  put(u"in/2", "copy");
  EXPECT_THAT(plannedNames({aiff}), ElementsAre("1.aif", "2.aif", "3.aif")) << "another batch";
  resume = true;
  run();
  EXPECT_THAT(run(), ElementsAre("finished before", "finished before", "finished before"));

  // A newer source is done again, a target that is gone too; one that others have written over is not touched.
  const auto later = std::filesystem::file_time_type::clock::now() + 1h;
  std::filesystem::last_write_time(folder / u"in/1", later);
  std::filesystem::remove(folder / u"out/2.wav");
  std::filesystem::last_write_time(folder / u"in/3", later);
  put(u"out/3.wav", "edited");
  std::filesystem::last_write_time(folder / u"out/3.wav", later - 1min);
  EXPECT_THAT(run(), ElementsAre("done", "done", "failed: File exists already"));
}

TEST_F(Batch, ADamagedJournalCostsOnlyTheDamagedLines) {
  for (const TextView name : {u"in/1", u"in/new\nline", u"in/3"}) {
    if (platform::preferredSeparator() == u'/' || name != u"in/new\nline") put(name);
  }
  run();
  const auto before = entries.size();
  std::string journal = folder.get(u"out/.tervo-batch");
  ASSERT_NE(journal.rfind("done"), std::string::npos);
  journal[journal.rfind("done") + 8] ^= 1;
  folder.put(u"out/.tervo-batch", std::string("garbage\n\0\xFF\n", 11) + journal + "\n0123 cut of");
  resume = true;
  // The damaged one has a line that says it was begun, so its target is known to be a batch's.
  run();
  const BatchCounts counts = countsOf(entries);
  EXPECT_EQ(counts.finishedBefore, before - 1);
  EXPECT_EQ(counts.done, 1u);
  folder.put(u"out/.tervo-batch", std::string(1000, '\n') + std::string(100, '\0'));
  run();
  EXPECT_EQ(countsOf(entries).failed, before) << "targets of nobody knows whom";
}

TEST_F(Batch, OneBatchAtATimeWritesIntoAFolder) {
  put(u"in/1", "hang");
  BatchRun first(PlanBatch(request()), {1, 60, platform::siblingProgram(u"stand_in")});
  ASSERT_TRUE(first.start());
  EXPECT_THAT(run(), ElementsAre("waiting"));
  EXPECT_FALSE(started);
  EXPECT_EQ(LastErrorText(), u"Another batch is writing into this folder");
}

TEST_F(Batch, WithoutAWorkerEachEntrySaysSo) {
  put(u"in/1");
  BatchRun batch(PlanBatch(request()), {2, 60, folder.text(u"no-such-program")});
  platform::limitThreads(0);
  EXPECT_FALSE(batch.start());
  platform::limitThreads(1);
  ASSERT_TRUE(batch.start());
  platform::limitThreads(-1);
  while (!batch.isOver()) batch.poll(100ms);
  EXPECT_THAT(toUtf8(batch.entries()[0].cause), HasSubstr("no-such-program"));
}

}  // namespace
}  // namespace tervo

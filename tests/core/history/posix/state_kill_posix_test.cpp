#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "core/history/recovery.h"
#include "tests/platform/test_folder.h"

namespace tervo {
namespace {

/// Two megabytes that are all of one value, which the name says too.
ItemImage documentOf(float level, TextView name) {
  Collection document;
  document.name = name;
  document.add(std::make_unique<Waveform>()).samples = makeResident(std::vector<float>(500'000, level), 1);
  return imageOf(document);
}

bool isWhole(const Collection& document) {
  if (document.waveforms().size() != 1) return false;
  const float level = document.name == u"one" ? 1.0f : 2.0f;
  const auto frames = document.waveforms()[0]->samples->resident();
  return frames.size() == 500'000 && std::ranges::all_of(frames, [&](float frame) { return frame == level; });
}

TEST(StateFilePosix, KillingTheProgramAtAnyMomentLeavesAWholeState) {
  const test::TestFolder folder;
  const Text path = folder.text(u"state.tvs");
  const ItemImage one = documentOf(1, u"one"), two = documentOf(2, u"two");
  ASSERT_TRUE(writeStateFile(path, one, nullptr));
  for (unsigned round = 0; round < 25; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      while (writeStateFile(path, two, nullptr) && writeStateFile(path, one, nullptr)) {
      }
      _exit(1);
    }
    usleep(500 + round * 797);
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    Collection loaded;
    ASSERT_TRUE(readStateFile(loaded, path, nullptr)) << round;
    ASSERT_TRUE(isWhole(loaded)) << round;
  }
}

TEST(RecoveryPosix, IsOfferedOnceTheProgramIsKilled) {
  const test::TestFolder folder;
  const Text states = folder.text(u"states");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    Collection document;
    Host host;
    DocumentHistory history(document, host, states, nullptr);
    RecoveryKeeper keeper(states, nullptr);
    history.edit(document.id(), u"Rename", [&] { document.name = u"unsaved"; });
    keeper.tend(history, document, {});
    keeper.settle();
    if (write(ready[1], "x", 1) != 1) _exit(1);
    for (;;) pause();
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  EXPECT_TRUE(lostStates(states).empty());
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]), close(ready[1]);
  const auto lost = lostStates(states);
  ASSERT_EQ(lost.size(), 1u);
  Collection loaded;
  ASSERT_TRUE(readStateFile(loaded, lost[0], nullptr));
  EXPECT_EQ(loaded.name, u"unsaved");
}

}  // namespace
}  // namespace tervo

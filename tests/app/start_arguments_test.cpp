#include "app/start_arguments.h"

#include <gtest/gtest.h>

namespace tervo {
namespace {

StartArguments read(const std::vector<Text>& arguments) {
  return readArguments(arguments, [](TextView path) { return path == u"/home/a/batch" || path == u"/BATCH.wav"; });
}

TEST(StartArguments, TellsSwitchesFromFiles) {
  const StartArguments start = read({u"-nomsg", u"one.wav", u"/home/a/batch", u"/BATCH.wav", u"-unknown", u"/nothing",
                                     u"/home/a/gone", u"C:\\Studio\\Tervo-Studio.EXE", u"--new-window", u"two.sf2"});
  EXPECT_EQ(start.files, (std::vector<Text>{u"one.wav", u"/home/a/batch", u"/BATCH.wav", u"/home/a/gone", u"two.sf2"}));
  EXPECT_FALSE(start.showsBoxes);
  EXPECT_FALSE(start.runsBatch);
  EXPECT_TRUE(start.wantsNewWindow);
}

TEST(StartArguments, BatchEndsTheScanForSwitchesWithEitherPrefix) {
  for (const Text batch : {u"-BATCH", u"/batch", u"-Batch"}) {
    const StartArguments behind = read({batch, u"/NOMSG"});
    EXPECT_TRUE(behind.runsBatch);
    EXPECT_TRUE(behind.showsBoxes);
    EXPECT_FALSE(read({u"/NOMSG", batch}).showsBoxes);
  }
  EXPECT_FALSE(read({u"BATCH"}).runsBatch);
}

}  // namespace
}  // namespace tervo

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "platform/file.h"
#include "platform/posix/temporary_file.h"
#include "platform/program.h"
#include "tests/platform/test_folder.h"

namespace tervo::platform {
namespace {

using test::TestFolder;

/// Starts to write two files, one of them under a name that can be seen, and ends by the signal.
void endWhileWriting(const TestFolder& folder, std::initializer_list<int> signals) {
  installCancelHandler();
  const FileDescriptor descriptor(open((folder / u"").c_str(), O_RDONLY | O_DIRECTORY));
  const auto named = TemporaryFile::create(descriptor.get(), 0600, TemporaryKind::named);
  const auto output = OutputFile::create(folder.text(u"target"), Replace::allowed);
  if (!named || !output || folder.count() < 2) _exit(3);
  for (const int number : signals) raise(number);
  _exit(4);
}

TEST(CancelHandler, NoSignalLeavesATemporaryFile) {
  const TestFolder folder;
  folder.put(u"target", "old");
  EXPECT_EXIT(endWhileWriting(folder, {SIGTERM}), testing::KilledBySignal(SIGTERM), "");
  EXPECT_EXIT(endWhileWriting(folder, {SIGINT, SIGINT}), testing::KilledBySignal(SIGINT), "");
  EXPECT_EXIT(endWhileWriting(folder, {SIGHUP}), testing::KilledBySignal(SIGHUP), "");
  EXPECT_EQ(folder.count(), 1);
  EXPECT_EQ(folder.get(u"target"), "old");
}

TEST(CancelHandler, FirstInterruptOnlyAsks) {
  const auto interrupted = [] {
    installCancelHandler();
    const bool before = cancelRequested();
    raise(SIGINT);
    _exit(!before && cancelRequested() ? 7 : 1);
  };
  EXPECT_EXIT(interrupted(), testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace tervo::platform

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <thread>

#include "base/last_error.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/temporary_file.h"
#include "tests/platform/test_folder.h"

namespace tervo::platform {
namespace {

using test::TestFolder;
namespace fs = std::filesystem;

bool save(TextView target, std::string_view content, Replace replace) {
  const auto file = OutputFile::create(target, replace);
  return file && file->write(std::as_bytes(std::span(content))) && file->commit();
}

mode_t modeOf(const fs::path& path) {
  struct stat status {};
  stat(path.c_str(), &status);
  return status.st_mode & 07777;
}

TEST(PosixOutputFile, KeepsTheModeOfWhatItReplacesAndElseFollowsTheUmask) {
  const TestFolder folder;
  const mode_t before = umask(027);
  for (const mode_t mode : {0600u, 0664u, 0755u}) {
    folder.put(u"a", "old");
    chmod((folder / u"a").c_str(), mode);
    ASSERT_TRUE(save(folder.text(u"a"), "new", Replace::allowed));
    EXPECT_EQ(modeOf(folder / u"a"), mode);
  }
  ASSERT_TRUE(save(folder.text(u"b"), "new", Replace::never));
  EXPECT_EQ(modeOf(folder / u"b"), 0640u);
  umask(before);
}

TEST(PosixOutputFile, RespectsWriteProtection) {
  const TestFolder folder;
  folder.put(u"a", "old");
  chmod((folder / u"a").c_str(), 0444);
  chmod((folder / u"").c_str(), 0777);
  // The superuser may write everything.
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  const bool saved = save(folder.text(u"a"), "new", Replace::allowed);
  const Text cause = systemErrorCause();
  ASSERT_EQ(seteuid(user), 0);
  chmod((folder / u"").c_str(), 0555);
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  const bool made = save(folder.text(u"b"), "new", Replace::never);
  const Text causeOfFolder = systemErrorCause();
  ASSERT_EQ(seteuid(user), 0);
  chmod((folder / u"").c_str(), 0777);
  EXPECT_FALSE(saved || made);
  EXPECT_EQ(cause, u"Permission denied");
  EXPECT_EQ(causeOfFolder, u"Permission denied");
  EXPECT_EQ(folder.get(u"a"), "old");
}

TEST(PosixOutputFile, WritesThroughSymbolicLinks) {
  const TestFolder folder;
  fs::create_directory(folder / u"real");
  folder.put(u"real/a", "old");
  fs::create_symlink("real/a", folder / u"first");
  fs::create_symlink("first", folder / u"second");
  fs::create_symlink("real/later", folder / u"dangling");
  ASSERT_TRUE(save(folder.text(u"second"), "new", Replace::allowed));
  ASSERT_TRUE(save(folder.text(u"dangling"), "made", Replace::never));
  EXPECT_TRUE(fs::is_symlink(folder / u"first") && fs::is_symlink(folder / u"second"));
  EXPECT_EQ(folder.get(u"real/a"), "new");
  EXPECT_EQ(folder.get(u"real/later"), "made");
  fs::create_symlink("loop", folder / u"loop");
  EXPECT_FALSE(save(folder.text(u"loop"), "new", Replace::allowed));
}

TEST(PosixOutputFile, StaysInItsFolderWhenTheCurrentOneChanges) {
  const TestFolder folder;
  const fs::path before = fs::current_path();
  fs::current_path(folder / u"");
  const auto file = OutputFile::create(u"a", Replace::never);
  fs::current_path(before);
  ASSERT_TRUE(file && file->commit());
  EXPECT_TRUE(fileExists(folder.text(u"a")));
}

TEST(PosixOutputFile, SendsEverythingToAPipeOrDeviceAtTheEnd) {
  const TestFolder folder;
  ASSERT_EQ(mkfifo((folder / u"pipe").c_str(), 0600), 0);
  std::string got;
  std::thread reader([&] { got = folder.get(u"pipe"); });
  const auto file = OutputFile::create(folder.text(u"pipe"), Replace::never);
  ASSERT_TRUE(file && file->write(std::as_bytes(std::span("size+data", 9))));
  ASSERT_TRUE(file->patch(0, std::as_bytes(std::span("SIZE", 4))));
  EXPECT_TRUE(file->commit());
  reader.join();
  EXPECT_EQ(got, "SIZE+data");
  EXPECT_TRUE(save(u"/dev/null", "gone", Replace::never));
  EXPECT_EQ(InputFile::open(folder.text(u"pipe"))->size(), 0u) << "and opening it does not wait for a writer";
}

TEST(PosixOutputFile, SaysWhyTheDiskTakesNoMore) {
  const TestFolder folder;
  folder.put(u"a", "old");
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{100'000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  const bool saved = save(folder.text(u"a"), std::string(300'000, 'x'), Replace::allowed);
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_FALSE(saved);
  EXPECT_EQ(LastErrorText(), u"Writing to file failed");
  EXPECT_EQ(systemErrorCause(), u"File too large");
  EXPECT_EQ(folder.get(u"a"), "old");
  EXPECT_EQ(folder.count(), 1);
}

class TemporaryFiles : public testing::TestWithParam<TemporaryKind> {
 protected:
  TestFolder folder_;
  FileDescriptor descriptor_{open((folder_ / u"").c_str(), O_RDONLY | O_DIRECTORY)};
};

TEST_P(TemporaryFiles, ArePublishedInOneStepOrNotAtAll) {
  folder_.put(u"a", "old");
  for (const Replace replace : {Replace::never, Replace::allowed}) {
    const auto file = TemporaryFile::create(descriptor_.get(), 0644, GetParam());
    ASSERT_TRUE(file);
    ASSERT_EQ(write(file->descriptor(), "new", 3), 3);
    EXPECT_EQ(file->publish("a", replace), replace == Replace::allowed);
    EXPECT_EQ(folder_.get(u"a"), replace == Replace::allowed ? "new" : "old");
  }
  EXPECT_EQ(folder_.count(), 1);
}

TEST_P(TemporaryFiles, AreGoneWhenASignalEndsTheProcess) {
  const auto file = TemporaryFile::create(descriptor_.get(), 0644, GetParam());
  ASSERT_TRUE(file);
  removeTemporaryFiles();
  EXPECT_EQ(folder_.count(), 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, TemporaryFiles,
                         testing::Values(TemporaryKind::unnamedWherePossible, TemporaryKind::named));

TEST(PosixPath, UpFromALinkedFolderIsNotResolvedByName) {
  const TestFolder folder;
  fs::create_directories(folder / u"real/sub");
  fs::create_symlink("real/sub", folder / u"link");
  EXPECT_EQ(absolute(folder.text(u"link/../a")), folder.text(u"link/../a"));
  EXPECT_EQ(absolute(folder.text(u"real/../a")), folder.text(u"a"));
}

}  // namespace
}  // namespace tervo::platform

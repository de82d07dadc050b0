#include "platform/file.h"

#include <gtest/gtest.h>

#include <thread>

#include "base/last_error.h"
#include "tests/platform/test_folder.h"

namespace tervo::platform {
namespace {

using test::TestFolder;

std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

std::string readText(const ByteSource& file, uint64_t offset, std::size_t count) {
  std::string text(count, '?');
  text.resize(file.readAt(offset, std::as_writable_bytes(std::span(text))));
  return text;
}

/// Bytes that differ wherever a block is misplaced.
std::string pattern(std::size_t size) {
  std::string text(size, '\0');
  uint32_t state = 1;
  for (char& c : text) {
    state = state * 1664525u + 1013904223u;
    c = static_cast<char>(state >> 24);
  }
  return text;
}

bool save(TextView target, std::string_view content, Replace replace) {
  const auto file = OutputFile::create(target, replace);
  return file && file->write(bytesOf(content)) && file->commit();
}

TEST(InputFile, ReadsAtAnyPositionAndStopsAtTheEnd) {
  const TestFolder folder;
  folder.put(u"a", "0123456789");
  const auto file = InputFile::open(folder.text(u"a"));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->size(), 10u);
  EXPECT_EQ(readText(*file, 7, 2), "78");
  EXPECT_EQ(readText(*file, 8, 5), "89");
  EXPECT_EQ(readText(*file, 10, 1), "");
  EXPECT_EQ(readText(*file, uint64_t{1} << 63, 1), "");
}

TEST(InputFile, SeesTheFileShrinkAsMissingBytes) {
  const TestFolder folder;
  folder.put(u"a", "0123456789");
  const auto file = InputFile::open(folder.text(u"a"));
  std::filesystem::resize_file(folder / u"a", 4);
  EXPECT_FALSE(InputFile::open(folder.text(u"missing")));
  EXPECT_EQ(readText(*file, 2, 8), "23");
  EXPECT_EQ(systemErrorCause(), u"") << "the missing file has nothing to do with it";
}

TEST(InputFile, SaysWhyItCannotBeOpened) {
  const TestFolder folder;
  setLastErrorText(u"");
  EXPECT_FALSE(InputFile::open(folder.text(u"missing")));
  EXPECT_EQ(LastErrorText(), u"Could not open file");
  const Text cause = systemErrorCause();
  EXPECT_FALSE(cause.empty());
  EXPECT_FALSE(InputFile::open(folder.text(u"")));
  EXPECT_NE(systemErrorCause(), cause) << "a folder is another matter than a missing file";
}

TEST(OutputFile, CollectsSmallAndLargeWritesInOrder) {
  const TestFolder folder;
  const std::string content = pattern(3'000'000);
  const auto file = OutputFile::create(folder.text(u"a"), Replace::never);
  ASSERT_TRUE(file);
  std::size_t at = 0;
  for (const std::size_t size : {1u, 262'143u, 1u, 262'144u, 700'000u, 5u, 300'000u}) {
    ASSERT_TRUE(file->write(bytesOf(content).subspan(at, size)));
    at += size;
    EXPECT_EQ(file->position(), at);
  }
  ASSERT_TRUE(file->commit());
  EXPECT_EQ(folder.get(u"a"), content.substr(0, at));
  EXPECT_EQ(folder.count(), 1);
}

TEST(OutputFile, PatchesWhatIsOnDiskWhatIsInTheBufferAndAcrossBoth) {
  const TestFolder folder;
  std::string content = pattern(262'144 + 100);
  const auto file = OutputFile::create(folder.text(u"a"), Replace::never);
  ASSERT_TRUE(file->write(bytesOf(content).first(262'144)));
  ASSERT_TRUE(file->write(bytesOf(content).last(100)));
  for (const std::size_t at : {0u, 262'142u, 262'240u}) {
    ASSERT_TRUE(file->patch(at, bytesOf("size")));
    content.replace(at, 4, "size");
  }
  ASSERT_TRUE(file->commit());
  EXPECT_EQ(folder.get(u"a"), content);
}

TEST(OutputFile, RefusesToPatchWhatIsNotWrittenAndThenFailsForGood) {
  const TestFolder folder;
  folder.put(u"a", "old");
  const auto file = OutputFile::create(folder.text(u"a"), Replace::allowed);
  ASSERT_TRUE(file->write(bytesOf("0123")));
  EXPECT_FALSE(file->patch(2, bytesOf("size")));
  EXPECT_EQ(LastErrorText(), u"Writing to file failed");
  EXPECT_FALSE(file->write(bytesOf("x")));
  EXPECT_FALSE(file->commit());
  EXPECT_EQ(folder.get(u"a"), "old");
}

TEST(OutputFile, LeavesNothingBehindWithoutCommit) {
  const TestFolder folder;
  folder.put(u"a", "old");
  {
    const auto replacing = OutputFile::create(folder.text(u"a"), Replace::allowed);
    const auto fresh = OutputFile::create(folder.text(u"b"), Replace::never);
    ASSERT_TRUE(replacing->write(bytesOf(pattern(300'000))));
    ASSERT_TRUE(fresh->write(bytesOf("new")));
  }
  EXPECT_EQ(folder.get(u"a"), "old");
  EXPECT_EQ(folder.count(), 1);
}

TEST(OutputFile, ReplacesAFileThatIsStillBeingRead) {
  const TestFolder folder;
  folder.put(u"a", "the old content");
  const auto reading = InputFile::open(folder.text(u"a"));
  const auto file = OutputFile::create(folder.text(u"a"), Replace::allowed);
  ASSERT_TRUE(file->writeFrom(*reading, 4, 3));
  ASSERT_TRUE(file->commit()) << toUtf8(systemErrorCause());
  EXPECT_EQ(folder.get(u"a"), "old");
  EXPECT_EQ(readText(*reading, 0, 100), "the old content");
}

TEST(OutputFile, NeverReplacesUnasked) {
  const TestFolder folder;
  folder.put(u"a", "old");
  EXPECT_FALSE(OutputFile::create(folder.text(u"a"), Replace::never));
  EXPECT_EQ(LastErrorText(), u"File exists already");

  // The target turns up while the file is being written.
  const auto file = OutputFile::create(folder.text(u"b"), Replace::never);
  ASSERT_TRUE(file->write(bytesOf("new")));
  folder.put(u"b", "somebody else's");
  EXPECT_FALSE(file->commit());
  EXPECT_EQ(LastErrorText(), u"File exists already");
  EXPECT_EQ(folder.get(u"b"), "somebody else's");
}

TEST(OutputFile, OneOfSeveralWritersWins) {
  const TestFolder folder;
  std::atomic<int> winners = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] { winners += save(folder.text(u"a"), "content", Replace::never) ? 1 : 0; });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(winners, 1);
  EXPECT_EQ(folder.get(u"a"), "content");
  EXPECT_EQ(folder.count(), 1);
}

TEST(OutputFile, CopiesStretchesOfAnotherFile) {
  const TestFolder folder;
  const std::string content = pattern(2'000'000);
  folder.put(u"in", content);
  const auto source = InputFile::open(folder.text(u"in"));
  const auto file = OutputFile::create(folder.text(u"out"), Replace::never);
  ASSERT_TRUE(file->write(bytesOf("head")));
  ASSERT_TRUE(file->writeFrom(*source, 44, 1'500'001));
  ASSERT_TRUE(file->write(bytesOf("tail")));
  ASSERT_TRUE(file->writeFrom(*source, 3, 10));
  EXPECT_EQ(file->position(), 1'500'019u);
  ASSERT_TRUE(file->commit());
  EXPECT_EQ(folder.get(u"out"), "head" + content.substr(44, 1'500'001) + "tail" + content.substr(3, 10));
}

TEST(OutputFile, NoticesASourceThatEndsTooSoon) {
  const TestFolder folder;
  folder.put(u"in", pattern(1'000'000));
  const auto source = InputFile::open(folder.text(u"in"));
  std::filesystem::resize_file(folder / u"in", 400'000);
  const auto file = OutputFile::create(folder.text(u"out"), Replace::never);
  EXPECT_FALSE(file->writeFrom(*source, 0, 1'000'000));
  EXPECT_EQ(LastErrorText(), u"Reading from file failed");
  EXPECT_FALSE(file->commit());
  EXPECT_FALSE(fileExists(folder.text(u"out")));
}

TEST(OutputFile, FailsWhereNoFileCanBe) {
  const TestFolder folder;
  EXPECT_FALSE(OutputFile::create(folder.text(u"missing/a"), Replace::allowed));
  EXPECT_EQ(LastErrorText(), u"Could not open file");
  std::filesystem::create_directory(folder / u"sub");
  EXPECT_FALSE(OutputFile::create(folder.text(u"sub"), Replace::allowed));
  EXPECT_EQ(folder.count(), 1);
}

TEST(OutputFile, TakesLongPathsAndNamesInAnyScript) {
  const TestFolder folder;
  Text path;
  for (int i = 0; i < 6; ++i) path += Text(50, u'f') + u"/";
  ASSERT_TRUE(createFolders(folder.text(path)));
  path += u"\u97F3\u58F0 \U0001F3B9.wav";
  ASSERT_TRUE(save(folder.text(path), "new", Replace::never)) << toUtf8(systemErrorCause());
  auto file = InputFile::open(folder.text(path));
  ASSERT_TRUE(file);
  EXPECT_EQ(readText(*file, 0, 9), "new");
  file.reset();
  EXPECT_TRUE(removeFile(folder.text(path)));
  EXPECT_FALSE(fileExists(folder.text(path)));
}

TEST(Files, AreTheSameWhateverThePath) {
  const TestFolder folder;
  folder.put(u"a", "1");
  folder.put(u"b", "1");
  EXPECT_TRUE(sameFile(folder.text(u"a"), folder.text(u"./a")));
  EXPECT_FALSE(sameFile(folder.text(u"a"), folder.text(u"b")));
  EXPECT_FALSE(sameFile(folder.text(u"x"), folder.text(u"x")));
}

}  // namespace
}  // namespace tervo::platform

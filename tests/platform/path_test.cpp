#include "platform/path.h"

#include <gtest/gtest.h>

namespace tervo::platform {
namespace {

struct PathCase {
  TextView path, folder, name, stem, extension;
};

TEST(Path, IsTakenApart) {
  // clang-format off
  const PathCase cases[] = {
      {u"kick.wav",          u".",      u"kick.wav",     u"kick",    u"wav"},
      {u"/a/b/kick.tar.gz",  u"/a/b",   u"kick.tar.gz",  u"kick.tar", u"gz"},
      {u"/a.b/kick",         u"/a.b",   u"kick",         u"kick",    u"kick"},
      {u"/kick.",            u"/",      u"kick.",        u"kick",    u""},
      {u"a//kick.wav",       u"a",      u"kick.wav",     u"kick",    u"wav"},
      {u"a/.wav",            u"a",      u".wav",         u"",        u"wav"},
      {u"a/b/",              u"a/b",    u"",             u"",        u""},
      {u"",                  u".",      u"",             u"",        u""},
  };
  // clang-format on
  for (const PathCase& c : cases) {
    SCOPED_TRACE(toUtf8(c.path));
    EXPECT_EQ(folderOf(c.path), c.folder);
    EXPECT_EQ(fileNameOf(c.path), c.name);
    EXPECT_EQ(stemOf(c.path), c.stem);
    EXPECT_EQ(extensionOf(c.path), c.extension);
  }
}

TEST(Path, FolderAndNameJoinAgain) {
  for (const TextView path : {u"/kick.wav", u"./kick.wav", u"a/b/kick.wav"}) {
    const Text joined = join(folderOf(path), fileNameOf(path));
    EXPECT_EQ(folderOf(joined), folderOf(path));
    EXPECT_EQ(fileNameOf(joined), u"kick.wav");
  }
  EXPECT_EQ(join(u"", u"kick.wav"), u"kick.wav");
}

TEST(Path, AbsoluteLeavesNoDots) {
  const Text root = folderOf(absolute(u"/x"));
  EXPECT_EQ(absolute(u"/a/./b//../c"), absolute(u"/a/c"));
  EXPECT_EQ(absolute(u"/../../a"), absolute(u"/a"));
  EXPECT_EQ(absolute(u"/.."), root);
  EXPECT_EQ(absolute(u"a/../b"), absolute(u"b"));
  EXPECT_EQ(fileNameOf(absolute(u"b")), u"b");
  EXPECT_NE(absolute(u"b"), u"b");
}

}  // namespace
}  // namespace tervo::platform

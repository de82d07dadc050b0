#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "base/last_error.h"
#include "platform/settings_backend.h"
#include "platform/user_folders.h"
#include "tests/platform/test_folder.h"

namespace tervo::platform {
namespace {

using test::TestFolder;

TEST(SettingsFile, TwoProcessesLoseNothing) {
  const TestFolder folder;
  setenv("TERVO_SETTINGS", (folder / u"settings").c_str(), 1);
  const auto writeTwenty = [](char16_t prefix) {
    for (char16_t i = 0; i < 20; ++i) {
      const StoredSetting setting{{prefix, static_cast<char16_t>(u'a' + i)}, uint32_t{i}};
      if (!openUserSettings()->write(std::span(&setting, 1))) return false;
    }
    return true;
  };
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(writeTwenty(u'c') ? 0 : 1);
  EXPECT_TRUE(writeTwenty(u'p'));
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(openUserSettings()->readAll().size(), 40u);
  EXPECT_EQ(folder.count(), 2) << "the file and its lock";
}

TEST(SettingsFile, IsLeftAloneWhenItCannotBeReadOrHasNotChanged) {
  const TestFolder folder;
  setenv("TERVO_SETTINGS", (folder / u"settings").c_str(), 1);
  const StoredSetting setting{u"a", uint32_t{1}};
  ASSERT_TRUE(openUserSettings()->write(std::span(&setting, 1)));
  const auto before = std::filesystem::last_write_time(folder / u"settings");
  ASSERT_TRUE(openUserSettings()->write(std::span(&setting, 1)));
  EXPECT_EQ(std::filesystem::last_write_time(folder / u"settings"), before);

  std::filesystem::resize_file(folder / u"settings", 17 << 20);
  const StoredSetting other{u"a", uint32_t{2}};
  EXPECT_FALSE(openUserSettings()->write(std::span(&other, 1)));
  EXPECT_EQ(std::filesystem::file_size(folder / u"settings"), 17u << 20);
}

TEST(SettingsFile, IsWrittenUnderALockThatAnotherUserMade) {
  const TestFolder folder;
  folder.put(u"settings.lock", "");
  chmod((folder / u"settings.lock").c_str(), 0444);
  chmod((folder / u"").c_str(), 0777);
  const StoredSetting setting{u"a", uint32_t{1}};
  const auto write = [&] { return openSettingsAt(folder.text(u"settings"))->write(std::span(&setting, 1)); };
  // The superuser may write everything.
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  const bool written = write();
  chmod((folder / u"settings").c_str(), 0444);
  const bool rewritten = openSettingsAt(folder.text(u"settings"))->write(std::vector{StoredSetting{u"b", uint32_t{2}}});
  const Text error = LastErrorText();
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_TRUE(written) << toUtf8(error);
  EXPECT_FALSE(rewritten);
  EXPECT_EQ(error, u"Could not store the settings in " + folder.text(u"settings") + u": Permission denied");
  EXPECT_EQ(folder.get(u"settings"), "a = number 1\n");
}

TEST(SettingsFile, StandsInTheConfigurationFolder) {
  const TestFolder folder;
  unsetenv("TERVO_SETTINGS");
  setenv("XDG_CONFIG_HOME", (folder / u"cfg").c_str(), 1);
  const StoredSetting setting{u"aio.szAudioOutDev", Text(u"Windows default")};
  ASSERT_TRUE(openUserSettings()->write(std::span(&setting, 1)));
  EXPECT_EQ(folder.get(u"cfg/tervo-studio/settings"), "aio.szAudioOutDev = text \"Windows default\"\n");

  setenv("HOME", "/home/someone", 1);
  setenv("XDG_CONFIG_HOME", "not/absolute", 1);
  EXPECT_EQ(configFolder(), u"/home/someone/.config");
  unsetenv("XDG_CONFIG_HOME");
}

}  // namespace
}  // namespace tervo::platform

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

/// The failure of storing one value here without the superuser's rights, who may write everything; empty when it is
/// stored.
Text failureAsOrdinaryUser(const Text& place) {
  const StoredSetting setting{u"a", uint32_t{1}};
  const uid_t user = geteuid();
  if (seteuid(user == 0 ? 65534 : user) != 0) return u"seteuid";
  const bool written = openSettingsAt(place)->write(std::span(&setting, 1));
  const Text failure = written ? Text() : LastErrorText();
  return seteuid(user) == 0 ? failure : u"seteuid";
}

TEST(SettingsFile, SaysWhereAndWhyItCannotBeWritten) {
  const TestFolder folder;
  const auto allow = [&](TextView name, mode_t mode) { chmod((folder / name).c_str(), mode); };
  allow(u"", 0777);
  folder.put(u"shared.lock", "");  // another user's, the superuser's perhaps
  allow(u"shared.lock", 0444);
  EXPECT_EQ(failureAsOrdinaryUser(folder.text(u"shared")), u"");
  EXPECT_EQ(folder.get(u"shared"), "a = number 1\n");

  folder.put(u"protected", "# mine\n");
  allow(u"protected", 0444);
  std::filesystem::create_directory(folder / u"closed");
  allow(u"closed", 0555);
  for (const TextView name : {u"protected", u"closed/settings"}) {
    EXPECT_EQ(failureAsOrdinaryUser(folder.text(name)),
              u"Could not store the settings in " + folder.text(name) + u": Permission denied");
  }
  EXPECT_EQ(folder.get(u"protected"), "# mine\n");
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

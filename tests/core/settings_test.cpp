#include "core/settings.h"

#include <gmock/gmock.h>

#include <cmath>

#include "base/last_error.h"
#include "core/settings_table.h"
#include "platform/settings_backend.h"

namespace tervo {
namespace {

using platform::SettingBytes;
using platform::StoredSetting;
using platform::StoredValue;
using testing::ElementsAre;
using testing::HasSubstr;

SettingBytes bytes(std::initializer_list<int> values) {
  SettingBytes result;
  for (const int value : values) result.push_back(static_cast<std::byte>(value));
  return result;
}

class MemoryBackend final : public platform::SettingsBackend {
 public:
  std::vector<StoredSetting> readAll() override { return values; }
  bool write(std::span<const StoredSetting> written) override {
    for (const StoredSetting& setting : written) put(setting.name, setting.value);
    return true;
  }
  void put(TextView name, StoredValue value) {
    std::erase_if(values, [&](const StoredSetting& setting) { return setting.name == name; });
    values.push_back({Text(name), std::move(value)});
  }
  StoredValue get(TextView name) const {
    for (const StoredSetting& setting : values) {
      if (setting.name == name) return setting.value;
    }
    ADD_FAILURE() << toUtf8(name) << " is not stored";
    return {};
  }

  std::vector<StoredSetting> values;
};

Settings loadedFrom(std::initializer_list<StoredSetting> values) {
  MemoryBackend backend;
  backend.values = values;
  Settings settings;
  ReadSettings(settings, backend);
  return settings;
}

/// Bytes of a field that is numbers; nothing for the others, which have lengths of their own.
std::size_t fixedBytes(const SettingField& field) {
  return std::visit(
      [](auto f) -> std::size_t {
        if constexpr (std::is_pointer_v<decltype(f)>) {
          return 0;
        } else {
          return f.size_bytes();
        }
      },
      field);
}

TEST(SettingsTable, SizesAndStorageFitTheFields) {
  Settings settings;
  for (const SettingRow& row : settingRows()) {
    SCOPED_TRACE(toUtf8(row.key));
    EXPECT_EQ(findSetting(row.key), &row) << "two rows have this key";
    EXPECT_TRUE(setSettingText(settings, row, defaultSettingText(row))) << toUtf8(LastErrorText());
    const std::size_t bytes = fixedBytes(row.field(settings));
    if (bytes == 0) continue;
    EXPECT_EQ(bytes, row.size);
    EXPECT_EQ(row.stored, row.size == 4 ? StoredAs::number : StoredAs::binary);
  }
}

TEST(SettingsTable, EachKeyHasAFieldOfItsOwn) {
  const Settings defaults;
  for (const SettingRow& row : settingRows()) {
    SCOPED_TRACE(toUtf8(row.key));
    Settings settings;
    for (const TextView value : {u"1", u"24", u"2000", u"1, 2", u"1, 2, 3, 4, 5"}) {
      if (settings == defaults) setSettingText(settings, row, value);
    }
    EXPECT_FALSE(settings == defaults);
    for (const SettingRow& other : settingRows()) {
      if (&other == &row) continue;
      EXPECT_EQ(settingText(settings, other), settingText(defaults, other)) << toUtf8(other.key);
    }
  }
}

TEST(Settings, DefaultsOfAnEmptyStore) {
  const Settings settings = loadedFrom({});
  EXPECT_EQ(settings.app.checkForUpdates, 0xFF);
  EXPECT_THAT(settings.app.colWidths, ElementsAre(160, 62, 50, 40, 40));
  EXPECT_EQ(settings.aio.latency, -1);
  EXPECT_EQ(settings.aio.mixGain, 6.0f);
  EXPECT_EQ(settings.aio.waveGain, -6.0f);
  EXPECT_EQ(settings.aio.vkHi, "Q2W3ER5T6Y7UI9O0P");
  EXPECT_EQ(settings.fmt.vox.dataFormat, 0x08002000u);
  EXPECT_EQ(settings.aio.audioOutDev, defaultAudioDevice);
  EXPECT_FALSE(settings.mid2wav.gmBank.empty());
  EXPECT_TRUE(settings.firstRun);
}

TEST(Settings, AreStoredInTheFormThatEachTypeHas) {
  MemoryBackend backend;
  Settings settings;
  settings.app.lastPos = {-2, 258};
  settings.app.lastFiles = {u"a", u"\u00E9"};
  settings.aio.vkLo = "ZS";
  ASSERT_TRUE(SaveSettings(settings, backend));
  EXPECT_EQ(backend.values.size(), settingRows().size());
  EXPECT_EQ(backend.get(u"app.bCheckForUpdates"), StoredValue(bytes({0xFF})));
  EXPECT_EQ(backend.get(u"app.ptLastPos"), StoredValue(bytes({0xFE, 0xFF, 0xFF, 0xFF, 2, 1, 0, 0})));
  EXPECT_EQ(backend.get(u"app.awColWidths"), StoredValue(bytes({160, 0, 62, 0, 50, 0, 40, 0, 40, 0})));
  EXPECT_EQ(backend.get(u"app.LastFilesW"), StoredValue(bytes({'a', 0, 0, 0, 0xE9, 0, 0, 0})));
  EXPECT_EQ(backend.get(u"aio.acVKlo"), StoredValue(bytes({'Z', 'S'})));
  EXPECT_EQ(backend.get(u"aio.nLatency"), StoredValue(uint32_t{0xFFFFFFFF}));
  EXPECT_EQ(backend.get(u"aio.fdbMixGain"), StoredValue(uint32_t{0x40C00000}));  // IEEE 754 binary32 of 6.0
  EXPECT_EQ(backend.get(u"aio.szAudioOutSampleRate"), StoredValue(uint32_t{48000}));
  EXPECT_EQ(backend.get(u"aio.szAudioOutDev"), StoredValue(Text(u"Windows default")));
}

TEST(Settings, ComeBackAsTheyWereSaved) {
  MemoryBackend backend;
  Settings saved = loadedFrom({});
  saved.firstRun = false;
  saved.app.lastFiles = {u"newest.sf2", u"older.wav"};
  saved.app.vstPaths = Text(5000, u'p');
  saved.aio.mixGain = -0.1f;
  saved.aio.vkLo = "";
  saved.app.checkForUpdates = 2;
  ASSERT_TRUE(SaveSettings(saved, backend));
  Settings loaded;
  ReadSettings(loaded, backend);
  EXPECT_EQ(loaded, saved);

  saved.app.lastFiles.clear();
  ASSERT_TRUE(SaveSettings(saved, backend));
  EXPECT_EQ(backend.get(u"app.LastFilesW"), StoredValue(SettingBytes())) << "written with its length, which is none";
  ReadSettings(loaded, backend);
  EXPECT_EQ(loaded, saved);
}

TEST(Settings, AShortValueLeavesTheRestAtItsDefault) {
  const Settings settings = loadedFrom({{u"app.awColWidths", bytes({1, 2, 3})},
                                        {u"aio.nLatency", bytes({0x10})},
                                        {u"app.iPaneSplitL", SettingBytes()},
                                        {u"app.aiLastExp", uint32_t{7}},
                                        {u"AIO.ACVKLO", bytes({'X', 'C', 0, 0})}});
  EXPECT_THAT(settings.app.colWidths, ElementsAre(0x0201, 3, 50, 40, 40));
  EXPECT_EQ(settings.aio.latency, static_cast<int32_t>(0xFFFFFF10));
  EXPECT_EQ(settings.app.paneSplitL, 221);
  EXPECT_THAT(settings.app.lastExp, ElementsAre(7, 0, 0, 0, 0));
  EXPECT_EQ(settings.aio.vkLo, "XC");
}

TEST(Settings, AValueThatCannotBeReadLeavesTheDefault) {
  const Settings settings = loadedFrom({{u"app.bDispBankPrgs", Text(u"0")},
                                        {u"app.bDispLoBank", bytes({1, 1})},
                                        {u"load.bConfirm", uint32_t{1}},
                                        {u"aio.szAudioOutDev", uint32_t{1}},
                                        {u"aio.fdbMixGain", uint32_t{0x7FC00000}},  // IEEE 754: not a number
                                        {u"aio.szAudioInDev", Text(65, u'x')},
                                        {u"app.LastFilesW", SettingBytes(1026, std::byte{65})},
                                        {u"some.other", bytes({1})}});
  EXPECT_EQ(settings, loadedFrom({}));
}

TEST(Settings, RecentFilesInAnyShapeAreRead) {
  EXPECT_THAT(loadedFrom({{u"app.LastFilesW", bytes({'a', 0, 0, 0, 0, 0, 'b', 0, 'c'})}}).app.lastFiles,
              ElementsAre(u"a", u"b"));
}

TEST(Settings, OnlyAnOlderVersionIsReplaced) {
  struct Case {
    TextView stored, kept;
    bool firstRun;
  };
  for (const Case& c : {Case{u"0.0", u"12.9", true}, Case{u"9.10", u"12.9", false}, Case{u"12.8.7", u"12.9", false},
                        Case{u"12.9", u"12.9", false}, Case{u"12.9.1", u"12.9.1", false},
                        Case{u"12.10", u"12.10", false}, Case{u"junk", u"12.9", false}}) {
    SCOPED_TRACE(toUtf8(c.stored));
    MemoryBackend backend;
    backend.put(u"VersionNumber", Text(c.stored));
    Settings settings;
    ReadSettings(settings, backend);
    EXPECT_EQ(backend.get(u"VersionNumber"), StoredValue(Text(c.stored))) << "reading stores nothing";
    EXPECT_EQ(settings.firstRun, c.firstRun);
    ASSERT_TRUE(LoadSettings(settings, backend));
    EXPECT_EQ(backend.get(u"VersionNumber"), StoredValue(Text(c.kept)));
    EXPECT_EQ(settings.firstRun, c.firstRun);
    EXPECT_EQ(settings.versionNumber, c.kept);
  }
}

TEST(Settings, LongTextsAreCutBetweenCharacters) {
  MemoryBackend backend;
  Settings settings;
  settings.sds.outDev = Text(31, u'x') + u"\U0001F3B9";
  settings.sds.inDev = Text(30, u'x') + u"\U0001F3B9" + u"y";
  ASSERT_TRUE(SaveSettings(settings, backend));
  EXPECT_EQ(backend.get(u"sds.szOutDev"), StoredValue(Text(31, u'x')));
  EXPECT_EQ(backend.get(u"sds.szInDev"), StoredValue(Text(30, u'x') + u"\U0001F3B9"));
}

TEST(Settings, OldRecentFilesGiveWayToNewOnes) {
  MemoryBackend backend;
  Settings settings;
  for (char16_t c = u'a'; c < u'g'; ++c) RememberFile(settings, Text(99, c));
  RememberFile(settings, Text(99, u'b'));
  ASSERT_EQ(settings.app.lastFiles.size(), 6u);
  ASSERT_TRUE(SaveSettings(settings, backend));
  // Each takes 200 of the 1024 bytes.
  ReadSettings(settings, backend);
  EXPECT_THAT(settings.app.lastFiles,
              ElementsAre(Text(99, u'b'), Text(99, u'f'), Text(99, u'e'), Text(99, u'd'), Text(99, u'c')));

  RememberFile(settings, Text(600, u'x'));  // no room for it, but for the others
  ASSERT_TRUE(SaveSettings(settings, backend));
  ReadSettings(settings, backend);
  EXPECT_EQ(settings.app.lastFiles.size(), 5u);
}

TEST(Settings, DevicesThatAreGoneFallBack) {
  Settings settings;
  settings.aio.audioOutDev = u"Gone", settings.aio.audioOutExclusive = 1;
  settings.aio.audioInDev = u"Here", settings.aio.audioInExclusive = 1;
  settings.aio.midiInDev = u"Gone";
  FallBackToExistingDevices(settings, {.audioOut = {u"Other"}, .audioIn = {u"Other", u"Here"}, .midiIn = {}});
  EXPECT_EQ(settings.aio.audioOutDev, u"Windows default");
  EXPECT_EQ(settings.aio.audioOutExclusive, 0);
  EXPECT_EQ(settings.aio.audioInDev, u"Here");
  EXPECT_EQ(settings.aio.audioInExclusive, 1);
  EXPECT_EQ(settings.aio.midiInDev, u"<none>");
}

TEST(Settings, KeyCharactersBecomeVirtualKeyCodes) {
  // WinUser.h: VK_OEM_COMMA 0xBC, VK_OEM_PERIOD 0xBE, VK_OEM_1 (';') 0xBA.
  EXPECT_THAT(virtualKeyCodes("Zq2,.;\x01"), ElementsAre(0x5A, 0x51, 0x32, 0xBC, 0xBE, 0xBA, 0));
}

TEST(SettingText, IsParsedByTheTypeOfTheField) {
  struct Case {
    TextView setting, shown;
  };
  // clang-format off
  const Case good[] = {
      {u"LOAD.BCONFIRM=on",                       u"1"},
      {u"app.bCheckForUpdates=0",                 u"0x00"},
      {u"fmt.vox.dwDataFormat=0xffffffff",        u"0xFFFFFFFF"},
      {u"aio.nLatency=-2147483648",               u"-2147483648"},
      {u"aio.fdbMixGain= -1.5 ",                  u"-1.5"},
      {u"aio.fdbMixGain=+6",                      u"6"},
      {u"app.awColWidths=1,2 , 3,4,65535",        u"1, 2, 3, 4, 65535"},
      {u"aio.szAudioOutDev=Speakers = left",      u"Speakers = left"},
      {u"app.LastFilesW=b.wav|a.wav",             u"b.wav|a.wav"},
      {u"app.LastFilesW=",                        u""},
      {u"aio.acVKlo=Q,W",                         u"Q,W"},
  };
  const TextView bad[] = {
      u"load.bConfirm=maybe", u"load.bConfirm=256",     u"load.bConfirm=",          u"aio.nLatency=2147483648",
      u"aio.nLatency=1.5",    u"aio.nLatency=1x",       u"aio.fdbMixGain=nan",      u"aio.fdbMixGain=1e9",
      u"app.awColWidths=1,2", u"fmt.sd2.iChannels=3",   u"fmt.vox.dwDataFormat=0x", u"aio.acVKlo=\u00E9",
      u"aio.nLatency=+-1",
  };
  // clang-format on
  for (const Case& c : good) {
    SCOPED_TRACE(toUtf8(c.setting));
    Settings settings;
    ASSERT_TRUE(setSettingText(settings, c.setting)) << toUtf8(LastErrorText());
    EXPECT_EQ(settingText(settings, *findSetting(c.setting.substr(0, c.setting.find(u'=')))), c.shown);
  }
  for (const TextView setting : bad) {
    Settings settings;
    EXPECT_FALSE(setSettingText(settings, setting)) << toUtf8(setting);
    EXPECT_EQ(settings, Settings()) << toUtf8(setting);
  }
}

TEST(SettingText, SaysWhatASettingTakes) {
  Settings settings;
  EXPECT_FALSE(setSettingText(settings, u"fmt.sd2.ibits=99"));
  EXPECT_EQ(LastErrorText(), u"Takes number 8..32, not \"99\"");
  EXPECT_FALSE(setSettingText(settings, u"aio.szMidiInDev=" + Text(33, u'x')));
  EXPECT_THAT(toUtf8(LastErrorText()), HasSubstr("Takes text of at most 32 characters"));
  EXPECT_FALSE(setSettingText(settings, u"app.wszWave=" + Text(100'000, u'x')));
  EXPECT_LT(LastErrorText().size(), 120u);
  EXPECT_FALSE(setSettingText(settings, u"no.such=1"));
  EXPECT_EQ(LastErrorText(), u"Unknown setting \"no.such\"");
  EXPECT_FALSE(setSettingText(settings, u"load.bConfirm"));
}

TEST(SettingText, OneValueIsStoredAlone) {
  MemoryBackend backend;
  Settings settings;
  ASSERT_TRUE(setSettingText(settings, u"sall.iMode=3"));
  ASSERT_TRUE(SaveSetting(settings, *findSetting(u"sall.iMode"), backend));
  ASSERT_EQ(backend.values.size(), 1u);
  EXPECT_EQ(backend.get(u"sall.iMode"), StoredValue(uint32_t{3}));
}

}  // namespace
}  // namespace tervo

#include <gtest/gtest.h>

#include "platform/settings_backend.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

// What other programs, among them the user's registry editor, find.
TEST(SettingsRegistry, HoldsValuesInTheirStorageTypes) {
  const std::wstring path = L"Software\\QZR-Software\\Tervo Test";
  const std::vector<StoredSetting> values = {{u"app.bFlag", SettingBytes{std::byte{0xFF}}},
                                             {u"app.LastFilesW", SettingBytes{}},
                                             {u"aio.nLatency", uint32_t{0xFFFFFFFF}},
                                             {u"aio.szAudioOutDev", Text(u"caf\u00E9")}};
  ASSERT_TRUE(openSettingsAt(fromWide(path))->write(values));
  struct Case {
    const wchar_t* name;
    DWORD type, size;  // bytes; a text's with the zero that ends it
  };
  for (const Case& c : {Case{L"app.bFlag", REG_BINARY, 1}, Case{L"app.LastFilesW", REG_BINARY, 0},
                        Case{L"aio.nLatency", REG_DWORD, 4}, Case{L"aio.szAudioOutDev", REG_SZ, 10}}) {
    DWORD type = 0, size = 0;
    const LSTATUS status = RegGetValueW(HKEY_CURRENT_USER, path.c_str(), c.name, RRF_RT_ANY, &type, nullptr, &size);
    EXPECT_EQ(status, ERROR_SUCCESS) << toUtf8(fromWide(c.name));
    EXPECT_EQ(type, c.type) << toUtf8(fromWide(c.name));
    EXPECT_EQ(size, c.size) << toUtf8(fromWide(c.name));
  }
  RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
}

// Types that the program does not use, and texts without the zero at their end, are what a user's editor may leave.
TEST(SettingsRegistry, ReadsWhatOthersStored) {
  const std::wstring path = L"Software\\QZR-Software\\Tervo Test";
  const auto put = [&](const wchar_t* name, DWORD type, const void* data, DWORD size) {
    return RegSetKeyValueW(HKEY_CURRENT_USER, path.c_str(), name, type, data, size) == ERROR_SUCCESS;
  };
  const uint64_t big = 1;
  ASSERT_TRUE(put(L"quad", REG_QWORD, &big, sizeof big));
  ASSERT_TRUE(put(L"text", REG_SZ, L"ab", 4));
  ASSERT_TRUE(put(L"none", REG_NONE, nullptr, 0));
  const auto read = openSettingsAt(fromWide(path))->readAll();
  RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
  ASSERT_EQ(read.size(), 1u);
  EXPECT_EQ(read[0].name, u"text");
  EXPECT_EQ(read[0].value, StoredValue(Text(u"ab")));
}

}  // namespace
}  // namespace tervo::platform

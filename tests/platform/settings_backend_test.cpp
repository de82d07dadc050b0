#include "platform/settings_backend.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <thread>

#include "platform/settings_lines.h"
#include "tests/platform/test_folder.h"

namespace tervo::platform {

bool operator==(const StoredSetting& a, const StoredSetting& b) {
  return a.name == b.name && a.value == b.value;
}

namespace {

using testing::IsSupersetOf;
using testing::UnorderedElementsAreArray;

SettingBytes allBytes() {
  SettingBytes bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<std::byte>(i));
  return bytes;
}

/// Values that are hard to write down.
const std::vector<StoredSetting> hardValues = {
    {u"app.szText", Text(u"caf\u00E9 \U0001F3B9 \"quoted\" \\ back = # text")},
    {u"app.szControl", Text(u"\x01\n\r\t\x7F\u0085\u2028 end ")},
    {u"app.szLone", Text{0xD800, u'a', 0xDC00, 0xDBFF}},
    {u"app.szEmpty", Text()},
    {u"app.aAll", allBytes()},
    {u"app.aEmpty", SettingBytes()},
    {u"app.nMost", uint32_t{0xFFFFFFFF}},
    {u"app.szLong", Text(10'000, u'x')},
    {u"name = with \"all\" \u00E9", uint32_t{0}},
};

/// Each test has a store of its own; the file of that name is not there on Windows, where the store is a registry key.
class SettingsStore : public testing::Test {
 protected:
  std::unique_ptr<SettingsBackend> open() const { return openSettingsAt(folder_.text(u"sub/settings")); }

 private:
  test::TestFolder folder_;
};

TEST_F(SettingsStore, IsEmptyAtFirst) {
  EXPECT_TRUE(open()->readAll().empty());
}

TEST_F(SettingsStore, KeepsEveryValueAsItWas) {
  ASSERT_TRUE(open()->write(hardValues));
  EXPECT_THAT(open()->readAll(), UnorderedElementsAreArray(hardValues));
}

TEST_F(SettingsStore, ReplacesValuesByNameWithoutRegardToCaseAndKeepsOthers) {
  const std::vector<StoredSetting> first = {{u"app.bOne", allBytes()}, {u"app.two", uint32_t{2}}};
  const std::vector<StoredSetting> second = {{u"APP.BONE", Text(u"now a text")}};
  ASSERT_TRUE(open()->write(first));
  ASSERT_TRUE(open()->write(second));
  const auto values = open()->readAll();
  ASSERT_EQ(values.size(), 2u);
  EXPECT_THAT(values, testing::Contains(testing::Field(&StoredSetting::value, StoredValue(Text(u"now a text")))));
  EXPECT_THAT(values, IsSupersetOf({first[1]}));
}

TEST_F(SettingsStore, LosesNothingWhenSeveralWriteAtOnce) {
  std::vector<std::thread> writers;
  std::vector<StoredSetting> expected;
  for (int writer = 0; writer < 4; ++writer) {
    std::vector<StoredSetting> own;
    for (int i = 0; i < 10; ++i) own.push_back({fromUtf8(fmt::format("w{}.n{}", writer, i)), uint32_t{7}});
    expected.insert(expected.end(), own.begin(), own.end());
    writers.emplace_back([own, this] {
      for (const StoredSetting& setting : own) EXPECT_TRUE(open()->write(std::span(&setting, 1)));
    });
  }
  for (auto& writer : writers) writer.join();
  EXPECT_THAT(open()->readAll(), UnorderedElementsAreArray(expected));
}

TEST(SettingsLines, ADamagedLineIsSkippedAndKept) {
  const std::string file =
      "# by hand\n"
      "a = number 12x\n"
      "b = number 4294967296\n"
      "c = text \"open\n"
      "d = text \"bad \\q\"\n"
      "e = binary 1 2G\n"
      "f = binary 100\n"
      "g number 1\n"
      "h = text \"\xFF\"\n"
      "i = number 1 2\n"
      "j = text \"x\" y\n"
      "= number 1\n"
      "\n"
      "\tgood =number 5\r\n"
      "last = text\"no line end\"";
  const std::vector<StoredSetting> good = {{u"good", uint32_t{5}}, {u"last", Text(u"no line end")}};
  EXPECT_EQ(settingsIn(file), good);

  const std::vector<StoredSetting> change = {{u"LAST", uint32_t{1}}, {u"new", SettingBytes{std::byte{0xAB}}}};
  EXPECT_EQ(mergedInto(file, change), file.substr(0, file.find("last")) + "LAST = number 1\nnew = binary AB\n");
}

TEST(SettingsLines, AValueThatIsThereTwiceIsThereOnceAfterwards) {
  const std::vector<StoredSetting> change = {{u"a", uint32_t{3}}};
  EXPECT_EQ(mergedInto("a = number 1\nb = number 1\nA = number 2\n", change), "a = number 3\nb = number 1\n");
}

}  // namespace
}  // namespace tervo::platform

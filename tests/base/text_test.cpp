#include "base/text.h"

#include <gtest/gtest.h>

namespace tervo {
namespace {

// Well-formed and ill-formed sequences after Unicode 15, tables 3-6 to 3-8.
TEST(Text, DecodesUtf8AndMarksWhatIsBroken) {
  const struct {
    std::string_view bytes;
    TextView text;
    bool wellFormed;
  } cases[] = {
      {"A\xC3\xA9\xE2\x82\xAC\xF0\x9D\x84\x9E", u"A\u00E9\u20AC\U0001D11E", true},
      {"\xF4\x8F\xBF\xBF", u"\U0010FFFF", true},
      {"\xC0\xAF", u"\uFFFD\uFFFD", false},                                                // overlong slash
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},                                      // a surrogate
      {"\xF4\x90\x80\x80z", u"\uFFFD\uFFFD\uFFFD\uFFFDz", false},                          // above U+10FFFF
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", u"\uFFFD\uFFFD\uFFFD\uFFFD\u0041", false},  // maximal subparts
      {"a\xE2\x82", u"a\uFFFD", false},                                                    // cut off
  };
  for (const auto& c : cases) {
    EXPECT_EQ(fromUtf8(c.bytes), c.text);
    EXPECT_EQ(isUtf8(c.bytes), c.wellFormed);
    if (c.wellFormed) {
      EXPECT_EQ(toUtf8(c.text), c.bytes);
    }
  }
  EXPECT_EQ(toUtf8(u"x\xD834y"), "x\xEF\xBF\xBDy");
}

TEST(Text, PathsKeepBytesThatAreNotUtf8) {
  for (const std::string_view path : {"/a/\xFF\xFE/b\x80", "/\xC3\xA9\xC3", "\xF0\x9D\x84\x9E.wav", "\xED\xB2\x80"}) {
    EXPECT_EQ(toPathBytes(fromPathBytes(path)), path);
  }
}

TEST(Text, FileTextIsUtf8OrWindows1252AndEndsAtZero) {
  EXPECT_EQ(fromFileText(std::string_view("Fl\xC3\xBCgel\0junk", 12)), u"Fl\u00FCgel");
  EXPECT_EQ(fromFileText("Fl\xFCgel \x80\x92"), u"Fl\u00FCgel \u20AC\u2019");
}

TEST(Text, ComparesWithoutCase) {
  EXPECT_TRUE(equalNoCase(u"ReadMe.WAV", u"rEADmE.wav"));
  EXPECT_TRUE(equalNoCase(u"\u00E4\u00F7", u"\u00C4\u00F7"));
  EXPECT_FALSE(equalNoCase(u"\u00F7", u"\u00D7"));
  EXPECT_FALSE(equalNoCase(u"wav", u"wave"));
}

}  // namespace
}  // namespace tervo

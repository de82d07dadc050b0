#include "formats/detection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "base/last_error.h"

namespace tervo {
namespace {

using Bytes = std::vector<std::byte>;

Bytes noise(std::size_t count) {
  Bytes bytes;
  for (uint32_t state = 1; bytes.size() < count; state = state * 1664525 + 1013904223)
    bytes.push_back(std::byte(state >> 24));
  return bytes;
}

/// A slow swell of a 500 Hz tone at 44100 Hz, as 8-bit samples around `zero`.
Bytes tone(int zero) {
  Bytes bytes;
  for (int i = 0; i < 4000; ++i)
    bytes.push_back(std::byte(
        static_cast<uint8_t>(std::lround(zero + 0.03 * i * std::sin(2 * std::numbers::pi * i * 500 / 44100)))));
  return bytes;
}

Bytes sixteenBits(const Bytes& samples) {
  Bytes bytes;
  for (std::size_t i = 0; i < samples.size(); ++i) bytes.insert(bytes.end(), {std::byte(i * 37), samples[i]});
  return bytes;
}

Bytes form(std::string_view id, std::string_view type) {
  Bytes bytes(8);
  for (std::size_t i = 0; i < 4; ++i) bytes[i] = std::byte(id[i]);
  for (const char c : type) bytes.push_back(std::byte(c));
  return bytes;
}
Bytes riffWave() {
  return form("RIFF", "WAVE");
}

Detection detect(TextView name, Bytes bytes) {
  return DetectFormat(name, MemorySource(std::move(bytes)));
}

TEST(DetectFormat, ScoresContentAndExtension) {
  struct Case {
    TextView name;
    Bytes bytes;
    TextView description;
    int confidence;
  };
  for (const Case& each : {
           Case{u"a.wav", riffWave(), u"Microsoft wave", 100},
           Case{u"a.xyz", riffWave(), u"Microsoft wave", 66},
           Case{u"a.sw", riffWave(), u"Microsoft wave", 66},
           Case{u"a.aif", form("FORM", "AIFF"), u"Audio interchange", 100},
           Case{u"a.aif", form("FORM", "AIFC"), u"Audio interchange", 100},
           Case{u"a.afc", form("FORM", "AIFC"), u"Compressed AIFF", 100},
           Case{u"a.aifc", form("FORM", "AIFF"), u"Audio interchange", 66},
           Case{u"a.iff", form("FORM", "MAUD"), u"MAUD sample", 66},
           Case{u"a.wav", noise(300), u"Unrecognized", 0},
           Case{u"a.vox", noise(300), u"Dialogic 4-bit ADPCM", 55},
           Case{u"a.sw", noise(300), u"Signed words (16-bit) - Little Endian", 55},
           Case{u"A.SW", noise(1), u"Signed words (16-bit) - Little Endian", 55},
           Case{u"/folder.sw/a", noise(300), u"Unrecognized", 0},
           Case{u"sw", noise(300), u"Signed words (16-bit) - Little Endian", 55},  // no dot: the whole name counts
           Case{u"a.sw.bak", noise(300), u"Unrecognized", 0},
           Case{u"a.ulaw", noise(40000), u"G.711 mu-law", 55},
           Case{u"a.xyz", noise(300), u"Unrecognized", 0},
           Case{u"a.", noise(300), u"Unrecognized", 0},
       }) {
    const Detection found = detect(each.name, each.bytes);
    EXPECT_EQ(descriptionOf(found.index), each.description) << toUtf8(each.name);
    EXPECT_EQ(found.confidence, each.confidence) << toUtf8(each.name);
  }
  EXPECT_EQ(detect(u"a.sw", {}).index, noFormat);
  EXPECT_EQ(LastErrorText(), u"File is of zero size");
}

TEST(DetectFormat, TakesRawForSignedBytesOnlyWhenItLooksLikeThem) {
  EXPECT_EQ(descriptionOf(detect(u"a.raw", tone(0)).index), u"Signed 8-bit PCM");
  EXPECT_EQ(detect(u"a.xyz", tone(0)).index, 0);
  for (const Bytes& other :
       {tone(128), sixteenBits(tone(0)), noise(4000), Bytes(4000), Bytes(4000, std::byte(0x80)), Bytes(1)})
    EXPECT_EQ(detect(u"a.raw", other).index, 0) << other.size();
}

/// A source that says more bytes than it gives, as a file does that another program cuts.
class ShrunkenSource final : public ByteSource {
 public:
  uint64_t size() const override { return 100000; }
  std::size_t readAt(uint64_t, std::span<std::byte>) const noexcept override { return 0; }
};

TEST(DetectFormat, TakesAFileThatGivesNoBytesByItsExtension) {
  EXPECT_EQ(detect(u"a.sw", noise(10)).index, DetectFormat(u"a.sw", ShrunkenSource()).index);
  EXPECT_EQ(DetectFormat(u"a.raw", ShrunkenSource()).index, 0);
}

TEST(KnownButUnread, NamesTheFormatOfTheExtension) {
  EXPECT_EQ(knownButUnreadNote(u"x/Tune.IMF"), u"known, but not readable yet: id Software Music Format (560Hz)");
  EXPECT_EQ(knownButUnreadNote(u"a.sw"), u"");
  EXPECT_EQ(knownButUnreadNote(u"a.xyz"), u"");
}

}  // namespace
}  // namespace tervo

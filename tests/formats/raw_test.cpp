#include "formats/wave/raw_pcm.h"

#include "tests/formats/flow_fixture.h"

namespace tervo::test {
namespace {

using namespace std::string_literals;

class Headerless : public FlowTest {
 protected:
  const Waveform* read(TextView name, std::string_view bytes, RawRequest raw = {}) {
    folder.put(name, bytes);
    OpenContext context = opening();
    context.raw = raw;
    if (!OpenFile(document, folder.text(name), RawFallback::allowed, context)) return nullptr;
    return document.waveforms().empty() ? nullptr : document.waveforms()[0].get();
  }

  Collection document;
};

// 0.5 and -1 in every coding, by the definition of each (G.711: +16256 and -32256 of 32768 in A-law and so on).
struct Coding {
  TextView extension;
  std::string bytes;
  std::vector<float> frames;
  double rate;
  int channels = 1;
};

TEST_F(Headerless, ReadsEachExtensionInItsCoding) {
  const std::vector<float> half = {0.5f, -1.0f};
  const Coding codings[] = {
      {u"sb", "\x40\x80"s, half, 44100},
      {u"ub", "\xC0\x00"s, half, 44100},
      {u"sam", "\x40\x80"s, half, 44100},
      {u"snd", "\xC0\x00"s, half, 44100},
      {u"sw", "\x00\x40\x00\x80"s, half, 44100},
      {u"uw", "\x00\xC0\x00\x00"s, half, 44100},
      {u"sdw", "\x00\x00\x00\x40\x00\x00\x00\x80"s, half, 44100},
      {u"udw", "\x00\x00\x00\xC0\x00\x00\x00\x00"s, half, 44100},
      {u"f32", "\x00\x00\x00\x3F\x00\x00\x80\xBF"s, half, 44100},
      {u"f64", "\x00\x00\x00\x00\x00\x00\xE0\x3F\x00\x00\x00\x00\x00\x00\xF0\xBF"s, half, 44100},
      {u"kawai12", "\x00\x04\x80"s, half, 32000},
      {u"cdr", "\x40\x00\x80\x00"s, half, 44100, 2},
      {u"dvd-16-96", "\x40\x00\x80\x00"s, half, 96000, 2},
      {u"dvd-24-44",  // as FFmpeg's pcm_dvd coder writes the frames (0x030201, 0x131211), (0x232221, 0xB33231)
       "\x03\x02\x13\x12\x23\x22\xB3\x32\x01\x11\x21\x31"s,
       {0x030201 * 0x1p-23f, 0x131211 * 0x1p-23f, 0x232221 * 0x1p-23f, -0x4CCDCF * 0x1p-23f},
       44100,
       2},
      {u"ulaw", "\x00\x80\xFF"s, {-32124 / 32768.f, 32124 / 32768.f, 0}, 8000},
      {u"ulw", "\x8F"s, {16764 / 32768.f}, 8000},
      {u"alaw", "\x55\xD5\x2A"s, {-8 / 32768.f, 8 / 32768.f, -32256 / 32768.f}, 8000},
      {u"alw", "\xAA"s, {32256 / 32768.f}, 8000},
  };
  for (const Coding& each : codings) {
    const Waveform* waveform = read(u"a." + Text(each.extension), each.bytes);
    ASSERT_TRUE(waveform) << toUtf8(each.extension) << ": " << toUtf8(LastErrorText());
    EXPECT_EQ(framesOf(*waveform), each.frames) << toUtf8(each.extension);
    EXPECT_EQ(waveform->sampleRate, each.rate) << toUtf8(each.extension);
    EXPECT_EQ(waveform->channels(), each.channels) << toUtf8(each.extension);
  }
}

TEST_F(Headerless, WritesTheBytesItReads) {
  struct Case {
    FormatIndex row;
    TextView extension;
    std::string bytes;
  };
  const std::string four = "\x00\x40\x00\x80\x34\x12\xFF\x7F"s;
  for (const Case& each :
       {Case{433, u"sw", four}, Case{464, u"uw", four}, Case{377, u"sb", four}, Case{455, u"ub", four},
        Case{206, u"kawai12", "\x00\x04\x80\x23\xF1\x7F"s}, Case{114, u"f32", "\x00\x00\x00\x3F\x00\x00\x80\xBF"s},
        Case{116, u"f64", "\x9A\x99\x99\x99\x99\x99\xB9\x3F"s}, Case{457, u"ulaw", four}, Case{21, u"alaw", four}}) {
    ASSERT_TRUE(read(u"in." + Text(each.extension), each.bytes));
    ASSERT_TRUE(
        SaveItem(document.waveforms()[0].get(), each.row, folder.text(u"out." + Text(each.extension)), saving()))
        << toUtf8(LastErrorText());
    EXPECT_EQ(folder.get(u"out." + Text(each.extension)), each.bytes) << toUtf8(each.extension);
  }
  EXPECT_FALSE(report.lostSomething());
}

TEST_F(Headerless, FollowsTheUsersLayout) {
  const RawRequest layout = {
      .byteOrder = ByteOrder::big, .splitChannels = true, .channels = 2, .sampleRate = 22050, .offset = 3};
  const Waveform* waveform = read(u"a.xyz", "abc\x40\x00\x20\x00\xC0\x00\xE0\x00"s, layout);
  ASSERT_TRUE(waveform);
  EXPECT_EQ(framesOf(*waveform), (std::vector<float>{0.5f, -0.5f, 0.25f, -0.25f}));
  EXPECT_EQ(waveform->sampleRate, 22050);
  // What is not said is as usual for the extension.
  waveform = read(u"a.ub", "abc\xC0"s, {.offset = 3});
  ASSERT_TRUE(waveform);
  EXPECT_EQ(framesOf(*waveform), std::vector<float>{0.5f});
  waveform = read(u"a.cdr", "\x00\x40\x00\x20"s, {.byteOrder = ByteOrder::little});
  ASSERT_TRUE(waveform);
  EXPECT_EQ(framesOf(*waveform), (std::vector<float>{0.5f, 0.25f}));
  EXPECT_EQ(waveform->channels(), 2);
}

TEST_F(Headerless, RefusesWhatCannotBe) {
  struct Case {
    RawRequest layout;
    TextView message;
  };
  for (const Case& each :
       {Case{{.channels = 0}, u"No channels"}, Case{{.channels = 3}, u"Too many channels"},
        Case{{.channels = 1 << 30}, u"Too many channels"}, Case{{.sampleRate = 0}, u"Invalid sample rate"},
        Case{{.sampleRate = std::numeric_limits<double>::quiet_NaN()}, u"Invalid sample rate"},
        Case{{.offset = 8}, u"Zero length"}, Case{{.offset = ~uint64_t{0}}, u"Zero length"},
        Case{{.format = SampleFormat::gsm}, u"Invalid format for generic import function!"},
        Case{{.format = SampleFormat::midi}, u"Invalid format for generic import function!"},
        Case{{.format = SampleFormat::none}, u"Invalid format for generic import function!"},
        Case{{.format = SampleFormat::float64, .channels = 2}, u"Zero length"}}) {
    EXPECT_FALSE(read(u"a.xyz", "12345678", each.layout));
    EXPECT_EQ(LastErrorText(), each.message);
  }
}

TEST_F(Headerless, TellsOfBytesThatMakeNoFrame) {
  const Waveform* waveform = read(u"a.sw", "\x00\x40\x00"s);
  ASSERT_TRUE(waveform);
  EXPECT_EQ(waveform->frames(), 1);
  EXPECT_TRUE(reported(u"bytes at the end: 1"));
  // Two 12-bit samples and half a third: three bytes and one that is left over.
  waveform = read(u"a.kawai12", "\x00\x04\x80\x00"s);
  ASSERT_TRUE(waveform);
  EXPECT_EQ(waveform->frames(), 2);
  for (const auto& [name, bytes] :
       {std::pair{u"a.gsm", std::string(33, '\xD0') + "xx"}, {u"a.dvd-24-96", std::string(14, 'x')}}) {
    report = {};
    ASSERT_TRUE(read(name, bytes));
    EXPECT_TRUE(reported(u"bytes at the end: 2"));
  }
}

TEST_F(Headerless, TellsWhatAFileWithoutHeaderLoses) {
  auto waveform = waveformNamed(u"a", {0.5f, 0.5f}, 2, 48000);
  waveform->rootKey = 61;
  waveform->markers.emplace_back();
  waveform->tags[Tag::artist] = u"me";
  ASSERT_TRUE(SaveItem(waveform.get(), 377, folder.text(u"out"), saving()));
  for (const TextView what : {u"sample format", u"sample rate", u"channel count", u"root key and tuning",
                              u"markers and loops", u"tag Artist"})
    EXPECT_TRUE(reported(what)) << toUtf8(what);
}

}  // namespace
}  // namespace tervo::test

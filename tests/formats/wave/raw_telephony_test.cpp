#include "formats/wave/raw_telephony.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/gsm0610.h"

namespace tervo {
namespace {

using Bytes = std::vector<std::byte>;

const FormatDescriptor& rowNamed(TextView extension, TextView description) {
  for (const FormatDescriptor& row : FormatTable())
    if (row.extension == extension && row.description == description) return row;
  ADD_FAILURE() << "no such row";
  return FormatTable()[0];
}

struct Opened {
  bool ok;
  Collection collection;
};

std::unique_ptr<Opened> open(const FormatDescriptor& row, Bytes bytes, RawRequest raw = {}) {
  Host host;
  ConversionReport report;
  const Settings settings{};
  const SourceFile file{std::make_shared<MemorySource>(std::move(bytes)), u"some/call.x", host, report, settings, raw};
  auto opened = std::make_unique<Opened>();
  opened->ok = row.read(opened->collection, file, row.variant);
  return opened;
}

Bytes save(const FormatDescriptor& row, const Waveform& waveform, ConversionReport& report, double kbitPerSecond = 0) {
  Host host;
  const Settings settings{};
  MemorySink sink;
  SaveOptions options;
  options.kbitPerSecond = kbitPerSecond;
  TargetFile file{sink, u"x", host, report, settings, row, options};
  EXPECT_TRUE(row.write(waveform, file, row.variant)) << toUtf8(LastErrorText());
  return sink.take();
}

std::unique_ptr<Waveform> ramp(std::size_t frames) {
  std::vector<float> samples(frames);
  for (std::size_t i = 0; i < frames; ++i) samples[i] = 0.4f * std::sin(static_cast<float>(i) * 0.2f);
  auto waveform = std::make_unique<Waveform>();
  waveform->name = u"ramp";
  waveform->samples = makeResident(std::move(samples), 1);
  return waveform;
}

double errorOf(const Waveform& expected, const Waveform& actual, std::size_t delay = 0) {
  const auto a = makeResident(expected.samples), b = makeResident(actual.samples);
  double sum = 0;
  for (std::size_t i = 1000; i < 3000; ++i) sum += std::pow(a->resident()[i] - b->resident()[i + delay], 2);
  return std::sqrt(sum / 2000);
}

struct Pair {
  TextView extension, reads, writes;
  double kbit;
  std::size_t bytes;  // of 4001 frames
  int64_t frames;     // that the reader then sees
  double rate;
};

// Both orders of bits come back when the reader is told about them; the frames that fill up the last byte stay.
TEST(RawTelephony, RowsReadWhatTheyWrite) {
  const Pair pairs[] = {
      {u"g721", u"G.721 ADPCM", u"G.721 ADPCM - Big Endian", 0, 2001, 4002, 8000},
      {u"g723", u"G.723 ADPCM", u"G.723 ADPCM - Little Endian", 0, 1501, 4002, 8000},
      {u"g723-5", u"G.723 5-bit ADPCM", u"G.723 5-bit ADPCM - Big Endian", 0, 2501, 4001, 8000},
      {u"g726", u"G.726 ADPCM", u"G.726 ADPCM - Little Endian", 32, 2001, 4002, 8000},
      {u"g722-6", u"G.726 48 kbit/s ADPCM", u"G.726 48 kbit/s ADPCM - Little Endian", 0, 1501, 4002, 16000},
      {u"g722-8", u"G.726 64 kbit/ ADPCM", u"G.726 64 kbit/ ADPCM", 0, 2001, 4002, 16000},
      {u"gsm", u"Raw GSM 06.10", u"Raw GSM 06.10", 0, 26 * 33, 4160, 8000},
      {u"gsm", u"Raw GSM 06.10 'byte aligned'", u"Raw GSM 06.10 'byte aligned'", 0, 13 * 65, 4160, 8000},
      {u"gsm", u"USR GSM without header", u"USR GSM without header", 0, 26 * 34, 4160, 8000},
      {u"gsm", u"USR GSM with header", u"USR GSM with header", 0, 26 * 38, 4160, 8000},
  };
  const auto waveform = ramp(4001);
  for (const Pair& pair : pairs) {
    SCOPED_TRACE(toUtf8(pair.writes));
    ConversionReport report;
    const FormatDescriptor& writer = rowNamed(pair.extension, pair.writes);
    const Bytes bytes = save(writer, *waveform, report, pair.kbit);
    EXPECT_EQ(bytes.size(), pair.bytes);
    EXPECT_TRUE(report.lostSomething());
    const auto order = writer.variant & BigEndian ? ByteOrder::big : ByteOrder::little;
    const auto opened = open(rowNamed(pair.extension, pair.reads), bytes, {.byteOrder = order});
    ASSERT_TRUE(opened->ok);
    const Waveform& back = *opened->collection.waveforms()[0];
    EXPECT_EQ(back.name, u"call");
    EXPECT_EQ(back.sampleRate, pair.rate);
    EXPECT_EQ(back.frames(), pair.frames);
    EXPECT_LT(errorOf(*waveform, back, pair.rate == 16000 ? 22 : 0), 0.1);  // the mirror filters of G.722
  }
}

TEST(RawTelephony, TheFirstWriterOfAnExtensionWritesWhatItsReaderExpects) {
  const auto waveform = ramp(4000);
  for (const TextView extension : {u"g721", u"g721-4", u"g723", u"g723-3", u"g723-5", u"g726", u"g726-3", u"g726-5"}) {
    SCOPED_TRACE(toUtf8(extension));
    const FormatDescriptor* reader = &FormatTable()[0];
    while (reader->extension != extension) ++reader;
    const FormatDescriptor& writer = reader[1];
    ConversionReport report;
    const auto opened = open(*reader, save(writer, *waveform, report));
    ASSERT_TRUE(opened->ok);
    EXPECT_LT(errorOf(*waveform, *opened->collection.waveforms()[0]), 0.1);
  }
}

// Codes that no coder would make of what they stand for: only a copy keeps them.
Bytes arbitraryCodes(const FormatDescriptor& row, std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::byte>(i * 89 + i / 7);
  if (row.extension != u"gsm" || row.variant == GsmVariant::wavPairs65) return bytes;
  const std::size_t frame = row.variant == GsmVariant::modem38 ? 38 : row.variant == GsmVariant::modem34 ? 34 : 33;
  for (std::size_t at = 0; at < count; at += frame) bytes[at + (frame == 38 ? 2 : 0)] = std::byte{0xD3};
  return bytes;
}

bool holds(const Bytes& all, const Bytes& part) {
  return std::search(all.begin(), all.end(), part.begin(), part.end()) != all.end();
}

TEST(RawTelephony, ASaveInTheSameCodingCopiesTheBytes) {
  struct Case {
    TextView extension, reads, target, writes;
    std::size_t bytes;
    std::optional<ByteOrder> order = {};
  };
  const Case cases[] = {
      {u"g721", u"G.721 ADPCM", u"g726-4", u"G.726 4-bit ADPCM - Big Endian", 333},
      {u"g723", u"G.723 ADPCM", u"g723-3", u"G.723 3-bit ADPCM - Big Endian", 1000},
      {u"g726-5", u"G.726 5-bit ADPCM", u"g726-5", u"G.726 5-bit ADPCM - Little Endian", 503, ByteOrder::little},
      {u"g722-8", u"G.726 64 kbit/ ADPCM", u"g722", u"G.726 ADPCM - Big Endian", 70000},
      {u"g722-7", u"G.726 56 kbit/s ADPCM", u"g722-7", u"G.726 56 kbit/s ADPCM - Big Endian", 101},
      {u"gsm", u"Raw GSM 06.10", u"gsm", u"Raw GSM 06.10", 330},
      {u"gsm", u"USR GSM without header", u"gsm", u"USR GSM without header", 340},
      {u"gsm", u"USR GSM with header", u"gsm", u"USR GSM with header", 380},
      {u"gsm", u"Raw GSM 06.10 'byte aligned'", u"wav", u"Microsoft wave", 650},
      {u"g726-3", u"G.726 3-bit ADPCM", u"wav", u"Microsoft wave", 300},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(toUtf8(each.reads));
    const FormatDescriptor& source = rowNamed(each.extension, each.reads);
    const Bytes bytes = arbitraryCodes(source, each.bytes);
    const auto opened = open(source, bytes, {.byteOrder = each.order});
    ASSERT_TRUE(opened->ok);
    ConversionReport report;
    const Bytes saved = save(rowNamed(each.target, each.writes), *opened->collection.waveforms()[0], report);
    EXPECT_TRUE(holds(saved, bytes));
    EXPECT_EQ(saved.size() == bytes.size(), each.target != u"wav");
    EXPECT_FALSE(report.lostSomething());
  }
  // The other order of bits is another coding.
  const Bytes codes = arbitraryCodes(FormatTable()[131], 400);
  const auto opened = open(rowNamed(u"g721", u"G.721 ADPCM"), codes);
  ConversionReport report;
  EXPECT_FALSE(save(rowNamed(u"g721", u"G.721 ADPCM - Little Endian"), *opened->collection.waveforms()[0], report) ==
               codes);
  ASSERT_EQ(report.entries().size(), 1u);
  EXPECT_EQ(report.entries()[0].what, u"coding");
}

TEST(RawTelephony, TheUsersRateAndOffsetGoFirst) {
  const Bytes codes = arbitraryCodes(FormatTable()[131], 200);
  for (const auto& [extension, reads, frames] : {std::tuple{u"g721", u"G.721 ADPCM", 392},
                                                 {u"g722-8", u"G.726 64 kbit/ ADPCM", 392},
                                                 {u"gsm", u"Raw GSM 06.10", 800}}) {
    const auto opened = open(rowNamed(extension, reads), codes, {.sampleRate = 11025, .offset = 4});
    ASSERT_TRUE(opened->ok);
    EXPECT_EQ(opened->collection.waveforms()[0]->sampleRate, 11025);
    EXPECT_EQ(opened->collection.waveforms()[0]->frames(), frames);
    EXPECT_FALSE(open(rowNamed(extension, reads), codes, {.offset = 200})->ok);
  }
}

TEST(RawTelephony, BitRateAskedForSettlesTheBits) {
  const auto waveform = ramp(4000);
  ConversionReport report;
  const FormatDescriptor& open = rowNamed(u"g726", u"G.726 ADPCM - Big Endian");
  EXPECT_EQ(save(open, *waveform, report, 16).size(), 1000u);
  EXPECT_EQ(save(open, *waveform, report, 1e9).size(), 2500u);
  EXPECT_EQ(save(rowNamed(u"g726-2", u"G.726 2-bit ADPCM - Big Endian"), *waveform, report, 40).size(), 1000u);
  EXPECT_EQ(save(rowNamed(u"g722", u"G.726 ADPCM - Little Endian"), *waveform, report, 48).size(), 1500u);
}

// Each packing of the same speech is taken for itself by the rows for ".gsm" in their order.
TEST(RawTelephony, GsmPackingsAreTold) {
  const auto bestRow = [](const Bytes& bytes) {
    const FormatDescriptor* best = nullptr;
    int bestScore = 0;
    for (const FormatDescriptor& row : FormatTable()) {
      if (row.extension != u"gsm" || !row.detect) continue;
      const int score =
          row.detect(std::span(bytes).first(std::min<std::size_t>(bytes.size(), 32768)), row.variant, bytes.size());
      if (score > bestScore) best = &row;
      bestScore = std::max(score, bestScore);
    }
    return best;
  };
  for (const TextView description :
       {u"Raw GSM 06.10", u"Raw GSM 06.10 'byte aligned'", u"USR GSM without header", u"USR GSM with header"}) {
    const FormatDescriptor& row = rowNamed(u"gsm", description);
    for (const std::size_t frames : {160u, 4800u, 24000u}) {
      ConversionReport report;
      EXPECT_EQ(bestRow(save(row, *ramp(frames), report)), &row) << toUtf8(description) << " " << frames;
    }
  }
  EXPECT_EQ(bestRow(Bytes(100)), &rowNamed(u"gsm", u"Raw GSM 06.10"));
  EXPECT_EQ(bestRow(Bytes(1)), &rowNamed(u"gsm", u"Raw GSM 06.10"));
}

TEST(RawTelephony, TooShortFilesAreRefused) {
  EXPECT_FALSE(open(rowNamed(u"gsm", u"Raw GSM 06.10"), Bytes(32))->ok);
  EXPECT_EQ(LastErrorText(), u"Zero length");
  EXPECT_FALSE(open(rowNamed(u"g721", u"G.721 ADPCM"), {})->ok);
  EXPECT_TRUE(open(rowNamed(u"g721", u"G.721 ADPCM"), Bytes(1))->ok);
}

}  // namespace
}  // namespace tervo

#include "formats/wave/raw_adpcm.h"

#include <gtest/gtest.h>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/block_codec.h"
#include "formats/codec/g726.h"
#include "formats/codec/oki_adpcm.h"
#include "formats/codec/rockwell_adpcm.h"

namespace tervo {
namespace {

using Bytes = std::vector<std::byte>;

Bytes bytesOf(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}

// Codes of nothing in particular.
Bytes someCodes(std::size_t count) {
  Bytes codes;
  for (std::size_t i = 0; i < count; ++i) codes.push_back(static_cast<std::byte>(i * 37 + i / 5));
  return codes;
}

Bytes rmdFile(std::string_view modem, char bits, const Bytes& codes) {
  std::string header = "RMD1" + std::string(modem);
  header.resize(20);
  header += {0, bits, 0x1F, 0x40, bits};  // 8000 Hz
  header.resize(32);
  Bytes file = bytesOf(header);
  file.insert(file.end(), codes.begin(), codes.end());
  return file;
}

const FormatDescriptor& rowNamed(TextView extension) {
  return *std::find_if(FormatTable().begin(), FormatTable().end(),
                       [&](const auto& row) { return row.extension == extension; });
}

class RawAdpcm : public testing::Test {
 protected:
  bool read(ReadFn operation, Bytes bytes, uint32_t variant) {
    collection_.clear();
    return operation(collection_,
                     SourceFile{std::make_shared<MemorySource>(std::move(bytes)), u"/some where/Hello.vox", host_,
                                report_, settings_, raw_},
                     variant);
  }
  const Waveform& waveform() const { return *collection_.waveforms()[0]; }
  std::vector<float> frames() const {
    const SampleRef data = makeResident(waveform().samples);
    return {data->resident().begin(), data->resident().end()};
  }
  Bytes written(WriteFn operation, const Item& item, uint32_t variant, const FormatDescriptor& row) {
    MemorySink sink;
    TargetFile file{sink, u"x", host_, report_, settings_, row, {}};
    return operation(item, file, variant) ? sink.take() : Bytes();
  }

  Host host_;
  ConversionReport report_;
  Settings settings_;
  RawRequest raw_;
  Collection collection_;
};

std::vector<float> decoded(const DecoderFactory& make, const Bytes& bytes) {
  const auto decoder = make();
  std::vector<float> out(decoder->blockFrames());
  out.resize(decoder->decode(bytes, out));
  return out;
}

TEST_F(RawAdpcm, TheSettingSaysWhatAVoxFileHoldsUnlessTheRowDoes) {
  const Bytes codes = someCodes(60);
  struct Case {
    uint32_t setting, variant;
    DecoderFactory decoder;
    double rate;
  };
  const Case cases[] = {
      {0x08002000, 0, okiAdpcmDecoder(), 8000},
      {0x08002000, 6000, okiAdpcmDecoder(), 6000},
      {0x00002000, 8000, okiAdpcmDecoder(), 8000},
      {0x00002000, 0, g726Decoder(4, BitOrder::little), 8000},
      {0x01001000, 0, g726Decoder(3, BitOrder::big), 8000},
  };
  for (const Case& c : cases) {
    settings_.fmt.vox.dataFormat = c.setting;
    ASSERT_TRUE(read(readVox, codes, c.variant)) << c.setting;
    EXPECT_EQ(frames(), decoded(c.decoder, codes)) << c.setting;
    EXPECT_EQ(waveform().sampleRate, c.rate);
    EXPECT_EQ(waveform().name, u"Hello");
    EXPECT_EQ(waveform().coding, SampleCoding::adpcm4);
  }
  settings_.fmt.vox.dataFormat = formatWord(SampleFormat::muLaw);
  ASSERT_TRUE(read(readVox, codes, 0));
  EXPECT_EQ(waveform().frames(), 60);
  EXPECT_EQ(waveform().coding, SampleCoding::muLaw);
  EXPECT_FALSE(read(readVox, {}, 6000));
  EXPECT_EQ(LastErrorText(), u"Zero length");
}

TEST_F(RawAdpcm, TheUsersRateAndOffsetGoFirst) {
  Bytes file = bytesOf("head");
  const Bytes codes = someCodes(40);
  file.insert(file.end(), codes.begin(), codes.end());
  raw_ = {.sampleRate = 11025, .offset = 4};
  ASSERT_TRUE(read(readVox, file, 6000));
  EXPECT_EQ(waveform().sampleRate, 11025);
  EXPECT_EQ(frames(), decoded(okiAdpcmDecoder(), codes));

  raw_ = {.channels = 2, .sampleRate = 22050};
  ASSERT_TRUE(read(readYamahaAdpcm, codes, 0));
  EXPECT_EQ(waveform().channels(), 2);
  EXPECT_EQ(waveform().frames(), 40);
  raw_ = {.offset = 1000};  // beyond the end
  EXPECT_FALSE(read(readYamahaAdpcm, codes, 0));
}

TEST_F(RawAdpcm, RockwellFilesMayHaveAModemDataHeader) {
  const Bytes codes = someCodes(30);
  const auto isCodes = [&](int bits) { return frames() == decoded(rockwellAdpcmDecoder(bits), codes); };
  ASSERT_TRUE(read(readRockwell, codes, 0));
  EXPECT_TRUE(isCodes(4));
  EXPECT_EQ(waveform().sampleRate, 7200);
  ASSERT_TRUE(read(readRockwell, codes, 2));
  EXPECT_TRUE(isCodes(2));
  EXPECT_EQ(waveform().storedBits, 2);
  const Bytes file = rmdFile("Rockwell", 3, codes);
  ASSERT_TRUE(read(readRockwell, file, 0));
  EXPECT_TRUE(isCodes(3));
  EXPECT_EQ(waveform().sampleRate, 8000);

  EXPECT_EQ(detectRockwell(file, 0, file.size()), 6);
  EXPECT_EQ(detectRockwell(codes, 0, codes.size()), 2);
  EXPECT_EQ(detectRockwell({}, 0, 0), 2);
  EXPECT_EQ(detectRockwell(rmdFile("Rockwell", 8, codes), 0, 62), 2);    // 8-bit PCM
  EXPECT_EQ(detectRockwell(rmdFile("ZyXEL_1496", 3, codes), 0, 62), 2);  // another ADPCM
}

TEST_F(RawAdpcm, ASaveInTheSameCodingCopiesTheBytes) {
  const Bytes codes = someCodes(333);
  settings_.fmt.vox.dataFormat = DialogicAdpcm | formatWord(SampleFormat::adpcm4);
  for (const auto& [from, to] : {std::pair{u"vox", u"vox-8k"}, {u"yadpcm", u"yadpcm"}, {u"rockwell", u"rockwell-4"}}) {
    const FormatDescriptor& source = rowNamed(from);
    ASSERT_TRUE(read(source.read, codes, source.variant));
    const FormatDescriptor& target = rowNamed(to);
    report_ = {};
    EXPECT_EQ(written(target.write, waveform(), target.variant, target), codes) << toUtf8(from);
    EXPECT_FALSE(report_.lostSomething());
    // The same sample format, but another coding.
    const FormatDescriptor& other = FormatTable()[132];  // G.721
    EXPECT_NE(written(other.write, waveform(), other.variant, other), codes);
    EXPECT_TRUE(report_.lostSomething());
  }
}

TEST_F(RawAdpcm, WritersReportWhatTheFileCannotSay) {
  Waveform waveform;
  waveform.samples = makeResident(std::vector<float>(101, 0.25f), 1);
  waveform.sampleRate = 8000;
  EXPECT_EQ(written(writeVox, waveform, 8000, rowNamed(u"vox-8k")).size(), 51u);
  EXPECT_EQ(report_.entries().size(), 1u);  // 16 bits became ADPCM
  EXPECT_EQ(written(writeRockwell, waveform, 3, rowNamed(u"rockwell-3")).size(), 38u);
  waveform.storedFormat = formatWord(SampleFormat::adpcm2);
  EXPECT_EQ(written(writeRockwell, waveform, 0, rowNamed(u"rockwell")).size(), 26u);

  report_ = {};
  waveform.markers.push_back({});
  waveform.sampleRate = 32000;
  waveform.samples = makeResident(std::vector<float>(101, 1.25f), 1);
  EXPECT_EQ(written(writeYamahaAdpcm, waveform, 0, rowNamed(u"yadpcm")).size(), 51u);
  EXPECT_EQ(report_.entries().size(), 4u);  // the markers, the rate, and samples beyond full scale as well

  EXPECT_TRUE(written(writeVox, collection_, 0, rowNamed(u"vox")).empty());
  EXPECT_EQ(LastErrorText(), u"The file format can not save this item");
}

}  // namespace
}  // namespace tervo

// sfArk 2 archives.

#include "formats/instrument/sfark.h"

#include <gtest/gtest.h>

#include <cstring>

#include "formats/codec/sfark_decoder.h"
#include "tests/formats/instrument/sf2_builder.h"
#include "tests/formats/instrument/sfark_archive.h"

namespace tervo::test {
namespace {

using Bytes = std::vector<std::byte>;

/// With another byte in a sound header.
Bytes changed(std::size_t at, uint8_t value) {
  Bytes bytes = sfArkArchive();
  bytes[at] = static_cast<std::byte>(value);
  correctSfArkHeader(bytes);
  return bytes;
}

TEST(SfArk, UnpacksTheBank) {
  const ReadBank bank(sfArkArchive(), readSfArk);
  ASSERT_TRUE(bank.ok) << toUtf8(bank.error);
  ASSERT_EQ(bank.collection.waveforms().size(), 1u);
  const SampleRef samples = makeResident(bank.collection.waveforms()[0]->samples);
  ASSERT_TRUE(samples);
  std::vector<int> words;
  for (const float each : samples->resident()) words.push_back(static_cast<int>(each * 32768));
  ASSERT_EQ(words.size(), 375u);
  EXPECT_EQ(std::vector(words.begin(), words.begin() + 3), (std::vector{211, 1883, 3362}));
  EXPECT_EQ(std::vector(words.begin() + 300, words.begin() + 303), (std::vector{5563, 5621, 4874}));
  int sum = 0;
  for (const int each : words) sum += std::abs(each);
  EXPECT_EQ(sum, 1043850);
}

TEST(SfArk, SaysWhyItCannot) {
  constexpr std::size_t signatureAt = 26, methodAt = 31, versionAt = 20;
  Bytes flipped = sfArkArchive(), wrongHeader = sfArkArchive();
  flipped[flipped.size() / 2] ^= std::byte{0x10};
  wrongHeader[methodAt] = std::byte{6};
  struct Case {
    Bytes bytes;
    TextView error;
  };
  for (const Case& c : {Case{changed(signatureAt, 'x'), u"Not an sfArk file"}, Case{Bytes(20), u"Not an sfArk file"},
                        Case{changed(methodAt, 2), u"sfArk v1 files are not supported"},
                        Case{changed(methodAt, 9), u"Unknown sfArk compression type"},
                        Case{changed(methodAt, 3), u"Unsupported sfArk compression"},
                        Case{changed(versionAt, 90), u"Unsupported sfArk compression"},
                        Case{wrongHeader, u"sfArk decompression failed"}, Case{flipped, u"sfArk decompression failed"}})
    EXPECT_EQ(ReadBank(c.bytes, readSfArk).error, c.error);
  for (std::size_t size = 0; size < sfArkArchive().size(); size += 13) {
    Bytes cut = sfArkArchive();
    cut.resize(size);
    EXPECT_FALSE(ReadBank(cut, readSfArk).ok) << size;
  }
  EXPECT_EQ(detectSfArk(sfArkArchive(), 0, 0), 6);
  EXPECT_EQ(detectSfArk(Bytes(100), 0, 0), 0);
}

}  // namespace
}  // namespace tervo::test

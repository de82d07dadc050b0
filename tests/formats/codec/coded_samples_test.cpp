#include <gtest/gtest.h>

#include <numeric>

#include "base/last_error.h"
#include "formats/codec/block_codec.h"

namespace tervo {
namespace {

// Blocks of 4 bytes; a byte is a frame of the left channel's value, the right one is its negative. With `sum` the left
// channel is the sum of all bytes so far, which only decoding from the front can know. The byte 255 ends a block early.
class ToyDecoder final : public BlockDecoder {
 public:
  explicit ToyDecoder(bool sum) : sum_(sum) {}
  std::size_t blockBytes() const override { return 4; }
  std::size_t blockFrames() const override { return 4; }
  bool independentBlocks() const override { return !sum_; }
  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    std::size_t frame = 0;
    for (const std::byte b : block) {
      if (b == std::byte{255}) break;
      total_ = (sum_ ? total_ : 0.0f) + static_cast<float>(b);
      out[frame * 2] = total_;
      out[frame * 2 + 1] = -total_;
      ++frame;
    }
    return frame;
  }

 private:
  bool sum_;
  float total_ = 0;
};

// Bytes 0, 1, 2 ... that can go bad after the data was opened.
class FadingSource final : public ByteSource {
 public:
  explicit FadingSource(uint64_t size) : size_(size) {}
  uint64_t size() const override { return size_; }
  std::size_t readAt(uint64_t offset, std::span<std::byte> out) const noexcept override {
    if (gone) return 0;
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = static_cast<std::byte>((offset + i) % 200);
    return out.size();
  }
  bool gone = false;

 private:
  uint64_t size_;
};

SampleRef toy(std::shared_ptr<const ByteSource> source, uint64_t offset, uint64_t bytes, int64_t frames,
              bool sum = false) {
  StoredSamples stored;
  stored.source = std::move(source);
  stored.offset = offset;
  stored.bytes = bytes;
  return makeCodedSamples(stored, 2, frames, [sum] { return std::make_unique<ToyDecoder>(sum); });
}

std::vector<float> readLeft(const SampleRef& data, int64_t first, std::size_t framesPerCall) {
  std::vector<float> left, part(framesPerCall * 2 + 1);  // an odd span: half a frame must stay untouched
  const auto stream = data->open(first);
  if (!stream) return {-1};
  for (;;) {
    const auto frames = stream->read(part);
    if (!frames) return {-2};
    if (*frames == 0) return left;
    for (std::size_t i = 0; i < *frames; ++i) {
      EXPECT_EQ(part[2 * i + 1], -part[2 * i]);
      left.push_back(part[2 * i]);
    }
  }
}

TEST(CodedSamples, ReadsTheSameFramesFromAnywhereInPartsOfAnySize) {
  const auto source = std::make_shared<FadingSource>(200'000);  // several times the read-ahead, last block short
  const int64_t frames = 150'001;
  for (const bool sum : {false, true}) {
    std::vector<float> expected(static_cast<std::size_t>(frames));
    float total = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const auto byte = static_cast<float>((i + 7) % 200);
      total += byte;
      expected[i] = sum ? total : byte;
    }
    const SampleRef data = toy(source, 7, 150'001, frames, sum);
    for (const int64_t first : {int64_t{0}, int64_t{3}, int64_t{65'536}, frames - 2, frames}) {
      EXPECT_EQ(readLeft(data, first, first % 2 == 0 ? 1000 : 3), std::vector(expected.begin() + first, expected.end()))
          << first << sum;
    }
  }
}

TEST(CodedSamples, FramesBeyondTheBytesAreSilentAndSurplusBytesAreCut) {
  const auto source = std::make_shared<FadingSource>(10);
  EXPECT_EQ(readLeft(toy(source, 4, 1'000'000, 9), 0, 4), (std::vector<float>{4, 5, 6, 7, 8, 9, 0, 0, 0}));
  EXPECT_EQ(readLeft(toy(source, 4, 1'000'000, 9), 7, 4), (std::vector<float>{0, 0}));
  EXPECT_EQ(readLeft(toy(source, 4, 6, 5), 0, 4), (std::vector<float>{4, 5, 6, 7, 8}));
  EXPECT_EQ(readLeft(toy(source, 99, 6, 2), 0, 4), (std::vector<float>{0, 0}));

  // Nothing is made for frames that only the header knows.
  const SampleRef endless = toy(source, 4, 6, INT64_MAX, true);
  std::vector<float> some(8, 1.0f);
  EXPECT_EQ(endless->open(INT64_MAX - 1)->read(some), 1u);
  EXPECT_EQ(some, (std::vector<float>{0, 0, 1, 1, 1, 1, 1, 1}));
}

TEST(CodedSamples, ADamagedBlockDoesNotMoveTheFramesBehindIt) {
  const auto bytes = std::vector{std::byte{1}, std::byte{255}, std::byte{3}, std::byte{4}, std::byte{5}, std::byte{6}};
  const auto source = std::make_shared<MemorySource>(bytes);
  EXPECT_EQ(readLeft(toy(source, 0, 6, 6), 0, 5), (std::vector<float>{1, 0, 0, 0, 5, 6}));
  EXPECT_EQ(readLeft(toy(source, 0, 6, 6), 5, 5), (std::vector<float>{6}));
}

TEST(CodedSamples, ASourceThatFailsIsReportedWhenReadAndWhenOpened) {
  const auto source = std::make_shared<FadingSource>(200'000);
  const SampleRef data = toy(source, 0, 200'000, 200'000, true);
  const auto stream = data->open();
  std::vector<float> out(2 * 100'000);
  ASSERT_TRUE(stream->read(std::span(out).first(8)));
  source->gone = true;
  setLastErrorText(u"");
  EXPECT_FALSE(stream->read(out).has_value());
  EXPECT_EQ(LastErrorText(), u"Reading from file failed");
  EXPECT_EQ(data->open(100'000), nullptr);
}

}  // namespace
}  // namespace tervo

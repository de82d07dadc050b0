#include "dsp/word_order.h"

#include <gtest/gtest.h>

#include <vector>

namespace tervo::dsp {
namespace {

TEST(WordOrder, turnsWholeWordsAndTheirSigns) {
  for (const std::size_t width : {1u, 2u, 3u, 4u, 5u, 8u}) {
    for (const std::size_t size : {0u, 1u, 2u, 7u, 8u, 24u, 67u, 133u}) {
      std::vector<std::byte> bytes(size + 1);  // from an odd address
      for (std::size_t i = 0; i <= size; ++i) bytes[i] = static_cast<std::byte>(i * 7 + 1);
      auto turned = bytes, flipped = bytes;
      reverseWords(std::span(turned).subspan(1), width);
      flipSigns(std::span(flipped).subspan(1), width, ByteOrder::little);
      for (std::size_t i = 0; i < size; ++i) {
        const std::size_t place = i % width;
        const bool isWhole = i - place + width <= size;
        const std::size_t from = isWhole ? i - place + width - 1 - place : i;
        const auto sign = isWhole && place == width - 1 ? std::byte{0x80} : std::byte{0};
        EXPECT_EQ(turned[1 + i], bytes[1 + from]) << width << ' ' << size << ' ' << i;
        EXPECT_EQ(flipped[1 + i], bytes[1 + i] ^ sign) << width << ' ' << size << ' ' << i;
      }
      EXPECT_EQ(turned[0], bytes[0]);
      EXPECT_EQ(flipped[0], bytes[0]);
    }
  }
}

}  // namespace
}  // namespace tervo::dsp

#include <gtest/gtest.h>

#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "base/last_error.h"

namespace tervo {
namespace {

std::vector<std::byte> bytesOf(std::initializer_list<int> values) {
  std::vector<std::byte> bytes;
  for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

TEST(ByteReader, ReadsBothOrders) {
  const auto bytes = bytesOf({0x12, 0x34, 0x56, 0x78, 0x00, 0x00, 0x80, 0x3F, 0xFE, 0xFF, 'd', 'a', 't', 'a'});
  ByteReader reader(bytes);
  EXPECT_EQ(reader.big<uint32_t>(), 0x12345678u);
  EXPECT_EQ(reader.little<float>(), 1.0f);
  EXPECT_EQ(reader.little<int16_t>(), -2);
  EXPECT_EQ(reader.fourCC(), FourCC("data"));
  EXPECT_TRUE(reader.ok() && reader.atEnd());
}

TEST(ByteReader, FirstErrorSticksAndEverythingAfterIsZero) {
  const auto bytes = bytesOf({1, 2, 3, 4, 5});
  ByteReader reader(bytes, 1000);
  EXPECT_EQ(reader.little<uint16_t>(), 0x0201);
  EXPECT_EQ(reader.little<uint32_t>(), 0u);
  EXPECT_EQ(reader.errorOffset(), 1002u);
  EXPECT_EQ(reader.u8(), 0);
  EXPECT_TRUE(reader.take(0).empty());
  reader.seek(0);
  EXPECT_EQ(reader.errorOffset(), 1002u);
}

TEST(ByteReader, SubReadersAreBoundedByTheirParent) {
  const auto bytes = bytesOf({1, 2, 3, 4});
  ByteReader reader(bytes, 10);
  ByteReader inner = reader.sub(3);
  inner.skip(2);
  EXPECT_EQ(inner.little<uint16_t>(), 0);
  EXPECT_EQ(inner.errorOffset(), 12u);
  EXPECT_EQ(reader.u8(), 4);
  EXPECT_FALSE(reader.sub(SIZE_MAX).ok());
}

TEST(ChunkScope, PatchesNestedSizesAndPads) {
  MemorySink sink;
  ByteWriter writer(sink);
  {
    const ChunkScope outer(writer, "LIST");
    writer.chars("INFO");
    const ChunkScope inner(writer, "INAM");
    writer.chars("abc");
  }
  EXPECT_EQ(sink.bytes(), bytesOf({'L', 'I', 'S', 'T', 16, 0, 0, 0, 'I', 'N', 'F', 'O',
                                   'I', 'N', 'A', 'M', 3,  0, 0, 0, 'a', 'b', 'c', 0}));
}

TEST(ByteSource, CopiesBetweenSourcesAndSinksWithinBounds) {
  const MemorySource source(std::vector<std::byte>(600 * 1024, std::byte{7}));
  MemorySink sink;
  EXPECT_TRUE(sink.writeFrom(source, 1, source.size() - 1));
  EXPECT_EQ(sink.position(), source.size() - 1);
  EXPECT_FALSE(sink.writeFrom(source, 1, source.size()));
  EXPECT_EQ(LastErrorText(), u"Reading from file failed");
  EXPECT_EQ(source.readUpTo(600 * 1024 - 2, UINT64_MAX, SIZE_MAX).size(), 2u);
  EXPECT_TRUE(source.readUpTo(UINT64_MAX, 1, 1).empty());
  EXPECT_FALSE(sink.patch(sink.position(), bytesOf({1})));
}

}  // namespace
}  // namespace tervo

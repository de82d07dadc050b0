#include <gtest/gtest.h>

#include "formats/wave/id3_tags.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo {
namespace {

using namespace test;

Bytes big32(uint32_t value) {
  return u8({static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
             static_cast<uint8_t>(value)});
}
Bytes syncSafe(std::size_t size) {
  return u8({static_cast<uint8_t>(size >> 21 & 0x7F), static_cast<uint8_t>(size >> 14 & 0x7F),
             static_cast<uint8_t>(size >> 7 & 0x7F), static_cast<uint8_t>(size & 0x7F)});
}
Bytes tag(uint8_t version, uint8_t flags, const Bytes& frames) {
  return chars("ID3") + u8({version, 0, flags}) + syncSafe(frames.size()) + frames;
}
Bytes frame(std::string_view id, const Bytes& body, uint8_t flags = 0) {
  return chars(id) + big32(static_cast<uint32_t>(body.size())) + u8({0, flags}) + body;
}
Bytes frame24(std::string_view id, const Bytes& body, uint8_t flags = 0) {
  return chars(id) + syncSafe(body.size()) + u8({0, flags}) + body;
}
Bytes frame22(std::string_view id, const Bytes& body) {
  return chars(id) + u8({0, static_cast<uint8_t>(body.size() >> 8), static_cast<uint8_t>(body.size())}) + body;
}

const Bytes png = u8({0x89, 'P', 'N', 'G', 13, 10, 26, 10, 0xFF, 0, 7});

TEST(Id3, readsTextsOfEveryVersionAndEncoding) {
  const Bytes filler = frame("TXXX", Bytes(200));
  const struct {
    const char* what;
    Bytes bytes;
    Tag tag;
    Text expected;
  } cases[] = {
      {"2.2", tag(2, 0, frame22("TT2", u8({0}) + chars("Air"))), Tag::name, u"Air"},
      {"2.3 code page", tag(3, 0, filler + frame("TPE1", u8({0, 'B', 0xF6, 'h', 'm', 0}))), Tag::artist, u"B\u00f6hm"},
      {"UTF-16 big-endian with mark", tag(3, 0, frame("TALB", u8({1, 0xFE, 0xFF, 0x4F, 0x60}))), Tag::product,
       u"\u4f60"},
      {"UTF-16 little-endian with mark", tag(3, 0, frame("TCOP", u8({1, 0xFF, 0xFE, 0x60, 0x4F, 0, 0}))),
       Tag::copyright, u"\u4f60"},
      {"UTF-16 without mark", tag(4, 0, frame24("TIT2", u8({2, 0, 'x'}))), Tag::name, u"x"},
      {"UTF-8, two values", tag(4, 0, frame24("TPE1", u8({3, 0xC3, 0xA9, 0, 'b'}))), Tag::artist, u"\u00e9; b"},
      {"2.4 with plain sizes", tag(4, 0, frame("TIT2", u8({0}) + Bytes(199, std::byte{'y'}))), Tag::name,
       Text(199, u'y')},
      {"the user's comment",
       tag(3, 0,
           frame("COMM", u8({0}) + chars("engiTunNORM") + u8({0}) + chars("00FF")) +
               frame("COMM", u8({0}) + chars("deu") + u8({0}) + chars("gut"))),
       Tag::comments, u"gut"},
      {"extended header 2.3", tag(3, 0x40, big32(6) + Bytes(6) + frame("TIT2", u8({0, 'a'}))), Tag::name, u"a"},
      {"extended header 2.4", tag(4, 0x40, syncSafe(6) + Bytes(2) + frame24("TIT2", u8({0, 'a'}))), Tag::name, u"a"},
      {"unsynchronised 2.3", tag(3, 0x80, chars("TIT2") + big32(5) + u8({0, 0, 1, 0xFF, 0, 0xFE, 'z', 0})), Tag::name,
       u"z"},
      {"unsynchronised frame 2.4", tag(4, 0, frame24("TIT2", u8({0, 0, 0, 5, 1, 0xFF, 0, 0xFE, 'z', 0}), 0x03)),
       Tag::name, u"z"},
      {"grouped frame", tag(3, 0, frame("TIT2", u8({9, 0, 'q'}), 0x20)), Tag::name, u"q"},
      {"compressed frame", tag(3, 0, frame("TIT2", u8({0, 'q'}), 0x80)), Tag::name, u""},
      {"frame beyond the end", tag(3, 0, frame("TIT2", u8({0, 'a'})) + chars("TPE1") + big32(0x7FFFFFFF)), Tag::name,
       u"a"},
      {"size that lies", chars("ID3") + u8({3, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F}) + frame("TIT2", u8({0, 'a'})), Tag::name,
       u"a"},
  };
  for (const auto& c : cases) {
    Tags tags;
    EXPECT_TRUE(readId3(c.bytes, tags)) << c.what;
    EXPECT_EQ(toUtf8(tags[c.tag]), toUtf8(c.expected)) << c.what;
  }
}

TEST(Id3, takesTheFrontCover) {
  const auto picture = [](uint8_t kind, const Bytes& bytes) {
    return frame("APIC", u8({1}) + chars("image/png") + u8({0, kind, 0xFF, 0xFE, 0, 0}) + bytes);
  };
  Tags tags;
  ASSERT_TRUE(readId3(tag(3, 0,
                          picture(0, chars("GIF89a")) + picture(3, png) + picture(4, chars("GIF89a")) +
                              picture(3, chars("no picture"))),
                      tags));
  ASSERT_TRUE(tags.image);
  EXPECT_EQ(tags.image->bytes, png);
  EXPECT_EQ(tags.image->mimeType, "image/png");

  Tags old;
  ASSERT_TRUE(readId3(tag(2, 0, frame22("PIC", u8({0}) + chars("PNG") + u8({3, 0}) + png)), old));
  EXPECT_TRUE(old.image && old.image->bytes == png);
}

TEST(Id3, leavesTagsAloneWhereThereIsNoTag) {
  for (const auto& bytes : {Bytes(), chars("ID3"), chars("TAG and more text"), tag(5, 0, frame("TIT2", u8({0, 'a'}))),
                            tag(2, 0x40, Bytes(30))}) {
    Tags tags;
    EXPECT_FALSE(readId3(bytes, tags));
  }
}

// In a WAV file: what is edited is written anew, what is not stays as it was.
TEST(Id3, survivesInWavFiles) {
  const Bytes id3 = tag(4, 0, frame24("TIT2", u8({3, 'a'})) + frame24("TRCK", u8({3, '7'})));
  const auto opened = open(WavBuilder()
                               .fmt({})
                               .data(Bytes(8))
                               .chunk("ID3 ", id3)
                               .chunk("LIST", chars("INFOINAM") + u32({2}) + chars("b") + u8({0})));
  ASSERT_TRUE(opened->wave());
  auto& wave = *opened->wave();
  EXPECT_EQ(wave.tags[Tag::name], u"a") << "the ID3 tag says how it is encoded";
  EXPECT_EQ(chunkOf(save(wave).bytes, "id3 "), id3);

  wave.tags[Tag::name] = u"\u4f60";
  wave.tags[Tag::comments] = u"ok";
  wave.tags.image = std::make_shared<const Picture>(Picture{png, "image/png"});
  const auto saved = save(wave);
  EXPECT_TRUE(saved.report.lostSomething()) << "the track number";
  const auto again = open(saved.bytes);
  EXPECT_EQ(again->wave()->tags[Tag::name], u"\u4f60");
  EXPECT_EQ(again->wave()->tags[Tag::comments], u"ok");
  ASSERT_TRUE(again->wave()->tags.image);
  EXPECT_EQ(again->wave()->tags.image->bytes, png);
}

}  // namespace
}  // namespace tervo

#pragma once
// Builds small AIFF, AIFF-C and MAUD files in memory.

#include "base/endian.h"
#include "formats/wave/aiff_reader.h"
#include "formats/wave/aiff_writer.h"
#include "tests/formats/wave/wav_builder.h"

namespace tervo::test {

template <typename T>
Bytes bigWords(std::initializer_list<T> values) {
  MemorySink sink;
  ByteWriter writer(sink);
  for (const T value : values) writer.big(value);
  return sink.take();
}
inline Bytes big32(std::initializer_list<uint32_t> values) {
  return bigWords<uint32_t>(values);
}
inline Bytes big16(std::initializer_list<uint16_t> values) {
  return bigWords<uint16_t>(values);
}

inline Bytes aiffChunkSaying(std::string_view id, uint32_t size, const Bytes& body) {
  return chars(id) + big32({size}) + body;
}
inline Bytes aiffChunk(std::string_view id, const Bytes& body) {
  return aiffChunkSaying(id, static_cast<uint32_t>(body.size()), body) + Bytes(body.size() % 2);
}
inline Bytes aiffChunkOf(const Bytes& file, std::string_view id) {
  return chunkOf(file, id, ByteOrder::big);
}
inline Bytes aiffForm(std::string_view type, const Bytes& chunks) {
  return chars("FORM") + big32({static_cast<uint32_t>(chunks.size() + 4)}) + chars(type) + chunks;
}

// 80 bits: sign and exponent, then the mantissa.
inline Bytes extended(uint16_t exponent, uint64_t mantissa) {
  return big16({exponent}) + bigWords<uint64_t>({mantissa});
}
inline const Bytes rate8000 = extended(16395, 0xFA00000000000000);

struct Comm {
  uint16_t channels = 1;
  uint32_t frames = 4;
  uint16_t bits = 16;
  Bytes rate = rate8000;
  std::string_view type = {};  // with it, AIFF-C
  std::string_view name = {};

  Bytes body() const {
    const Bytes plain = big16({channels}) + big32({frames}) + big16({bits}) + rate;
    return type.empty() ? plain : plain + chars(type) + u8({static_cast<uint8_t>(name.size())}) + chars(name);
  }
};
inline Bytes comm(const Comm& header) {
  return aiffChunk("COMM", header.body());
}
inline Bytes ssnd(const Bytes& samples) {
  return aiffChunk("SSND", Bytes(8) + samples);
}
inline Bytes aiffOf(const Comm& header, const Bytes& samples, const Bytes& more = {}) {
  return aiffForm(header.type.empty() ? "AIFF" : "AIFC", comm(header) + more + ssnd(samples));
}

struct Mark {
  uint16_t id;
  uint32_t position;
  std::string_view name = {};
};
inline Bytes mark(std::initializer_list<Mark> marks) {
  Bytes body = big16({static_cast<uint16_t>(marks.size())});
  for (const auto& each : marks)
    body = body + big16({each.id}) + big32({each.position}) + u8({static_cast<uint8_t>(each.name.size())}) +
           chars(each.name) + Bytes((each.name.size() + 1) % 2);
  return aiffChunk("MARK", body);
}
/// Play mode, begin and end of the two loops.
inline Bytes inst(std::initializer_list<uint16_t> loops, uint8_t note = 60, uint8_t detune = 0, uint16_t gain = 0) {
  return aiffChunk("INST", u8({note, detune, 0, 127, 0, 127}) + big16({gain}) + bigWords<uint16_t>(loops));
}

inline std::unique_ptr<Opened> openAiff(Bytes bytes) {
  return open(std::move(bytes), readAiff);
}
inline Saved saveAiff(const Item& item, std::optional<SampleCoding> coding = {}) {
  return save(item, coding, writeAiff, 15);
}

}  // namespace tervo::test

// Bytes without a header, in every layout that the first bytes can ask for, read to the end.

#include <vector>

#include "base/byte_reader.h"
#include "core/collection.h"
#include "formats/wave/raw_pcm.h"

using namespace tervo;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ByteReader input(std::as_bytes(std::span(data, size)));
  RawRequest raw;
  const uint8_t flags = input.u8();
  raw.format = static_cast<SampleFormat>(input.u8() % 22);
  raw.byteOrder = flags & 1 ? ByteOrder::big : ByteOrder::little;
  raw.isUnsigned = flags & 2;
  raw.splitChannels = flags & 4;
  raw.channels = static_cast<int8_t>(input.u8());
  raw.offset = input.u8() & 0x80 ? input.little<uint64_t>() : input.u8();
  const auto rest = input.take(input.remaining());

  Host host;
  ConversionReport report;
  const Settings settings;
  Collection collection;
  auto bytes = std::make_shared<MemorySource>(std::vector(rest.begin(), rest.end()));
  if (!readRaw(collection, {std::move(bytes), u"a.raw", host, report, settings, raw}, 0)) return 0;
  const auto stream = collection.waveforms()[0]->samples->open();
  std::vector<float> frames(1024);
  while (stream && stream->read(frames).value_or(0) > 0) {
  }
  return 0;
}

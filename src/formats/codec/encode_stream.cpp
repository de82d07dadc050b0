#include "formats/codec/encode_stream.h"

#include <algorithm>

#include "base/last_error.h"

namespace tervo {
namespace {

bool advance(Host& host, uint64_t done, uint64_t total) {
  if (host.progress(static_cast<double>(done) / static_cast<double>(total))) return true;
  return fail(u"Save aborted!");
}

bool encodeAll(const SampleData& samples, BlockEncoder& encoder, ByteSink& sink, Host& host, ClippingCount& clipping) {
  constexpr std::size_t aimedFrames = 16384;
  const auto stream = samples.open();
  if (!stream) return false;
  const auto channels = static_cast<std::size_t>(samples.channels());
  const std::size_t blocks = std::max<std::size_t>(aimedFrames / encoder.blockFrames(), 1);
  std::vector<float> frames(blocks * encoder.blockFrames() * channels);
  std::vector<std::byte> coded;
  uint64_t done = 0;
  while (true) {
    const auto count = stream->read(frames);
    if (!count) return false;
    coded.clear();
    const auto read = std::span<const float>(frames).first(*count * channels);
    clipping.add(read);
    if (*count > 0)
      encoder.encode(read, coded);
    else
      encoder.finish(coded);
    if (!sink.write(coded)) return false;
    if (*count == 0) return true;
    done += *count;
    if (!advance(host, done, static_cast<uint64_t>(samples.frames()))) return false;
  }
}

}  // namespace

bool isCodedAs(const SampleData& samples, const BlockEncoder& encoder) {
  const StoredSamples* stored = samples.stored();
  return stored && !stored->coding.empty() && stored->coding == encoder.coding() &&
         stored->bytes >= encoder.bytesFor(static_cast<uint64_t>(samples.frames()));
}

void reportRecoding(const Waveform& waveform, const BlockEncoder& encoder, ConversionReport& report) {
  const StoredSamples* stored = waveform.samples->stored();
  if (!stored || isCodedAs(*waveform.samples, encoder)) return;
  const TextView before = stored->coding.empty() ? nameOf(formatOf(stored->format)) : TextView(stored->coding);
  report.approximated(waveform.name, u"coding", before, encoder.coding());
}

bool writeCoded(const SampleData& samples, BlockEncoder& encoder, ByteSink& sink, Host& host, ClippingCount& clipping) {
  if (!isCodedAs(samples, encoder)) return encodeAll(samples, encoder, sink, host, clipping);
  const StoredSamples& stored = *samples.stored();
  return copyBytes(*stored.source, stored.offset, encoder.bytesFor(static_cast<uint64_t>(samples.frames())), sink,
                   host);
}

bool copyBytes(const ByteSource& source, uint64_t offset, uint64_t bytes, ByteSink& sink, Host& host) {
  constexpr uint64_t part = 16 << 20;  // between two looks at the host
  for (uint64_t done = 0; done < bytes;) {
    const uint64_t next = std::min(bytes - done, part);
    if (!sink.writeFrom(source, offset + done, next)) return false;
    done += next;
    if (!advance(host, done, bytes)) return false;
  }
  return true;
}

}  // namespace tervo

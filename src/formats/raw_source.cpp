#include "formats/raw_source.h"

#include <algorithm>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/wave/raw_pcm.h"

namespace tervo {

bool suitsRawData(SampleFormat format) {
  return format <= SampleFormat::aLaw || format == SampleFormat::deltaPcm8 || format == SampleFormat::deltaPcm16;
}

std::optional<RawRequest> rawLayoutOf(const Waveform& waveform) {
  const StoredSamples* stored = waveform.samples ? waveform.samples->stored() : nullptr;
  const bool isPlain = stored && stored->source && stored->genericPcm && !stored->isRearranged;
  if (!isPlain || !suitsRawData(formatOf(stored->format))) return std::nullopt;
  RawRequest layout;
  layout.format = formatOf(stored->format);
  layout.byteOrder = stored->format & BigEndian ? ByteOrder::big : ByteOrder::little;
  layout.isUnsigned = stored->format & Unsigned;
  layout.splitChannels = stored->format & SplitChannels;
  layout.channels = waveform.channels();
  layout.sampleRate = waveform.sampleRate;
  layout.offset = stored->offset;
  // What is left behind the last whole frame does not count as another end.
  const auto frameBytes = static_cast<uint64_t>(bitsOf(*layout.format) * waveform.channels() + 7) / 8;
  const bool toTheEnd = stored->offset + stored->bytes + frameBytes > stored->source->size();
  if (!toTheEnd) layout.bytes = stored->bytes;
  return layout;
}

std::unique_ptr<Waveform> readAgain(const Waveform& waveform, const RawRequest& layout, Host& host,
                                    ConversionReport& report, const Settings& settings) {
  if (!rawLayoutOf(waveform)) return fail(u"Invalid format for generic import function!");
  const SourceFile file{waveform.samples->stored()->source, {}, host, report, settings, layout};
  Collection read;
  if (!readHeaderless(read, file, RawLayout{})) return nullptr;
  auto result = std::make_unique<Waveform>();
  result->swapContent(*read.waveforms()[0]);
  return result;
}

void takeSamples(Waveform& from, Waveform& to) {
  std::swap(to.samples, from.samples);
  std::swap(to.sampleRate, from.sampleRate);
  std::swap(to.storedFormat, from.storedFormat);
  std::swap(to.storedBits, from.storedBits);
  std::swap(to.coding, from.coding);
  const auto frames = static_cast<double>(to.frames());
  std::erase_if(to.markers, [&](const Marker& marker) { return marker.start >= frames; });
  for (Marker& marker : to.markers) marker.end = std::min(marker.end, frames);
}

}  // namespace tervo

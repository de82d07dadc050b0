#include "formats/raw_source.h"

#include <algorithm>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/named_coding.h"
#include "formats/wave/raw_pcm.h"

namespace tervo {

bool suitsRawData(SampleFormat format) {
  return format <= SampleFormat::aLaw || format == SampleFormat::deltaPcm8 || format == SampleFormat::deltaPcm16;
}

namespace {

const StoredSamples* storedBytesOf(const Waveform& waveform) {
  const StoredSamples* stored = waveform.samples ? waveform.samples->stored() : nullptr;
  return stored && stored->source && !stored->isRearranged ? stored : nullptr;
}

std::optional<NamedCoding> codingOf(const StoredSamples& stored, int channels) {
  // A container's description is the better one.
  if (stored.genericPcm || stored.coding.empty() || !stored.waveFormat.empty()) return std::nullopt;
  return codingNamed(stored.coding, channels);
}

/// What is left behind the last whole frame or block does not count as another end.
void setPlace(RawRequest& layout, const StoredSamples& stored, uint64_t blockBytes) {
  layout.offset = stored.offset;
  if (stored.offset + stored.bytes + blockBytes <= stored.source->size()) layout.bytes = stored.bytes;
}

RawRequest codedLayout(const Waveform& waveform, const StoredSamples& stored, const NamedCoding& coding) {
  RawRequest layout;
  if (coding.otherOrder) layout.byteOrder = coding.order;
  if (coding.takesChannels) layout.channels = waveform.channels();
  layout.sampleRate = waveform.sampleRate;
  setPlace(layout, stored, 1);
  return layout;
}

/// In the coding that it has.
std::unique_ptr<Waveform> readCodedAgain(const Waveform& waveform, StoredSamples stored, const RawRequest& layout) {
  const int channels = layout.channels.value_or(waveform.channels());
  auto coding = codingOf(stored, channels);
  if (!coding) return fail(u"Invalid format for generic import function!");
  const bool isBig = layout.byteOrder.value_or(coding->order) == ByteOrder::big;
  stored.offset = layout.offset;
  const uint64_t following = stored.source->size() - std::min(stored.offset, stored.source->size());
  stored.bytes = std::min(following, layout.bytes.value_or(following));
  if (layout.byteOrder) stored.format = (stored.format & ~BigEndian) | (isBig ? BigEndian : 0);
  const uint32_t flags = stored.format & (SplitChannels | Unsigned | BigEndian);
  const SampleFormat format = formatOf(stored.format);
  const int64_t frames = coding->framesIn(stored.bytes);
  if (frames == 0) return fail(u"Zero length");
  auto result = std::make_unique<Waveform>();
  const bool isOther = layout.byteOrder && *layout.byteOrder != coding->order;
  result->samples = makeCodedSamples(std::move(stored), channels, frames, isOther ? coding->otherOrder : coding->make);
  if (!result->samples) return nullptr;
  result->sampleRate = layout.sampleRate.value_or(waveform.sampleRate);
  result->coding = waveform.coding;
  result->setStoredFormat(format, flags);
  return result;
}

}  // namespace

std::optional<RawRequest> rawLayoutOf(const Waveform& waveform) {
  const StoredSamples* stored = storedBytesOf(waveform);
  if (!stored) return std::nullopt;
  if (const auto coding = codingOf(*stored, waveform.channels())) return codedLayout(waveform, *stored, *coding);
  if (!stored->genericPcm || !suitsRawData(formatOf(stored->format))) return std::nullopt;
  RawRequest layout;
  layout.format = formatOf(stored->format);
  layout.byteOrder = stored->format & BigEndian ? ByteOrder::big : ByteOrder::little;
  layout.isUnsigned = stored->format & Unsigned;
  layout.splitChannels = stored->format & SplitChannels;
  layout.channels = waveform.channels();
  layout.sampleRate = waveform.sampleRate;
  setPlace(layout, *stored, static_cast<uint64_t>(bitsOf(*layout.format) * waveform.channels() + 7) / 8);
  return layout;
}

std::unique_ptr<Waveform> readAgain(const Waveform& waveform, const RawRequest& layout, Host& host,
                                    ConversionReport& report, const Settings& settings) {
  const auto before = rawLayoutOf(waveform);
  if (!before) return fail(u"Invalid format for generic import function!");
  const StoredSamples& stored = *waveform.samples->stored();
  if (!before->format) return readCodedAgain(waveform, stored, layout);
  const SourceFile file{stored.source, {}, host, report, settings, layout};
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

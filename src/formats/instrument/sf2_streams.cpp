#include "formats/instrument/sf2_streams.h"

#include <algorithm>

#include "base/last_error.h"
#include "formats/codec/compressed_stream.h"

namespace tervo::sf2 {
namespace {

StoredSamples bytesOf(const Bank& bank, uint64_t start, uint64_t end) {
  StoredSamples stored;
  stored.source = bank.source;
  stored.offset = bank.samplesAt + start;
  stored.bytes = end - start;
  return stored;
}

bool beginsStream(const Bank& bank, uint64_t start) {
  if (start >= bank.sampleBytes) return false;
  FourCC head;
  bank.source->readAt(bank.samplesAt + start, std::as_writable_bytes(std::span(head.chars)));
  return head == FourCC("OggS") || head == FourCC("fLaC");
}

bool isMarked(const SampleRecord& record) {
  return (record.type & compressedSample) != 0 && !(record.type & romSample);
}

/// Only the first sample's position can look like a stream of its own where all of them are one.
bool hasOwnStreams(const Bank& bank) {
  const auto beginsOwn = [&](const SampleRecord& record) {
    const bool isWhole = record.end <= bank.sampleBytes && bank.sampleBytes - record.end <= 1;
    return record.start < record.end && (record.start > 0 || isWhole) && beginsStream(bank, record.start);
  };
  return std::any_of(bank.samples.begin(), bank.samples.end(), isMarked) ||
         std::any_of(bank.samples.begin(), bank.samples.end(), beginsOwn);
}

SampleFormat formatOf(const StreamFacts& facts) {
  if (facts.bits == 0) return SampleFormat::compressed;
  return facts.bits <= 16 ? SampleFormat::pcm16 : SampleFormat::pcm24;
}

/// What is lost while a library is missing, which the user can do something about.
void noteMissingDecoder(TextView coding, LossTally& losses) {
  if (!canDecode(coding)) losses.dropped(u"sound of samples", LastErrorText());
}

}  // namespace

void findPackedSamples(Bank& bank, LossTally& losses) {
  const bool mayBe = bank.mayBeCompressed && bank.lowBytes == 0 && bank.sampleBytes > 0;
  if (!mayBe || hasOwnStreams(bank) || !(bank.hasPackedForm || beginsStream(bank, 0))) return;
  const StoredSamples stored = bytesOf(bank, 0, bank.sampleBytes);
  const auto facts = factsOfStream(stored);
  if (!facts || facts->channels != 1) {
    bank.words = 0;
    return losses.dropped(u"samples", u"unknown or damaged compressed stream");
  }
  noteMissingDecoder(facts->coding, losses);
  bank.packed = openCompressed(stored, *facts);
  bank.packedFormat = formatOf(*facts);
  bank.words = static_cast<uint64_t>(facts->frames);
}

bool isStream(const Bank& bank, const SampleRecord& record) {
  if (isMarked(record)) return true;
  return bank.mayBeCompressed && !bank.packed && record.end <= bank.sampleBytes && record.start < record.end &&
         beginsStream(bank, record.start);
}

void openStreamOf(const Bank& bank, const SampleRecord& record, Waveform& waveform, LossTally& losses) {
  const uint64_t start = std::min<uint64_t>(record.start, bank.sampleBytes),
                 end = std::min<uint64_t>(record.end, bank.sampleBytes);
  if (start >= end)
    return losses.dropped(u"frames of a sample",
                          record.start >= record.end ? u"it ends before it starts" : u"they are not in the file");
  if (record.end > bank.sampleBytes) losses.dropped(u"end of a sample", u"it is not in the file");
  const StoredSamples stored = bytesOf(bank, start, end);
  const auto facts = factsOfStream(stored);
  if (!facts || facts->channels > 2)
    return losses.dropped(u"frames of a sample", u"unknown or damaged compressed stream");
  if (facts->isCutOff) losses.dropped(u"end of a sample", u"the compressed stream has no end");
  if (facts->channels > 1) losses.dropped(u"stereo of a sample", u"the channels of a compressed stream are mixed");
  waveform.samples = withChannels(openCompressed(stored, *facts), 1);
  waveform.setStoredFormat(formatOf(*facts), 0);
}

void noteMissingDecoders(const std::vector<Waveform*>& waveforms, LossTally& losses) {
  std::vector<TextView> seen;
  for (const Waveform* waveform : waveforms) {
    const StoredSamples* stored = waveform && waveform->samples ? waveform->samples->stored() : nullptr;
    if (!stored || stored->coding.empty() || std::find(seen.begin(), seen.end(), stored->coding) != seen.end())
      continue;
    noteMissingDecoder(seen.emplace_back(stored->coding), losses);
  }
}

}  // namespace tervo::sf2

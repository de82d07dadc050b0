#include "formats/wave/aiff_writer.h"

#include "base/byte_writer.h"
#include "base/last_error.h"
#include "core/waveform.h"
#include "formats/wave/aiff_metadata.h"
#include "formats/wave/extended_float.h"
#include "formats/wave/kept_chunks.h"
#include "formats/wave/sample_encoder.h"
#include "formats/writer_rules.h"

namespace tervo {
namespace {

constexpr uint64_t max32 = 0xFFFFFFFF;
constexpr uint64_t formSizeAt = 4;
constexpr uint64_t chunkHeaderBytes = 8, soundHeaderBytes = 8;
constexpr uint64_t fixedBytes = 12 + chunkHeaderBytes + 18 + chunkHeaderBytes + soundHeaderBytes;

/// Everything that is going to stand in the file.
struct AiffPlan {
  SampleFormat format;
  uint64_t dataBytes;
  AiffMetadata metadata;
  std::vector<const ForeignChunk*> before, after;  ///< the samples
};

int wholeBytes(SampleFormat format) {
  return bitsOf(format) / 8;
}

// Whether every value is going to be the source's.
bool samplesAreSame(const Waveform& waveform, SampleFormat format) {
  const auto* stored = waveform.samples->stored();
  return stored && stored->genericPcm && !stored->isRearranged && formatOf(stored->format) == format;
}

std::vector<const ForeignChunk*> fittingChunks(const Waveform& waveform, bool beforeSamples, const AiffPlan& plan,
                                               ConversionReport& report) {
  auto chunks = foreignChunks(waveform, aiffChunks, beforeSamples, samplesAreSame(waveform, plan.format), report);
  std::erase_if(chunks, [&](const ForeignChunk* chunk) {
    if (plan.metadata.markersAreSame || chunk->id != FourCC("COMT") || !refersToMarkers(bodyOf(*chunk))) return false;
    report.dropped(waveform.name, u"COMT chunk", u"the markers that it belongs to have changed");
    return true;
  });
  return chunks;
}

AiffPlan makePlan(const Waveform& waveform, const TargetFile& file) {
  AiffPlan plan;
  plan.format = chooseSampleFormat(file, waveform);
  plan.dataBytes = static_cast<uint64_t>(waveform.frames()) * static_cast<uint64_t>(waveform.channels()) *
                   static_cast<uint64_t>(wholeBytes(plan.format));
  plan.metadata = makeAiffMetadata(waveform, file.report);
  plan.before = fittingChunks(waveform, true, plan, file.report);
  plan.after = fittingChunks(waveform, false, plan, file.report);
  return plan;
}

uint64_t fileBytes(const AiffPlan& plan) {
  uint64_t bytes = fixedBytes + plan.dataBytes + plan.dataBytes % 2;
  const auto add = [&](uint64_t body) { bytes += chunkHeaderBytes + body + body % 2; };
  for (const auto* chunks : {&plan.metadata.beforeSamples, &plan.metadata.afterSamples}) {
    for (const auto& chunk : *chunks) add(chunk.body.size());
  }
  for (const auto* chunks : {&plan.before, &plan.after}) {
    for (const auto* chunk : *chunks) add(chunk->bytes);
  }
  return bytes;
}

void writeCommon(ByteWriter& writer, const AiffPlan& plan, const Waveform& waveform) {
  const ChunkScope chunk(writer, "COMM", ByteOrder::big);
  writer.big(static_cast<uint16_t>(waveform.channels()));
  writer.big(static_cast<uint32_t>(waveform.frames()));
  writer.big(static_cast<uint16_t>(8 * wholeBytes(plan.format)));
  writer.record(ExtendedFloat(waveform.sampleRate));
}

void writeChunks(ByteWriter& writer, const std::vector<AiffChunk>& chunks) {
  for (const auto& each : chunks) {
    const ChunkScope chunk(writer, each.id, ByteOrder::big);
    writer.bytes(each.body);
  }
}

bool writeForeign(ByteWriter& writer, const std::vector<const ForeignChunk*>& chunks) {
  for (const auto* kept : chunks) {
    const ChunkScope chunk(writer, kept->id, ByteOrder::big);
    if (!writer.sink().writeFrom(*kept->source, kept->offset, kept->bytes)) return false;
  }
  return true;
}

bool writeSound(ByteWriter& writer, const AiffPlan& plan, const Waveform& waveform, TargetFile& file) {
  const ChunkScope chunk(writer, "SSND", ByteOrder::big);
  writer.big<uint32_t>(0);  // offset
  writer.big<uint32_t>(0);  // block size: not aligned
  return writer.ok() && writeSamples(file, waveform, formatWord(plan.format, BigEndian));
}

}  // namespace

bool writeAiff(const Item& item, TargetFile& file, uint32_t) {
  if (item.kind() != ItemKind::waveform) return fail(u"The file format can not save this item");
  const auto& waveform = static_cast<const Waveform&>(item);
  if (!waveform.holdsData()) return fail(u"Empty item - nothing to save");
  const AiffPlan plan = makePlan(waveform, file);
  if (fileBytes(plan) - chunkHeaderBytes > max32) return fail(u"An AIFF file can not be larger than 4 GiB");

  ByteWriter writer(file.sink);
  writer.chars("FORM");
  writer.big<uint32_t>(0);
  writer.chars("AIFF");
  writeCommon(writer, plan, waveform);
  writeChunks(writer, plan.metadata.beforeSamples);
  if (!writeForeign(writer, plan.before)) return false;
  if (!writeSound(writer, plan, waveform, file)) return false;
  writeChunks(writer, plan.metadata.afterSamples);
  if (!writeForeign(writer, plan.after)) return false;
  writer.patch(formSizeAt, BigU32(static_cast<uint32_t>(writer.position() - chunkHeaderBytes)));
  return writer.ok();
}

}  // namespace tervo

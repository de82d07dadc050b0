#include "formats/wave/w64_writer.h"

#include "base/byte_writer.h"
#include "base/last_error.h"
#include "core/waveform.h"
#include "formats/wave/kept_chunks.h"
#include "formats/wave/w64_chunks.h"
#include "formats/wave/w64_metadata.h"
#include "formats/wave/wav_metadata.h"
#include "formats/wave/wave_format_writer.h"

namespace tervo {
namespace {

void writeHeader(ByteWriter& writer) {
  writer.record(w64Riff);
  writer.little<uint64_t>(0);  // of the file, known at the end
  writer.record(w64Wave);
}

void writeChunk(ByteWriter& writer, FourCC id, std::span<const std::byte> body) {
  if (body.empty()) return;
  const W64ChunkScope chunk(writer, id);
  writer.bytes(body);
}

bool writeForeign(ByteWriter& writer, const std::vector<const ForeignChunk*>& chunks) {
  for (const auto* kept : chunks) {
    const W64ChunkScope chunk(writer, kept->id);
    if (!writer.sink().writeFrom(*kept->source, kept->offset, kept->bytes)) return false;
  }
  return true;
}

// The last chunk is not filled up to 8 bytes: readers that go by the file's size would take the zeros for samples.
bool writeData(ByteWriter& writer, const WavePlan& plan, const Waveform& waveform, TargetFile& file) {
  writer.record(guidOf("data"));
  writer.little(plan.dataBytes + w64ChunkHeaderBytes);
  return writer.ok() && writeWaveData(plan, waveform, file);
}

void writeMetadata(ByteWriter& writer, const Waveform& waveform, ConversionReport& report) {
  const WavMetadata metadata(waveform, report);
  writeW64Markers(writer, waveform, report);
  writeW64Summary(writer, waveform.tags, metadata.keptInfo());
  writeChunk(writer, "smpl", metadata.sampler());
  writeChunk(writer, "inst", metadata.instrument());
  writeChunk(writer, "id3 ", metadata.id3());
  for (const auto& label : metadata.keptLabels()) {
    if (label.id != FourCC("ltxt"))
      report.dropped(waveform.name, u"text of a cue point", u"Wave-64 has no place for it");
  }
}

}  // namespace

bool writeW64(const Item& item, TargetFile& file, uint32_t) {
  if (item.kind() != ItemKind::waveform) return fail(u"The file format can not save this item");
  const auto& waveform = static_cast<const Waveform&>(item);
  if (!waveform.holdsData()) return fail(u"Empty item - nothing to save");
  const auto plan = planWave(waveform, file, WaveForm::plain);
  if (!plan) return false;

  // The samples come last: common readers stop behind them, or take what follows for samples.
  ByteWriter writer(file.sink);
  writeHeader(writer);
  writeChunk(writer, "fmt ", plan->format);
  if (plan->needsFrameCount) {
    const W64ChunkScope chunk(writer, "fact");
    writer.little(static_cast<uint64_t>(waveform.frames()));
  }
  writeMetadata(writer, waveform, file.report);
  for (const bool beforeSamples : {true, false}) {
    if (!writeForeign(writer, foreignChunks(waveform, riffChunks, beforeSamples, plan->isVerbatim, file.report)))
      return false;
  }
  if (!writeData(writer, *plan, waveform, file)) return false;
  writer.patch(sizeof(Guid), LittleU64(writer.position()));
  return writer.ok();
}

}  // namespace tervo

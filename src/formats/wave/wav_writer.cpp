#include "formats/wave/wav_writer.h"

#include <algorithm>

#include "base/byte_writer.h"
#include "base/last_error.h"
#include "core/waveform.h"
#include "formats/wave/kept_chunks.h"
#include "formats/wave/wav_metadata.h"
#include "formats/wave/wave_format_writer.h"

namespace tervo {
namespace {

constexpr uint64_t max32 = 0xFFFFFFFF;
// Header, "fmt " and the header of "data" together, beside the samples.
constexpr uint64_t smallestOverhead = 48;
constexpr uint64_t riffSizeAt = 4, sizes64At = 20;

enum class Size { bits32, bits64 };

void writeHeader(ByteWriter& writer, Size size, const WavePlan& plan, const Waveform& waveform) {
  writer.chars(size == Size::bits64 ? "RF64" : "RIFF");
  writer.little(static_cast<uint32_t>(size == Size::bits64 ? max32 : 0));
  writer.chars("WAVE");
  if (size == Size::bits32) return;
  const ChunkScope sizes(writer, "ds64");
  writer.little<uint64_t>(0);  // of the file, known at the end
  writer.little(plan.dataBytes);
  writer.little(static_cast<uint64_t>(waveform.frames()));
  writer.little<uint32_t>(0);
}

void writeFormat(ByteWriter& writer, const WavePlan& plan) {
  const ChunkScope chunk(writer, "fmt ");
  writer.bytes(plan.format);
}

void writeFrameCount(ByteWriter& writer, const Waveform& waveform) {
  const ChunkScope chunk(writer, "fact");
  writer.little(static_cast<uint32_t>(std::min(static_cast<uint64_t>(waveform.frames()), max32)));
}

bool writeData(ByteWriter& writer, Size size, const WavePlan& plan, const Waveform& waveform, TargetFile& file) {
  writer.chars("data");
  writer.little(static_cast<uint32_t>(size == Size::bits64 ? max32 : plan.dataBytes));
  if (!writer.ok() || !writeWaveData(plan, waveform, file)) return false;
  if (plan.dataBytes % 2 == 1) writer.u8(static_cast<uint8_t>(plan.padding));
  return writer.ok();
}

void writeChunk(ByteWriter& writer, FourCC id, std::span<const std::byte> body) {
  if (body.empty()) return;
  const ChunkScope chunk(writer, id);
  writer.bytes(body);
}

void writeMetadata(ByteWriter& writer, const Waveform& waveform, ConversionReport& report) {
  WavMetadata metadata(waveform, report);
  writeInfoTags(writer, waveform.tags, metadata.keptInfo());
  const auto cues = metadata.takeCues();
  if (!cues.empty()) writeCues(writer, cues, metadata.keptLabels());
  writeChunk(writer, "smpl", metadata.sampler());
  writeChunk(writer, "inst", metadata.instrument());
  writeChunk(writer, "id3 ", metadata.id3());
}

bool writeForeign(ByteWriter& writer, const std::vector<const ForeignChunk*>& chunks) {
  for (const auto* kept : chunks) {
    const ChunkScope chunk(writer, kept->id);
    if (!writer.sink().writeFrom(*kept->source, kept->offset, kept->bytes)) return false;
  }
  return true;
}

void patchSizes(ByteWriter& writer, Size size) {
  const uint64_t riffSize = writer.position() - 8;
  if (size == Size::bits64) {
    writer.patch(sizes64At, LittleU64(riffSize));
  } else {
    writer.patch(riffSizeAt, LittleU32(static_cast<uint32_t>(std::min(riffSize, max32))));
  }
}

}  // namespace

bool writeWav(const Item& item, TargetFile& file, uint32_t variant) {
  if (item.kind() != ItemKind::waveform) return fail(u"The file format can not save this item");
  const auto& waveform = static_cast<const Waveform&>(item);
  if (!waveform.holdsData()) return fail(u"Empty item - nothing to save");
  const auto plan = planWave(waveform, file, variant == extensibleWavVariant ? WaveForm::extensible : WaveForm::plain);
  if (!plan) return false;

  const Size size = plan->dataBytes + smallestOverhead > max32 ? Size::bits64 : Size::bits32;
  ByteWriter writer(file.sink);
  writeHeader(writer, size, *plan, waveform);
  writeFormat(writer, *plan);
  if (!writeForeign(writer, foreignChunks(waveform, riffChunks, true, plan->isVerbatim, file.report))) return false;
  if (plan->needsFrameCount) writeFrameCount(writer, waveform);
  if (!writeData(writer, size, *plan, waveform, file)) return false;
  writeMetadata(writer, waveform, file.report);
  if (!writeForeign(writer, foreignChunks(waveform, riffChunks, false, plan->isVerbatim, file.report))) return false;
  patchSizes(writer, size);
  return writer.ok();
}

}  // namespace tervo

#include "formats/wave/raw_pcm.h"

#include <algorithm>
#include <cmath>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/wave/headerless_losses.h"
#include "formats/wave/pcm_import.h"
#include "formats/wave/sample_encoder.h"
#include "formats/writer_rules.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr double lowestRate = 1, highestRate = 768000;  // Hz, what a waveform may have

uint32_t layoutFlags(uint32_t usual, const RawRequest& raw) {
  uint32_t flags = usual;
  if (raw.byteOrder) flags = (flags & ~BigEndian) | (*raw.byteOrder == ByteOrder::big ? BigEndian : 0);
  if (raw.isUnsigned) flags |= Unsigned;
  if (raw.splitChannels) flags |= SplitChannels;
  return flags;
}

RawLayout asRequested(const RawLayout& usual, const RawRequest& raw) {
  const uint32_t usualFlags = usual.format & (SplitChannels | Unsigned | BigEndian);
  return {formatWord(raw.format.value_or(formatOf(usual.format)), layoutFlags(usualFlags, raw)),
          raw.channels.value_or(usual.channels), raw.sampleRate.value_or(usual.sampleRate), usual.offset + raw.offset};
}

/// How many whole frames the bytes from the offset on make; those left over are reported.
int64_t wholeFrames(const SourceFile& file, const RawLayout& layout) {
  const uint64_t size = file.bytes->size();
  const uint64_t following = size - std::min(size, layout.offset);
  const uint64_t bytes = std::min(following, file.raw.bytes.value_or(following));
  const auto frameBits = static_cast<uint64_t>(bitsOf(formatOf(layout.format)) * std::clamp(layout.channels, 1, 2));
  if (frameBits == 0) return static_cast<int64_t>(bytes);  // no sample format: for the import to refuse
  const uint64_t frames = bytes / frameBits * 8 + bytes % frameBits * 8 / frameBits;
  const uint64_t used = frames / 8 * frameBits + (frames % 8 * frameBits + 7) / 8;
  reportBytesLeftOver(file, bytes - std::min(used, bytes));
  return static_cast<int64_t>(frames);
}

/// How a run of bytes moves, seen as signed and as unsigned samples.
struct Motion {
  double energy = 0;                               ///< about the mean, of the signed samples
  double meanEnergy = 0;                           ///< of the mean alone
  double change = 0;                               ///< squared differences of neighbours
  std::size_t signedJumps = 0, unsignedJumps = 0;  ///< neighbours half the range apart or more
};

Motion motionOf(std::span<const std::byte> bytes) {
  Motion motion;
  double sum = 0, squares = 0;
  int last = static_cast<int8_t>(bytes[0]);
  for (const std::byte byte : bytes) {
    const int value = static_cast<int8_t>(byte);
    const int step = value - last;
    const int unsignedStep = static_cast<uint8_t>(value) - static_cast<uint8_t>(last);
    sum += value;
    squares += value * value;
    motion.change += step * step;
    motion.signedJumps += std::abs(step) >= 128;
    motion.unsignedJumps += std::abs(unsignedStep) >= 128;
    last = value;
  }
  motion.meanEnergy = sum * sum / static_cast<double>(bytes.size());
  motion.energy = squares - motion.meanEnergy;
  return motion;
}

}  // namespace

bool readHeaderless(Collection& collection, const SourceFile& file, const RawLayout& usual) {
  const RawLayout layout = asRequested(usual, file.raw);
  if (!(layout.sampleRate >= lowestRate && layout.sampleRate <= highestRate)) return fail(u"Invalid sample rate");

  StoredSamples stored;
  stored.source = file.bytes;
  stored.offset = layout.offset;
  stored.format = layout.format;
  auto waveform = std::make_unique<Waveform>();
  waveform->samples = importPcm(std::move(stored), layout.channels, wholeFrames(file, layout));
  if (!waveform->samples) return false;
  waveform->name = platform::stemOf(file.path);
  waveform->sampleRate = layout.sampleRate;
  waveform->setStoredFormat(formatOf(layout.format), layout.format & (SplitChannels | Unsigned | BigEndian));
  collection.add(std::move(waveform));
  return true;
}

bool readRaw(Collection& collection, const SourceFile& file, uint32_t) {
  return readHeaderless(collection, file, RawLayout{});
}

bool readStereoWords(Collection& collection, const SourceFile& file, uint32_t variant) {
  return readHeaderless(collection, file, RawLayout{formatWord(SampleFormat::pcm16, BigEndian), 2, double(variant)});
}

bool writeHeaderless(const Item& item, TargetFile& file, uint32_t variant) {
  if (item.kind() != ItemKind::waveform) return fail(u"The file format can not save this item");
  const auto& waveform = static_cast<const Waveform&>(item);
  const SampleFormat format = chooseSampleFormat(file, waveform);
  reportHeaderlessLosses(file, waveform, headerlessRate(format));
  return writeSamples(file, waveform, formatWord(format, variant));
}

int detectSignedBytes(std::span<const std::byte> head, uint32_t, uint64_t) {
  constexpr std::size_t enoughToTell = 256;
  if (head.size() < enoughToTell) return 1;
  const Motion motion = motionOf(head);
  const bool smooth = motion.change * 4 < motion.energy;
  const bool centred = motion.meanEnergy < motion.energy;
  // Where sound crosses zero, unsigned samples seen as signed ones jump, and the other way round.
  const bool crossesZeroAsSigned = motion.signedJumps * 8 < motion.unsignedJumps;
  return smooth && centred && crossesZeroAsSigned ? 2 : 1;
}

}  // namespace tervo

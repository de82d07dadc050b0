#pragma once
// The samples of a bank as waveforms, which stay in the file until somebody plays or writes them.

#include <vector>

#include "core/collection.h"
#include "formats/format_table.h"
#include "formats/instrument/sf2_bank.h"

namespace tervo::sf2 {

/// 24-bit samples whose upper 16 bits ("smpl") and lower 8 bits ("sm24") stand in two places of one file.
class SplitSamples final : public SampleData {
 public:
  SplitSamples(std::shared_ptr<const ByteSource> source, uint64_t wordsAt, uint64_t lowBytesAt, int64_t frames);

  std::unique_ptr<SampleStream> open(int64_t firstFrame) const override;

  const ByteSource& source() const { return *source_; }
  uint64_t wordsAt() const { return wordsAt_; }
  uint64_t lowBytesAt() const { return lowBytesAt_; }

 private:
  std::shared_ptr<const ByteSource> source_;
  uint64_t wordsAt_, lowBytesAt_;
};

/// A waveform with everything that the record says; without frames, and noted, where the record makes no sense. Null
/// with LastErrorText when the samples are coded in a way that cannot be read.
std::unique_ptr<Waveform> makeWaveform(const Bank& bank, const SampleRecord& record, LossTally& losses);

/// Adds a waveform for every sample of the bank. Those in the ROM of a sound card are taken from another bank or left
/// out. The waveforms by their index in the bank, null for those left out; nothing with LastErrorText.
std::optional<std::vector<Waveform*>> addWaveforms(Collection& collection, const Bank& bank, const SourceFile& file,
                                                   LossTally& losses);

}  // namespace tervo::sf2

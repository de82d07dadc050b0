#pragma once
// Samples that a bank expects in the ROM of a sound card, taken from a bank with the content of that ROM.

#include "formats/instrument/sf2_samples.h"

namespace tervo::sf2 {

/// For one bank that is being read: asks when the first sample is wanted, and looks for the other bank once.
class RomSamples {
 public:
  explicit RomSamples(const SourceFile& file) : file_(file) {}

  /// Null when there is none, or when the user does without.
  std::unique_ptr<Waveform> load(std::size_t index, LossTally& losses);

 private:
  void find(LossTally& losses);

  const SourceFile& file_;
  bool looked_ = false;
  std::unique_ptr<Bank> bank_;
};

}  // namespace tervo::sf2

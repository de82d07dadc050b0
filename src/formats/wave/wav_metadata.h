#pragma once
// What a WAV or W64 file says about a waveform beside its samples, as the writers put it together: from the model, and
// from the chunks of the source where those still say the same and hold more.

#include <optional>
#include <unordered_set>
#include <vector>

#include "core/report.h"
#include "core/waveform.h"
#include "formats/wave/info_tags.h"
#include "formats/wave/wav_loops.h"
#include "formats/wave/wav_markers.h"

namespace tervo {

/// Texts of a WAV or W64 source that no tag stands for.
std::vector<KeptInfo> keptInfoOf(const Waveform& waveform);
/// Sub-chunks of the labels of a WAV source.
std::vector<KeptLabel> keptLabelsOf(const Waveform& waveform);

/// The body of the "ID3 " chunk: the source's while the tags still say the same, else a new one; empty where the
/// source has none and none is needed.
enum class Id3Need : uint8_t { no, yes };
std::vector<std::byte> id3Body(const Waveform& waveform, Id3Need need, ConversionReport& report);

class WavMetadata {
 public:
  /// Reports what neither kind of file can hold.
  WavMetadata(const Waveform& waveform, ConversionReport& report);

  std::vector<KeptInfo> keptInfo() const { return keptInfoOf(waveform_); }
  /// Markers, and loops that have a name. Call it once.
  std::vector<CueEntry> takeCues();
  const std::vector<KeptLabel>& keptLabels() const { return keptLabels_; }
  /// Bodies of "smpl", "inst" and "id3 "; empty where there is nothing to say.
  std::vector<std::byte> sampler() const;
  std::vector<std::byte> instrument() const;
  std::vector<std::byte> id3() const;

 private:
  void readSourceCues();
  void readSourceSampler();
  uint32_t takeId(uint32_t wanted);
  uint32_t frameOf(double position, TextView what) const;
  void addLoopCues(std::vector<CueEntry>& cues) const;
  const CuePoint* sourcePoint(uint32_t cueId) const;
  std::vector<std::byte> sourceInstrument() const;
  bool instrumentSaysPitch() const;
  bool needsSampler() const;
  void approximated(TextView what, double from, double to) const;
  void reportLosses() const;

  const Waveform& waveform_;
  ConversionReport& report_;
  std::vector<const Marker*> loops_;

  CueList sourceCues_;
  std::vector<KeptLabel> keptLabels_;
  std::vector<std::byte> samplerBody_;
  std::optional<SamplerData> sourceSampler_;  ///< set while it says the same as the model

  bool zeroIsCueId_ = false;
  uint32_t nextId_ = 1;
  std::unordered_set<uint32_t> usedIds_;
  std::vector<uint32_t> loopIds_;
};

}  // namespace tervo

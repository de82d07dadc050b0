#pragma once
// The writing side of "fmt " and "data": which form a waveform takes in a WAV or W64 file, and its bytes.

#include <optional>
#include <vector>

#include "core/waveform.h"
#include "formats/format_table.h"

namespace tervo {

enum class WaveForm : uint8_t { plain, extensible };

/// How a waveform is going to stand in the file.
struct WavePlan {
  std::vector<std::byte> format;  ///< body of "fmt "
  uint64_t dataBytes = 0;
  SampleFormat sampleFormat = SampleFormat::none;
  bool isVerbatim = false;       ///< the source's bytes are copied as they are
  bool needsFrameCount = false;  ///< "fact" has to say the number of frames
  std::byte padding{};           ///< what fills up an odd number of bytes
};

/// Settles the form. Nothing, with LastErrorText, when the waveform cannot be stored so ("Unsupported subformat").
std::optional<WavePlan> planWave(const Waveform& waveform, const TargetFile& file, WaveForm form);

/// Writes exactly plan.dataBytes bytes of samples. False with LastErrorText.
bool writeWaveData(const WavePlan& plan, const Waveform& waveform, TargetFile& file);

}  // namespace tervo

#pragma once
// Loudness by EBU R 128 (ITU-R BS.1770), by libebur128.

#include <memory>
#include <optional>
#include <span>

namespace tervo::dsp {

class LoudnessMeter {
 public:
  /// Null with LastErrorText for rates that cannot be measured (16 Hz to 2.8 MHz can), or when memory is short.
  static std::unique_ptr<LoudnessMeter> create(int channels, double sampleRate);
  virtual ~LoudnessMeter() = default;

  /// Whole frames, one block after another. Samples that are not finite count as silence.
  virtual bool add(std::span<const float> frames) = 0;
  /// Integrated loudness in LUFS; nothing when no 400 ms were as loud as -70 LUFS.
  virtual std::optional<double> loudness() const = 0;
  /// The highest peak between the samples of any channel, 1.0 being full scale.
  virtual double truePeak() const = 0;
};

}  // namespace tervo::dsp

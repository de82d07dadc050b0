#pragma once
// Plays a waveform as it is: its loop, no articulation. It keeps the frames that it plays, whatever becomes of the
// waveform meanwhile.

#include <atomic>
#include <memory>
#include <vector>

#include "audio/engine/sinc_table.h"
#include "audio/output/audio_source.h"
#include "audio/output/fade_out.h"
#include "audio/output/loop_path.h"
#include "core/waveform.h"

namespace tervo::audio {

class AudioOutput;

class WaveformPlayer final : public AudioSource {
 public:
  struct Setup {
    double startFrame = 0;
    float gain = 1;
    uint32_t deviceRate = 48000;  ///< Hz
    double longestSeconds = 0;    ///< 0: to its end, for ever where a loop is never left
  };

  /// Null with "No wave data" when there are no frames, else with LastErrorText when they cannot be read.
  static std::shared_ptr<WaveformPlayer> create(const Waveform& waveform, const Setup& setup);

  // Any thread.
  /// Leaves a loop that plays until release.
  void release() noexcept { released_ = true; }
  /// Ends within milliseconds, without a click.
  void stop() noexcept { end_.stop(); }
  bool isFinished() const noexcept override { return finished_; }
  /// The frame of the waveform that is played now.
  double position() const noexcept { return position_; }
  /// How long it has been heard.
  double seconds() const noexcept { return static_cast<double>(framesPlayed_) * secondsPerFrame_; }

  std::size_t render(std::span<float> stereo) noexcept override;

 private:
  /// The frames in memory: all of them, or those that can be reached in the time.
  struct Frames {
    std::shared_ptr<const void> owner;
    std::span<const float> interleaved;
    int64_t count = 0;
    int channels = 1;
  };
  WaveformPlayer(const Waveform& waveform, const Setup& setup, LoopPath path, Frames frames);
  static Frames load(const SampleData& samples, int64_t framesNeeded);

  bool renderFrame(float* stereo) noexcept;
  void gather(int64_t first) noexcept;
  void takeFrame(const Stretch& stretch, double u, float* frame) const noexcept;
  bool advance() noexcept;

  LoopPath path_;
  Frames frames_;
  SincTable sinc_;
  float gain_;
  double step_;      ///< frames of the waveform a frame of the device
  double loopStep_;  ///< the same inside the loop
  double secondsPerFrame_;

  // Audio thread.
  std::optional<Stretch> before_;
  Stretch now_;
  std::optional<Stretch> next_;
  double u_;
  FadeOut end_;
  std::vector<float> weights_, taps_;

  std::atomic<bool> released_{false}, finished_{false};
  std::atomic<double> position_{0};
  std::atomic<int64_t> framesPlayed_{0};
};

/// Plays a waveform on the shared device, which is opened when it is not yet. Null with LastErrorText: "No wave data",
/// "Could not open audio output device".
std::shared_ptr<WaveformPlayer> playWaveform(AudioOutput& output, const Waveform& waveform, double startFrame,
                                             float gain, double longestSeconds = 0);

}  // namespace tervo::audio

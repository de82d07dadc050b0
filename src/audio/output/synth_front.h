#pragma once
// The synthesizer on the output device: renders the engine into the device's buffers and ends notes where that takes
// too long.

#include <atomic>
#include <memory>
#include <optional>

#include "audio/engine/engine.h"
#include "audio/output/audio_source.h"
#include "audio/output/fade_out.h"
#include "audio/render/song_performance.h"

namespace tervo::audio {

class AudioOutput;

class SynthFront final : public AudioSource {
 public:
  struct Setup {
    int voices = 128;
    float masterGain = 0;  ///< 0: what leaves room for so many voices
    float outputGain = 1;  ///< on what the engine made
    bool hasEffects = true;
    int workers = 0;
    std::size_t instrumentCapacity = 256;
  };

  /// Null with LastErrorText. `bufferFrames` 0: the device waits, however long rendering takes.
  static std::shared_ptr<SynthFront> create(const Setup& setup, uint32_t sampleRate, uint32_t bufferFrames);

  Engine& engine() { return *engine_; }
  /// Before it is attached: plays these messages and then ends, instead of what is posted.
  void perform(SongEvents events, std::optional<double> tailSeconds);
  /// Before it is attached: ends after so many seconds, whatever sounds.
  void endAfter(double seconds) { end_.limit(seconds); }
  /// Seconds of the performance.
  double seconds() const noexcept { return seconds_; }

  /// Any thread: a message that is to be heard as long after now as every other one.
  bool post(MidiMessage message) noexcept;
  /// Part of a buffer's time that rendering the last one took.
  float load() const noexcept { return load_; }
  /// Ends within milliseconds, without a click.
  void stop() noexcept { end_.stop(); }

  std::size_t render(std::span<float> stereo) noexcept override;
  bool isFinished() const noexcept override { return finished_; }

 private:
  SynthFront(std::unique_ptr<Engine> engine, const Setup& setup, uint32_t bufferFrames);
  std::size_t renderPerformance(std::span<float> stereo) noexcept;
  std::size_t finished(std::span<float> stereo) noexcept;

  std::unique_ptr<Engine> engine_;
  float outputGain_;
  uint32_t bufferFrames_;
  double loadFactor_;  ///< load for a tick of the clock
  SongEvents events_;
  std::optional<SongPerformance> performance_;

  // Audio thread.
  FadeOut end_;
  float rendered_[2 * blockFrames * mostTogether] = {};
  std::size_t framesRendered_ = 0, framesUsed_ = 0;  ///< of these; handed out of them

  std::atomic<bool> finished_{false};
  std::atomic<float> load_{0};
  std::atomic<double> seconds_{0};
  std::atomic<int64_t> bufferTime_{0};   ///< the engine's time behind the buffer that was rendered last
  std::atomic<int64_t> bufferClock_{0};  ///< when that was begun, in ticks of the clock
};

/// The gain that leaves room for so many voices: the sum of V uncorrelated ones grows as the square root of V.
float liveMasterGain(int voices);

/// Puts a synthesizer on the shared device, which is opened when it is not yet. Null with LastErrorText: "Couldn't open
/// the audio device!".
std::shared_ptr<SynthFront> startSynth(AudioOutput& output, const SynthFront::Setup& setup);

}  // namespace tervo::audio

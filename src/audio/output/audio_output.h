#pragma once
// The output device, one for the whole program, and who plays on it. Document thread.

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "audio/output/mixer.h"

namespace tervo::audio {

class AudioOutput {
 public:
  using Opener = std::function<std::unique_ptr<platform::AudioDevice>(const platform::AudioRequest&)>;

  explicit AudioOutput(platform::AudioRequest request, Opener opener = platform::AudioDevice::open);
  ~AudioOutput();
  AudioOutput(const AudioOutput&) = delete;
  AudioOutput& operator=(const AudioOutput&) = delete;

  /// Opens the device unless it is open; one that was lost is opened anew. False with LastErrorText: "Could not enable
  /// audio device exclusive mode", or else `failure`.
  bool openFor(TextView failure);
  /// What the system said when the device could not be opened.
  const Text& cause() const { return cause_; }
  /// Stops all sources and gives the device back; playing opens it again.
  void close();

  /// What the device turned out to take. Only while it is open.
  const platform::AudioFormat& format() const { return device_->format(); }
  uint32_t bufferFrames() const { return device_->bufferFrames(); }
  platform::VolumeRange volumeRange() const;
  /// Asks for frames at the speed at which they sound.
  bool keepsTime() const { return device_->keepsTime(); }

  /// Plays a source until it is finished or detached; the device must be open. False with LastErrorText.
  bool attach(std::shared_ptr<AudioSource> source);
  void detach(const AudioSource& source);
  bool isPlaying(const AudioSource& source) const;

  enum class State : uint8_t { closed, open, lost };
  /// Lost: the device has gone, or has asked for nothing for seconds.
  State state();
  /// Lets what was handed over be heard, then closes. False with LastErrorText where it could not be.
  bool finish();

  /// Part of the time of a buffer that filling one took at most.
  float highestLoad() const { return mixer_ ? mixer_->highestLoad() : 0; }

 private:
  bool open();
  bool isStuck();
  void dropFinished();

  platform::AudioRequest request_;
  Opener opener_;
  std::shared_ptr<Mixer> mixer_;
  std::unique_ptr<platform::AudioDevice> device_;
  std::vector<std::shared_ptr<AudioSource>> sources_;
  Text cause_;

  // When the device was last seen to go on.
  uint32_t seenBuffers_ = 0;
  std::chrono::steady_clock::time_point seenAt_{};
};

}  // namespace tervo::audio

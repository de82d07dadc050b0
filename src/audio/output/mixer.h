#pragma once
// Mixes the attached sources into the buffers of a device, in the device's coding. Sources come and go while it plays:
// the audio thread never waits for that.

#include <array>
#include <atomic>
#include <vector>

#include "audio/output/audio_source.h"
#include "platform/audio_device.h"

namespace tervo::audio {

class Mixer final : public platform::AudioClient {
 public:
  Mixer(const platform::AudioFormat& format, uint32_t bufferFrames);

  // Document thread.
  /// False when there are too many. The source stays the caller's, who detaches it before it goes.
  bool attach(AudioSource& source);
  /// When it returns, the audio thread does not touch the source any more: it waits for one buffer at most.
  void detach(const AudioSource& source);

  // Audio thread.
  std::size_t fill(std::span<std::byte> buffer) noexcept override;

  /// How many buffers have been filled. Any thread.
  uint32_t buffersFilled() const { return turn_ / 2; }
  /// The longest time that filling a buffer took, as a part of the time that the buffer lasts.
  float highestLoad() const { return highestLoad_; }

 private:
  std::size_t mix(std::size_t frames) noexcept;
  void encode(std::size_t frames, std::span<std::byte> buffer) noexcept;

  static constexpr std::size_t mostSources = 32;

  platform::AudioFormat format_;
  std::array<std::atomic<AudioSource*>, mostSources> sources_{};
  std::atomic<uint32_t> turn_{0};  ///< odd while a buffer is being filled
  std::atomic<float> highestLoad_{0};

  // Audio thread.
  std::vector<float> mix_, part_;  ///< stereo
  std::vector<float> frames_;      ///< in the device's channels
};

}  // namespace tervo::audio

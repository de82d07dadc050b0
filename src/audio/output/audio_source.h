#pragma once
// Something that the shared output device plays.

#include <cstddef>
#include <span>

namespace tervo::audio {

class AudioSource {
 public:
  virtual ~AudioSource() = default;

  /// Audio thread: writes interleaved stereo frames at the device's rate and returns how many; fewer than there is room
  /// for only where the sound ends or does not run. Must not allocate, lock or wait.
  virtual std::size_t render(std::span<float> stereo) noexcept = 0;
  /// It will never sound again. Any thread.
  virtual bool isFinished() const noexcept = 0;
};

}  // namespace tervo::audio

#pragma once
// The end of a sound that is broken off, without a click: down to nothing within 5 ms.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>

namespace tervo::audio {

class FadeOut {
 public:
  /// With seconds above 0 the sound is over after so long.
  explicit FadeOut(double deviceRate, double longestSeconds = 0)
      : fadeFrames_(static_cast<int>(fadeSeconds * deviceRate)), fadeLeft_(fadeFrames_), deviceRate_(deviceRate) {
    limit(longestSeconds);
  }
  /// Before it is heard.
  void limit(double longestSeconds) {
    if (longestSeconds > 0) framesLeft_ = std::llround(longestSeconds * deviceRate_);
  }

  /// Any thread.
  void stop() noexcept { stopping_ = true; }
  bool isStopping() const noexcept { return stopping_; }

  // Audio thread.
  /// The factor for the next frame: 1 until it is stopped.
  float next() noexcept {
    if (framesLeft_ >= 0 && framesLeft_-- <= fadeFrames_) stopping_ = true;
    if (!stopping_) return 1;
    return static_cast<float>(std::max(fadeLeft_--, 0)) / static_cast<float>(fadeFrames_);
  }
  bool isOver() const noexcept { return fadeLeft_ <= 0; }

 private:
  static constexpr double fadeSeconds = 0.005;

  int fadeFrames_, fadeLeft_;
  double deviceRate_;
  int64_t framesLeft_ = -1;  ///< of the device; negative: no limit
  std::atomic<bool> stopping_{false};
};

}  // namespace tervo::audio

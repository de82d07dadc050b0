#pragma once
// The way through a waveform as its loop has it heard: stretches that are played forwards or backwards, one after
// another.

#include <cstdint>
#include <optional>

#include "core/waveform.h"

namespace tervo::audio {

/// Frames that are heard without a jump: at position u, entry <= u < end, that is frame origin + direction * u. Entry
/// and end may be fractions; the origin never is.
struct Stretch {
  int64_t origin = 0;
  int direction = 1;
  double entry = 0;
  double end = 0;
  int pass = 1;         ///< how often the loop has begun, this time included
  bool isRest = false;  ///< nothing follows

  double frameAt(double u) const { return static_cast<double>(origin) + direction * u; }
  double length() const { return end - entry; }
};

class LoopPath {
 public:
  /// `loop` may be null, off or outside the frames: the waveform then plays once.
  LoopPath(const Marker* loop, int64_t frames);

  /// From a frame on; behind the loop's end there is no loop any more.
  Stretch first(double startFrame) const;
  /// What follows a stretch, once the key is up or while it is down; nothing behind the last frame.
  std::optional<Stretch> after(const Stretch& stretch, bool isReleased) const;

  bool loops() const { return type_ != LoopType::off; }
  double loopStart() const { return start_; }
  double loopEnd() const { return end_; }

 private:
  bool isLast(const Stretch& stretch, bool isReleased) const;
  Stretch forwards(double from, double to, int pass) const;
  Stretch backwards(int pass) const;
  Stretch rest(double from, int pass) const;

  double frames_;
  LoopType type_ = LoopType::off;
  double start_ = 0, end_ = 0;
  uint8_t count_ = loopForever;
};

}  // namespace tervo::audio

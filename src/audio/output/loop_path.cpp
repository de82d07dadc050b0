#include "audio/output/loop_path.h"

#include <algorithm>
#include <cmath>

namespace tervo::audio {
namespace {

constexpr double shortestLoop = 1;  // frames

}  // namespace

LoopPath::LoopPath(const Marker* loop, int64_t frames) : frames_(static_cast<double>(frames)) {
  if (!loop || loop->loopType == LoopType::off) return;
  start_ = std::max(loop->start, 0.0);
  end_ = std::min(loop->end, frames_);
  count_ = loop->loopCount;
  // Turning round at both ends, a loop hears its outermost frames once each time.
  const double needed = loop->loopType == LoopType::alternating ? shortestLoop + 1 : shortestLoop;
  if (end_ - start_ >= needed) type_ = loop->loopType;
}

Stretch LoopPath::forwards(double from, double to, int pass) const {
  const double whole = std::floor(from);
  return {static_cast<int64_t>(whole), 1, from - whole, to - whole, pass};
}

/// From the loop's last frame down to its first one, which a turn leaves to the way up.
Stretch LoopPath::backwards(int pass) const {
  const double last = end_ - 1, whole = std::ceil(last);
  const double length = type_ == LoopType::reverse ? end_ - start_ : end_ - 1 - start_;
  return {static_cast<int64_t>(whole), -1, whole - last, whole - last + length, pass};
}

Stretch LoopPath::rest(double from, int pass) const {
  Stretch stretch = forwards(from, frames_, pass);
  stretch.isRest = true;
  return stretch;
}

Stretch LoopPath::first(double startFrame) const {
  const double from = std::clamp(startFrame, 0.0, frames_);
  if (!loops() || from > end_ - 1) return rest(from, 0);
  if (type_ == LoopType::forward) return forwards(from, end_, 1);
  return forwards(from, end_ - 1, type_ == LoopType::reverse ? 0 : 1);
}

/// Whether the loop is left behind this stretch.
bool LoopPath::isLast(const Stretch& stretch, bool isReleased) const {
  if (count_ == loopForever) return false;
  return count_ == loopUntilRelease ? isReleased : stretch.pass >= count_;
}

std::optional<Stretch> LoopPath::after(const Stretch& stretch, bool isReleased) const {
  if (stretch.isRest) return std::nullopt;
  const int pass = stretch.pass + 1;
  const bool isLeft = isLast(stretch, isReleased);
  if (type_ == LoopType::forward) return isLeft ? rest(end_, pass) : forwards(start_, end_, pass);
  if (type_ == LoopType::alternating && stretch.direction < 0) return forwards(start_, end_ - 1, pass);
  // A reversed pass has heard the loop's last frame first; where nothing is reversed it is still to come.
  const bool hasHeardLast = stretch.direction < 0;
  return isLeft ? rest(hasHeardLast ? end_ : end_ - 1, pass) : backwards(pass);
}

}  // namespace tervo::audio

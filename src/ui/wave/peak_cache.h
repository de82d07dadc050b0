#pragma once
// The smallest and the largest sample of every stretch of a waveform, so that drawing all of it does not read all of
// it. Made once, by a thread in the background, and drawn as far as it has got.

#include <QObject>
#include <atomic>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "core/sample_data.h"

namespace tervo::ui {

struct Peak {
  float low = 0;
  float high = 0;
};

class PeakCache final : public QObject {
  Q_OBJECT
 public:
  /// Frames of one stretch at the finest level; each level above has stretches 16 times as long.
  static constexpr int64_t finest = 256, ratio = 16;

  PeakCache() = default;
  ~PeakCache() override { stop(); }

  /// Starts reading, and forgets what was before.
  void setSamples(SampleRef samples);
  const SampleRef& samples() const { return samples_; }

  /// How many frames have been read, from the first on. Any thread.
  int64_t framesDone() const { return framesDone_; }
  bool isComplete() const { return samples_ && framesDone_ == samples_->frames(); }
  /// The extremes of a channel over [first, end), to the precision of the stretches of the level that fits so many
  /// frames; nothing where nothing has been read yet.
  std::optional<Peak> peak(int channel, double first, double end) const;
  /// Whether so few frames a pixel must be drawn from the samples themselves.
  static bool isTooCoarseFor(double framesPerPixel) { return framesPerPixel < static_cast<double>(2 * finest); }

  /// Waits for the end of the reading. For tests and pictures.
  void wait();

 Q_SIGNALS:
  /// Some more has been read; from the reading thread.
  void grown();

 private:
  void start();
  void stop();
  void read(const std::atomic<bool>& stopping);
  void finish(std::span<const float> frames, int64_t stretch);
  void raise(int64_t stretch);

  SampleRef samples_;
  std::vector<std::vector<Peak>> levels_;  ///< by level, interleaved channels
  mutable std::mutex filling_;             ///< held while a stretch is filled in or looked at
  std::atomic<int64_t> framesDone_{0};
  std::atomic<bool> stopping_{false};
  std::thread reader_;
};

}  // namespace tervo::ui

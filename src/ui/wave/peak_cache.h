#pragma once
// The smallest and the largest sample of every stretch of a waveform, so that drawing all of it does not read all of
// it. Made once, by a thread in the background, and drawn as far as it has got.

#include <QObject>
#include <memory>
#include <optional>
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

  PeakCache();
  /// Waits for everything that is still being read.
  ~PeakCache() override;

  /// Starts reading, and forgets what was before without waiting for it.
  void setSamples(SampleRef samples);
  const SampleRef& samples() const { return samples_; }

  /// How many frames have been read, from the first on. Any thread.
  int64_t framesDone() const;
  bool isComplete() const { return samples_ && framesDone() == samples_->frames(); }
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
  class Reading;
  /// One whose frames are not wanted any more. Its thread alone keeps them.
  struct Abandoned {
    std::weak_ptr<Reading> reading;
    std::thread thread;
  };
  void start();
  void abandon();

  SampleRef samples_;
  std::shared_ptr<Reading> reading_;
  std::thread reader_;
  std::vector<Abandoned> abandoned_;  ///< until they have ended
};

}  // namespace tervo::ui

#pragma once
// The four envelopes of a voice: sequences of segments up to the sustain level, and from there to the end.

#include <array>

#include "audio/engine/zone.h"

namespace tervo::audio {

/// Amplitude envelopes move in gain, and between two gains above 0 as well as down to silence linearly in dB; rises
/// from silence are linear. All others move linearly between their levels.
enum class EnvelopeCurve : uint8_t { amplitude, linear };

struct EnvelopeSegment {
  float target = 0;
  float frames = 0;
};

/// What a note makes of the rows: times scaled by key and velocity, levels as gains.
struct EnvelopeShape {
  EnvelopeCurve curve = EnvelopeCurve::linear;
  float start = 0;
  std::array<EnvelopeSegment, 4> attack{};
  int attackCount = 0;
  std::array<EnvelopeSegment, 4> release{};
  int releaseCount = 0;
  float releaseRate = 0;     ///< frames of the first release segment per level (0..1)
  float minimumRelease = 0;  ///< frames
  bool ignoresRelease = false;

  float sustain() const { return attackCount > 0 ? attack[static_cast<std::size_t>(attackCount) - 1].target : start; }
};

EnvelopeShape makeEnvelope(const Zone& zone, Modulator which, int key, int velocity, float sampleRate);

class EnvelopeGenerator {
 public:
  void start(const EnvelopeShape& shape) noexcept;
  /// Leaves whatever segment it is in for the release. Does nothing where the shape ignores it.
  void release() noexcept;
  /// Falls to silence within the time that a fall from full level takes `frames`.
  void shutDown(float frames) noexcept;
  /// Advances and returns the value at the end of the step.
  float advance(int frames) noexcept;

  float value() const { return value_; }
  bool isReleased() const { return stage_ != Stage::attack && stage_ != Stage::sustain; }
  bool isSustaining() const { return stage_ == Stage::sustain; }
  /// The release is over.
  bool isDone() const { return stage_ == Stage::done; }

 private:
  enum class Stage : uint8_t { attack, sustain, release, shutdown, done };
  void nextSegment() noexcept;
  void begin(EnvelopeSegment segment) noexcept;
  float levelDistance(float to) const noexcept;

  EnvelopeShape shape_;
  Stage stage_ = Stage::done;
  int next_ = 0;  ///< segment of the stage that comes next
  float value_ = 0;
  float target_ = 0;
  float step_ = 0;  ///< a frame: what is added, or the logarithm of the factor
  float blockFactor_ = 1;
  float left_ = 0;  ///< frames
  bool isLogarithmic_ = false;
};

}  // namespace tervo::audio

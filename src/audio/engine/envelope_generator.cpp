#include "audio/engine/envelope_generator.h"

#include <algorithm>
#include <cmath>

#include "audio/engine/units.h"

namespace tervo::audio {
namespace {

using P = ParameterId;

constexpr float shortestRise = 0.001f;       // seconds: no attack is a click
constexpr float shortestRelease = 0.002f;    // seconds
constexpr float silentGain = 1.5848932e-5f;  // -96 dB

/// The rows of a segment in the V-ENV.
struct SegmentRows {
  P time, velocity, key, level;
};
constexpr SegmentRows attackRows[] = {
    {P::vEnvAttack1Time, P::vEnvVelocityToAttack1Time, P::vEnvKeyToAttack1Time, P::vEnvAttack1Level},
    {P::vEnvAttack2Time, P::vEnvVelocityToAttack2Time, P::vEnvKeyToAttack2Time, P::vEnvAttack2Level},
    {P::vEnvDecay1Time, P::vEnvVelocityToDecay1Time, P::vEnvKeyToDecay1Time, P::vEnvDecay1Level},
    {P::vEnvDecay2Time, P::vEnvVelocityToDecay2Time, P::vEnvKeyToDecay2Time, P::vEnvSustain},
};

float power(float base, float exponent) {
  return base == 1 || base <= 0 ? 1.0f : exponential(logarithm(base) * exponent);
}

class ShapeMaker {
 public:
  ShapeMaker(const Zone& zone, Modulator which, int key, int velocity, float sampleRate)
      : zone_(zone),
        which_(which),
        octaves_((static_cast<float>(key) - middleC) / 12),
        velocity_(static_cast<float>(velocity) / 127 - 0.5f),
        sampleRate_(sampleRate) {}

  EnvelopeShape make() {
    shape_.curve = which_ == Modulator::volume ? EnvelopeCurve::amplitude : EnvelopeCurve::linear;
    shape_.start = level(P::vEnvInitialLevel);
    shape_.ignoresRelease = row(P::vEnvReleaseMode) != 0;
    for (const SegmentRows& rows : attackRows) addAttack(rows);
    addReleases();
    return shape_;
  }

 private:
  float row(P vEnvRow) const { return zone_[inEnvelope(which_, vEnvRow)]; }
  float level(P vEnvRow) const { return which_ == Modulator::volume ? gainOfLevel(row(vEnvRow)) : row(vEnvRow); }
  float scaled(float seconds, P velocity, P key) const {
    return seconds <= 0 ? 0.0f : seconds * power(row(velocity), velocity_) * power(row(key), octaves_);
  }

  void addAttack(const SegmentRows& rows) {
    const float before = shape_.sustain(), target = level(rows.level);
    float seconds = scaled(row(rows.time), rows.velocity, rows.key);
    // A decay time is that of a fall over the whole range, as banks of samplers mean it; a higher sustain comes sooner.
    if (rows.level == P::vEnvSustain) seconds *= std::fabs(row(P::vEnvDecay1Level) - row(P::vEnvSustain));
    if (before == 0 && target > 0 && !hasRisen_) {
      seconds = std::max(seconds, shortestRise);
      hasRisen_ = true;
    }
    if (seconds <= 0 && target == before) return;
    shape_.attack[static_cast<std::size_t>(shape_.attackCount++)] = {target, seconds * sampleRate_};
  }

  void addReleases() {
    const float factor = scaled(1, P::vEnvVelocityToReleaseTime, P::vEnvKeyToReleaseTime);
    shape_.minimumRelease = shortestRelease * sampleRate_;
    shape_.releaseRate = row(P::vEnvRelease1Rate) * factor * sampleRate_;
    float before = level(P::vEnvRelease1Level);
    shape_.release[0] = {before, 0};
    shape_.releaseCount = 1;
    addRelease(before, row(P::vEnvRelease2Time) * factor, level(P::vEnvRelease2Level));
    addRelease(before, row(P::vEnvRelease3Time) * factor, level(P::vEnvRelease3Level));
    // A voice ends with its release, wherever that leaves it.
    if (which_ == Modulator::volume) addRelease(before, 0, 0);
  }
  void addRelease(float& before, float seconds, float target) {
    if (target != before) seconds = std::max(seconds, shortestRelease);
    if (seconds > 0) shape_.release[static_cast<std::size_t>(shape_.releaseCount++)] = {target, seconds * sampleRate_};
    before = target;
  }

  const Zone& zone_;
  Modulator which_;
  float octaves_;
  float velocity_;  ///< -0.5..0.5
  float sampleRate_;
  EnvelopeShape shape_;
  bool hasRisen_ = false;
};

}  // namespace

EnvelopeShape makeEnvelope(const Zone& zone, Modulator which, int key, int velocity, float sampleRate) {
  return ShapeMaker(zone, which, key, velocity, sampleRate).make();
}

void EnvelopeGenerator::start(const EnvelopeShape& shape) noexcept {
  shape_ = shape;
  stage_ = Stage::attack;
  next_ = 0;
  value_ = shape.start;
  left_ = 0;
  target_ = value_;
}

/// How far apart two values are as levels 0..1.
float EnvelopeGenerator::levelDistance(float to) const noexcept {
  if (shape_.curve == EnvelopeCurve::linear) return std::fabs(to - value_);
  return std::fabs(levelOfGain(to) - levelOfGain(value_));
}

void EnvelopeGenerator::release() noexcept {
  if (isReleased() || shape_.ignoresRelease) return;
  stage_ = Stage::release;
  next_ = 1;
  const float target = shape_.release[0].target;
  begin({target, std::max(shape_.releaseRate * levelDistance(target), shape_.minimumRelease)});
}

void EnvelopeGenerator::shutDown(float frames) noexcept {
  if (stage_ == Stage::shutdown || stage_ == Stage::done) return;
  stage_ = Stage::shutdown;
  begin({0, std::max(frames * levelDistance(0), 1.0f)});
}

void EnvelopeGenerator::begin(EnvelopeSegment segment) noexcept {
  target_ = segment.target;
  left_ = segment.frames;
  isLogarithmic_ = false;
  step_ = 0;
  if (left_ <= 0) {
    value_ = target_;
    return;
  }
  if (value_ == target_) return;
  if (shape_.curve == EnvelopeCurve::amplitude && value_ > 0) {
    const float low = std::max(target_, silentGain);
    step_ = logarithm(low / std::max(value_, silentGain)) / left_;
    blockFactor_ = exponential(step_ * blockFrames);
    isLogarithmic_ = true;
    return;
  }
  step_ = (target_ - value_) / left_;
}

void EnvelopeGenerator::nextSegment() noexcept {
  value_ = target_;
  if (stage_ == Stage::attack && next_ < shape_.attackCount) {
    begin(shape_.attack[static_cast<std::size_t>(next_++)]);
  } else if (stage_ == Stage::attack) {
    stage_ = Stage::sustain;
  } else if (stage_ == Stage::release && next_ < shape_.releaseCount) {
    begin(shape_.release[static_cast<std::size_t>(next_++)]);
  } else if (stage_ == Stage::release || stage_ == Stage::shutdown) {
    stage_ = Stage::done;
  }
}

float EnvelopeGenerator::advance(int frames) noexcept {
  auto rest = static_cast<float>(frames);
  while (stage_ != Stage::sustain && stage_ != Stage::done) {
    if (left_ > rest) {
      left_ -= rest;
      if (isLogarithmic_)
        value_ *= rest == blockFrames ? blockFactor_ : exponential(step_ * rest);
      else
        value_ += step_ * rest;
      break;
    }
    rest -= left_;
    left_ = 0;
    nextSegment();
  }
  return value_;
}

}  // namespace tervo::audio

#pragma once
// A voice: one region sounding. Started, released and ended by the audio thread between blocks; advanced and rendered
// by whichever thread has its group.

#include <array>

#include "audio/engine/channel.h"
#include "audio/engine/envelope_generator.h"
#include "audio/engine/filter.h"
#include "audio/engine/lfo.h"
#include "audio/engine/sinc_oscillator.h"
#include "audio/engine/voice_kernel.h"
#include "audio/engine/zone.h"

namespace tervo::audio {

/// What the engine has in common for all voices.
struct VoiceContext {
  float sampleRate = 48000;
  float masterGain = 1;
  bool hasEffects = true;
  const SincOscillator* sinc = nullptr;  ///< in place of the cubic interpolation
};

struct VoiceStart {
  const Zone* zone = nullptr;
  const Zone* pitchZone = nullptr;  ///< the master of its phase group, or the zone itself
  const Channel* channel = nullptr;
  int key = 60;
  int velocity = 127;
  float fade = 1;          ///< of the cross-fades
  uint32_t seed = 1;       ///< of what is random in it
  uint32_t pitchSeed = 1;  ///< the same for all voices whose pitch is locked
  float glideFrom = 0;     ///< semitones from its own key
  float glideSeconds = 0;
  bool endsByItself = false;  ///< nothing will release it: a key release or a pedal has started it
};

/// A filter coefficient set moving through a block, and the state of the stage in both channels.
struct VoiceStage {
  FilterStage now, target;
  float state[2][2] = {};
};

/// Of one channel of the voice, on each bus, at both ends of a block.
struct LaneGains {
  std::array<float, busCount> now{}, target{};
};

class Voice {
 public:
  void start(const VoiceStart& start, const VoiceContext& context) noexcept;
  /// The key is up and no pedal holds it.
  void release() noexcept;
  /// Falls silent within the shutdown time of its region: another note takes its place.
  void exclude(const VoiceContext& context) noexcept;
  /// The short release of a voice that is stolen.
  void shed(const VoiceContext& context) noexcept;

  /// Computes everything that holds for the next block. False while the voice waits for its delay.
  bool prepareBlock(const VoiceContext& context) noexcept;
  /// Frames of a channel in a row for the block, from `before` frames in front of its first position to `behind` behind
  /// its last one: its own memory where they are, else laid out in `scratch`.
  const float* window(int channel, int before, int behind, float* scratch) const noexcept;
  uint32_t windowPhase() const { return static_cast<uint32_t>(position_ & (fixedOne - 1)); }
  /// Moves on behind the block.
  void finishBlock() noexcept;

  int channels() const { return zone_->played.sound->channels; }
  int stages() const { return stageCount_; }
  VoiceStage& stage(int index) { return stages_[static_cast<std::size_t>(index)]; }
  LaneGains& gains(int channel) { return gains_[channel]; }
  uint32_t increment() const { return increment_; }

  const Zone& zone() const { return *zone_; }
  float level() const { return level_; }
  bool isDone() const { return isDone_; }

  uint16_t note = 0;  ///< the record that owns it
  bool fastRelease = false;
  uint32_t generation = 0;  ///< of the instruments when it started

 private:
  using P = ParameterId;
  void startPosition() noexcept;
  void startLevels(const VoiceStart& start, const VoiceContext& context) noexcept;
  void startModulators(const VoiceStart& start, const VoiceContext& context) noexcept;
  void startFilters(const VoiceContext& context) noexcept;
  void advanceModulators() noexcept;
  void updatePitch() noexcept;
  void updateFilter(const VoiceContext& context) noexcept;
  void updateGains(const VoiceContext& context) noexcept;
  float depth(P base, P byWheel, P byPressure, P byVelocity) const noexcept;
  float pan() const noexcept;
  bool loops() const { return zone_->played.loop && jumpsLeft_ != 0; }
  float frameAt(const std::vector<float>& frames, int64_t index) const noexcept;

  const Zone* zone_ = nullptr;
  const Zone* pitchZone_ = nullptr;
  const Channel* channel_ = nullptr;
  float octaves_ = 0;   ///< of the key above middle C
  float velocity_ = 0;  ///< -1..1
  float pitch_ = 0;     ///< semitones that do not change
  float noteGain_ = 1;  ///< of velocity and cross-fades
  float noteDb_ = 0;    ///< dB that do not change
  float notePan_ = 0;
  float notePitchEnvDepth_ = 0;
  float noteCutoff_ = 0;  ///< ln of the frequency in Hz that does not change
  float glide_ = 0;       ///< semitones still to go
  float glideStep_ = 0;

  FixedFrames position_ = 0;
  uint32_t increment_ = 0;
  int jumpsLeft_ = 0;  ///< of the loop; below 0 without end
  bool hasJumped_ = false;

  std::array<EnvelopeGenerator, 4> envelopes_;
  std::array<Lfo, 4> lfos_;
  std::array<bool, 4> usesEnvelope_{};
  std::array<bool, 4> usesLfo_{};
  std::array<float, 4> envelope_{};  ///< values of the block, by Modulator
  std::array<float, 4> lfo_{};
  float modulation_ = 0, pressure_ = 0;

  FilterType filterType_ = FilterType::passThrough;
  int filterStages_ = 0;
  int stageCount_ = 0;
  float cutoff_ = 0, resonance_ = 0;  ///< that the filter is designed for
  std::array<VoiceStage, maxStages> stages_{};
  LaneGains gains_[2];
  LastResult pitchRatio_, dbGain_, leftGain_, rightGain_;

  float level_ = 0;
  int delayBlocks_ = 0;
  bool endsByItself_ = false;
  bool isDone_ = false;
};

/// The level that a velocity has: a row of D dB spans g0 = 10^(-|D| / 20) to 1 by the square of the velocity; a
/// negative D turns the velocity round.
float velocityGain(float dynamicRangeDb, int velocity) noexcept;

}  // namespace tervo::audio

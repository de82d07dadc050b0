#pragma once
// The engine's own copy of an instrument: its regions with every row that applies to them, ready to be started by a
// note. Made on the document thread and never changed, so that voices may read it while it is being replaced.

#include <array>
#include <memory>
#include <vector>

#include "audio/engine/sound.h"
#include "core/parameter_id.h"

namespace tervo::audio {

/// How a region is started; the values of the row triggerType.
enum class TriggerType : uint8_t {
  keyPress,
  keyRelease,
  firstKey,
  legato,
  lastKeyRelease,
  keyReleaseNoPedal,
  sustainPress,
  sustainRelease,
  sostenutoPress,
  sostenutoRelease,
  softPress,
  softRelease,
  roundRobin,
  randomChoice,
  sameKey,
  legatoUp,
  legatoDown,
  never
};

class Zone {
 public:
  /// The effective value of a row.
  float operator[](ParameterId row) const { return rows_[static_cast<std::size_t>(indexOf(row))]; }
  bool isOn(ParameterId row) const { return (*this)[row] != 0; }
  TriggerType trigger() const { return trigger_; }

  /// The factor 0..1 of the cross-fades at a key and velocity, 0 where the region does not sound.
  float fadeAt(int key, int velocity) const;

  PlayedSound played;
  double framesPerFrame = 1;  ///< frames of the sound per frame of the engine at the original pitch
  float rootKey = 60;
  float tuning = 0;  ///< semitones: the waveform's and the region's
  float gainDb = 0;  ///< the waveform's and the region's
  int layer = 0;     ///< its place in the instrument

 private:
  friend class ZoneMaker;
  std::array<float, parameterCount> rows_{};
  TriggerType trigger_ = TriggerType::keyPress;
};

struct SoundInstrument {
  uint32_t number = 0;  ///< packed: program, banks, drum flag
  std::vector<Zone> zones;
  int layers = 0;
};

/// Null with LastErrorText when samples cannot be read.
std::shared_ptr<const SoundInstrument> copyInstrument(const Instrument& instrument, uint32_t engineRate,
                                                      SoundCopies& sounds);

}  // namespace tervo::audio

#pragma once
// The engine's own copy of an instrument: its regions with every row that applies to them, ready to be started by a
// note. Made on the document thread and never changed, so that voices may read it while it is being replaced.

#include <array>
#include <bitset>
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

/// Which velocities of which keys a song plays.
class PlayedNotes {
 public:
  void add(int key, int velocity) {
    velocities_[static_cast<std::size_t>(key)].set(static_cast<std::size_t>(velocity));
    ++count_;
  }
  void add(const PlayedNotes& other) {
    count_ += other.count_;
    for (std::size_t key = 0; key < velocities_.size(); ++key) velocities_[key] |= other.velocities_[key];
  }
  void addAll() {
    for (auto& each : velocities_) each.set();
  }
  /// Whether the region sounds with one of them.
  bool reach(const Zone& zone) const;
  /// How many notes were added.
  std::size_t count() const { return count_; }

 private:
  std::size_t count_ = 0;
  std::array<std::bitset<128>, 128> velocities_;
};

struct SoundInstrument {
  uint32_t number = 0;  ///< packed: program, banks, drum flag
  std::vector<Zone> zones;
  int layers = 0;
};

/// Null with LastErrorText when samples cannot be read. With `notes` the regions that none of them reaches stay silent,
/// and their samples unread.
std::shared_ptr<const SoundInstrument> copyInstrument(const Instrument& instrument, uint32_t engineRate,
                                                      SoundCopies& sounds, const PlayedNotes* notes = nullptr);

}  // namespace tervo::audio

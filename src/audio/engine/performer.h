#pragma once
// Plays the MIDI messages: which regions a note starts, what its end and the pedals do to it. Audio thread.

#include <array>
#include <vector>

#include "audio/engine/channel.h"
#include "audio/engine/event_ring.h"
#include "audio/engine/instrument_table.h"
#include "audio/engine/voice_pool.h"

namespace tervo::audio {

class Performer {
 public:
  Performer(std::size_t voices, const VoiceContext& context);

  void setInstruments(const InstrumentTable* table) noexcept { instruments_ = table; }
  void execute(MidiMessage message) noexcept;
  void advanceRamps() noexcept;
  /// Whether a controller is still on its way.
  bool isMoving() const noexcept;
  /// Everything as it was at the start: no notes, controllers at their defaults.
  void reset();

  VoicePool& pool() { return pool_; }
  uint32_t generation = 0;  ///< of the instruments, given to the voices that start

 private:
  /// What the channel's keys have done, for the triggers that ask.
  struct Keys {
    std::array<bool, 128> isDown{};
    int down = 0;
    int last = -1;  ///< the key pressed last
  };
  struct Candidate {
    const Zone* zone;
    float fade;
  };
  /// What starts regions: the trigger types that fit.
  struct Cause {
    uint32_t types = 0;  ///< bit k for TriggerType k
    bool isKeyPress = false;
  };

  void noteOn(uint8_t channel, uint8_t key, uint8_t velocity) noexcept;
  void noteOff(uint8_t channel, uint8_t key) noexcept;
  void controller(uint8_t channel, uint8_t index, uint8_t value) noexcept;
  void sustainChanged(uint8_t channel, bool isDown) noexcept;
  void sostenutoChanged(uint8_t channel, bool isDown) noexcept;
  void pedalTrigger(uint8_t channel, TriggerType type) noexcept;
  void allSoundOff(uint8_t channel) noexcept;
  void allNotesOff(uint8_t channel) noexcept;
  void releaseOthers(uint8_t channel) noexcept;

  Cause pressCause(const Keys& keys, int key) const noexcept;
  /// What starts: a key or pedal of the channel, or the end of a note.
  struct Stroke {
    uint8_t channel, key, velocity;
    uint32_t instrument;  ///< its number
  };
  static Stroke strokeOf(const Note& note) { return {note.channel, note.key, note.velocity, note.instrument}; }
  void startNote(Stroke stroke, Cause cause) noexcept;
  void collectCandidates(const SoundInstrument& instrument, uint8_t channel, int key, int velocity,
                         Cause cause) noexcept;
  void takeTurns(uint8_t channel, TriggerType type) noexcept;
  void exclude(uint8_t channel, uint8_t key, const Note& starting) noexcept;
  void startVoices(Note& note, int glideFrom) noexcept;
  const Zone* pitchZoneOf(const Zone& zone) const noexcept;
  bool makeRoom(const Note* keep) noexcept;
  /// The end of a note, unless a pedal holds it.
  void keyUp(Note& note) noexcept;
  void releaseNote(Note& note) noexcept;
  bool isQuiet(uint8_t channel) noexcept;
  /// The first note of the list that fits. Starting and stealing notes changes the list, so whoever does that asks
  /// again.
  template <typename Fits>
  Note* findNote(const Fits& fits) noexcept {
    for (std::size_t i = 0; i < pool_.noteCount(); ++i)
      if (Note& note = pool_.noteAt(i); fits(note)) return &note;
    return nullptr;
  }
  void releaseUnheld(uint8_t channel) noexcept;

  const VoiceContext& context_;
  VoicePool pool_;
  std::array<Channel, midiChannels> channels_;
  std::array<Keys, midiChannels> keys_;
  const InstrumentTable* instruments_ = nullptr;
  std::vector<Candidate> candidates_;
  std::array<uint32_t, midiChannels> turns_{};  ///< of round robin
  Random random_{1};
};

}  // namespace tervo::audio

#pragma once
// A MIDI channel: what its controllers say, smoothed where voices hear it. Audio thread.

#include <array>
#include <cstdint>

namespace tervo::audio {

/// A value that moves to its target in equal steps, one a block.
struct Ramp {
  float value = 0;
  float step = 0;
  int blocksLeft = 0;
  float target = 0;
};

/// The ramped parameters of a channel.
enum class ChannelValue : uint8_t {
  tuning,      ///< semitones, from the registered parameters
  bend,        ///< -1..1
  gain,        ///< volume and expression
  pan,         ///< -1..1
  pressure,    ///< 0..1
  modulation,  ///< 0..1
  reverb,      ///< 0..1, controller 91
  chorus       ///< 0..1, controller 93
};
inline constexpr std::size_t channelValues = 8;

class Channel {
 public:
  explicit Channel(int index);

  /// Takes a controller's value; what it means for notes is the caller's business. `immediate`: nothing sounds here
  /// that could hear a jump.
  void setController(uint8_t controller, uint8_t value, bool immediate) noexcept;
  void setBend(int value14, bool immediate) noexcept;
  void setPressure(uint8_t value, bool immediate) noexcept;
  /// Of the banks that were selected last: those alone change nothing (MIDI 1.0, "Bank Select").
  void setProgram(uint8_t program) noexcept;
  void resetControllers(bool immediate) noexcept;
  void advanceRamps() noexcept;
  bool isMoving() const { return runningRamps_ > 0; }

  float value(ChannelValue which) const { return ramps_[static_cast<std::size_t>(which)].value; }
  /// What the rows of the third send's and the fourth's neighbours hear: controllers 92 and 94, 0..1.
  float tremolo() const { return static_cast<float>(controllers_[92]) / 127; }
  uint8_t controller(uint8_t index) const { return controllers_[index]; }
  bool isDown(uint8_t pedal) const { return controllers_[pedal] >= 64; }
  /// Program, banks and drum flag.
  uint32_t instrumentNumber() const { return number_; }
  /// Semitones that a registered parameter has set; below 0 while none has.
  float bendRange() const { return bendRange_; }
  float portamentoSeconds() const;
  bool isMono() const { return isMono_; }
  void setMono(bool mono) { isMono_ = mono; }

 private:
  struct Pair {
    uint8_t coarse = 0, fine = 0;
    bool hasFine = false;
    float fraction() const;
  };
  void ramp(ChannelValue which, float target, float smoothing, bool immediate) noexcept;
  void setPair(Pair& pair, uint8_t controller, uint8_t value) noexcept;
  void select(int parameter) noexcept;
  void enterData(bool immediate) noexcept;
  void stepData(int direction, bool immediate) noexcept;
  void updateGain(bool immediate) noexcept;
  void updatePan(bool immediate) noexcept;

  std::array<Ramp, channelValues> ramps_{};
  int runningRamps_ = 0;
  std::array<uint8_t, 128> controllers_{};
  uint32_t number_ = 0;
  uint32_t banks_ = 0;  ///< for the next program
  Pair volume_{100}, expression_{127}, pan_{64}, modulation_{}, portamento_{};
  Pair data_{};
  bool hasCoarse_ = false, isFineFirst_ = false;  ///< what came since the parameter was selected
  int selected_ = -1;                             ///< registered parameter; -1 none
  float bendRange_ = -1;
  float fineTuning_ = 0, coarseTuning_ = 0;
  bool isMono_ = false;
};

namespace Controller {
inline constexpr uint8_t bankMsb = 0, modulation = 1, portamentoTime = 5, dataEntry = 6, volume = 7, pan = 10,
                         expression = 11, bankLsb = 32, fine = 32, sustain = 64, portamento = 65, sostenuto = 66,
                         soft = 67, legato = 68, hold2 = 69, reverb = 91, tremolo = 92, chorus = 93, dataUp = 96,
                         dataDown = 97, nrpnLsb = 98, nrpnMsb = 99, rpnLsb = 100, rpnMsb = 101, allSoundOff = 120,
                         resetAll = 121, allNotesOff = 123, omniOff = 124, omniOn = 125, mono = 126, poly = 127;
}

}  // namespace tervo::audio

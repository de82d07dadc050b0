#pragma once
// What is selected is heard for a second. Document thread.

#include <memory>

#include "audio/output/audio_output.h"
#include "core/settings.h"

namespace tervo {
class Instrument;
class Item;
class Waveform;
}  // namespace tervo

namespace tervo::audio {

class SynthFront;
class WaveformPlayer;

class Audition {
 public:
  Audition(AudioOutput& output, const Settings& settings) : output_(output), settings_(settings) {}
  ~Audition() { stop(); }

  /// Sounds a waveform or an instrument, where the settings want that for its kind; what sounded before ends. False
  /// with LastErrorText.
  bool selected(const Item& item);
  void stop();

 private:
  bool play(const Waveform& waveform);
  bool play(const Instrument& instrument);

  AudioOutput& output_;
  const Settings& settings_;
  std::shared_ptr<WaveformPlayer> player_;
  std::shared_ptr<SynthFront> synth_;
};

/// The key nearest to middle C that some region of the instrument answers to.
uint8_t auditionKey(const Instrument& instrument);

}  // namespace tervo::audio

#pragma once
// What the window lets sound: what was selected for a second, an item from the start to its end, keys of the virtual
// keyboard and of a MIDI port. Document thread; the port's thread only posts messages.

#include <QObject>
#include <QTimer>
#include <bitset>
#include <memory>
#include <optional>

#include "audio/output/audio_output.h"
#include "audio/output/audition.h"
#include "platform/midi_port.h"
#include "ui/sound/song_bank.h"

namespace tervo::audio {
class SynthFront;
class WaveformPlayer;
}  // namespace tervo::audio

namespace tervo::ui {

class SongPort;

class Player final : public QObject {
  Q_OBJECT
 public:
  explicit Player(DocumentSession& session, audio::AudioOutput::Opener opener = platform::AudioDevice::open);
  ~Player() override;

  /// What keys play from now on: the instrument of a region or layer, a waveform at its root key, nothing for others.
  void setPlayed(ItemId item);
  /// Sounds what was selected, where the settings want that. Silent where it cannot.
  void audition(ItemId item);
  /// From a frame of a waveform or a second of a song. False with LastErrorText.
  bool play(ItemId item, double start = 0);
  /// To the MIDI output of the settings, from a second of the song. False with LastErrorText.
  bool send(const Song& song, double start = 0);
  void stop();
  bool isPlaying() const;
  /// The waveform, song or instrument that play() was given last and that is not at its end.
  ItemId playing() const { return playing_; }
  bool isSending() const { return port_ != nullptr; }
  /// The frame of the waveform that is played now; nothing for other items.
  std::optional<double> position() const;
  /// The second of the song that is played now; nothing for other items.
  std::optional<double> songSeconds() const;

  /// False with LastErrorText where nothing can sound.
  bool keyDown(int key, int velocity);
  void keyUp(int key);
  void allKeysUp();

  /// After the settings of devices and ports have changed: everything stops, and opens anew when it is needed.
  void restart();
  /// "--> 48000 Hz - 2 channels - Floats", or empty while the device is closed.
  Text formatInUse() const;
  /// After items have changed: keys play them as they are now.
  void reload() { isLoaded_ = false; }
  SongBank& bank() { return bank_; }

 Q_SIGNALS:
  void playingChanged(bool playing);
  void positionChanged();
  /// From a MIDI port, too; any thread.
  void keySounded(int key, bool on);
  /// "%d regions", or what became of the device.
  void statusShown(const QString& text);

 private:
  bool prepareKeys();
  bool loadPlayed();
  void openMidiInput();
  bool playSong(const Song& song, double startSeconds);
  bool playInstrument(const Instrument& instrument);
  bool perform(std::shared_ptr<audio::SynthFront> synth, audio::SongEvents events);
  std::shared_ptr<audio::SynthFront> startSynth(bool hasEffects);
  void watch();
  void tellKey(int key, bool isDown);
  void showStarted(ItemId id);

  DocumentSession& session_;
  audio::AudioOutput::Opener opener_;
  std::unique_ptr<audio::AudioOutput> output_;
  std::unique_ptr<audio::Audition> audition_;
  SongBank bank_;
  std::shared_ptr<audio::SynthFront> keys_;       ///< what keys play on
  std::shared_ptr<audio::SynthFront> performer_;  ///< of a song, or of an instrument's note
  std::optional<double> songStart_;               ///< the second that a song was begun at
  std::unique_ptr<SongPort> port_;                ///< that a song is sent to
  std::shared_ptr<audio::WaveformPlayer> waveform_;
  std::unique_ptr<Instrument> ownInstrument_;  ///< of a waveform that is played by keys
  ItemId played_ = noItem;
  ItemId playing_ = noItem;
  std::bitset<128> down_;  ///< keys that were told to sound
  uint8_t channel_ = 0;
  bool isLoaded_ = false;
  bool wasPlaying_ = false;
  std::unique_ptr<platform::MidiInput> midiInput_;
  QTimer watcher_;
};

}  // namespace tervo::ui

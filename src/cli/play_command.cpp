// Plays a waveform, an instrument or a song, until it is over or the user has heard enough.

#include <algorithm>
#include <chrono>
#include <thread>

#include "audio/output/audio_output.h"
#include "audio/output/note_messages.h"
#include "audio/output/output_format.h"
#include "audio/output/song_sender.h"
#include "audio/output/synth_front.h"
#include "audio/output/waveform_player.h"
#include "base/last_error.h"
#include "cli/commands.h"
#include "cli/opening.h"
#include "cli/selection.h"
#include "cli/song_rendering.h"
#include "platform/midi_port.h"

namespace tervo::cli {
namespace {

class Playing {
 public:
  Playing(Run& run, const Collection& collection) : run_(run), bank_(run, collection), output_(request()) {}

  bool play(const Item& item) {
    if (asked().midiIn && item.kind() != ItemKind::instrument)
      return fail(u"Only an instrument can be played from a MIDI port");
    if (asked().midiOut && item.kind() != ItemKind::song) return fail(u"Only a song can be sent to a MIDI port");
    if (const auto* waveform = dynamic_cast<const Waveform*>(&item)) return playWave(*waveform);
    if (const auto* instrument = dynamic_cast<const Instrument*>(&item)) return playInstrument(*instrument);
    const auto* song = dynamic_cast<const Song*>(&item);
    if (!song) return fail(u"No item selected");
    return run_.line.playing.midiOut ? sendSong(*song) : playSong(*song);
  }
  const Text& cause() const { return output_.cause(); }

 private:
  const PlayRequest& asked() const { return run_.line.playing; }

  platform::AudioRequest request() const {
    platform::AudioRequest request = audio::outputRequest(run_.settings.aio);
    if (asked().device) request.device = *asked().device;
    // A file need not wait for its listeners, unless somebody plays along.
    if (!asked().midiIn) request.pace = platform::AudioPace::asFastAsItGoes;
    return request;
  }

  void sayFormat() {
    if (!run_.line.quiet) run_.console.err(toUtf8(audio::formatText(output_.format())) + "\n");
  }

  bool goesIntoFile() const { return asked().device && asked().device->starts_with(platform::fileDevicePrefix); }

  static bool soundsForEver(const Waveform& waveform) {
    const Marker* loop = mainLoop(waveform);
    return loop && loop->loopType != LoopType::off && loop->end > loop->start &&
           (loop->loopCount == loopForever || loop->loopCount == loopUntilRelease);
  }

  bool playWave(const Waveform& waveform) {
    if (goesIntoFile() && !asked().seconds && soundsForEver(waveform))
      return fail(u"The loop never ends: say with --seconds how long the file is to be");
    const float gain = audio::gainOf(run_.settings.aio.waveGain);
    const auto player = audio::playWaveform(output_, waveform, 0, gain, asked().seconds.value_or(0));
    if (!player) return false;
    sayFormat();
    return wait(*player, [&] { player->stop(); });
  }

  std::shared_ptr<audio::SynthFront> startSynth() {
    audio::SynthFront::Setup setup;
    const audio::RenderOptions options = renderOptions(run_);
    setup.voices = options.voices;
    setup.outputGain = audio::gainOf(run_.settings.aio.mixGain);
    setup.hasEffects = options.hasEffects;
    setup.workers = options.workers;
    auto synth = audio::startSynth(output_, setup);
    if (synth) sayFormat();
    return synth;
  }

  bool playSong(const Song& song) {
    audio::SongEvents events = audio::flatten(song);
    if (events.notes == 0) return fail(u"Done: No notes to render!");
    const auto synth = startSynth();
    return synth && bank_.supply(synth->engine(), events) && perform(synth, std::move(events));
  }

  bool perform(const std::shared_ptr<audio::SynthFront>& synth, audio::SongEvents events) {
    if (asked().seconds) audio::cutAt(events, *asked().seconds);
    synth->perform(std::move(events), run_.line.rendering.tailSeconds);
    return output_.attach(synth) && wait(*synth, [&] { synth->stop(); });
  }

  bool playInstrument(const Instrument& instrument) {
    const auto synth = startSynth();
    const uint8_t channel = instrument.drum ? audio::drumChannel : audio::melodicChannel;
    const uint32_t number = audio::numberOnChannel(channel);
    if (!synth || !synth->engine().loadInstrumentAs(instrument, number, audio::Loading::stopped)) return false;
    if (asked().midiIn) return playAlong(synth, channel);
    return perform(synth, audio::notesInTurn(asked().chords, asked().velocity, channel));
  }

  /// Every channel of the port plays the instrument.
  bool playAlong(const std::shared_ptr<audio::SynthFront>& synth, uint8_t channel) {
    const auto port = platform::MidiInput::open(*asked().midiIn, [&, channel](std::span<const uint8_t> message) {
      audio::postFromKeyboard(*synth, message, channel);
    });
    return port && output_.attach(synth) && wait(*synth, [&] { synth->stop(); });
  }

  bool sendSong(const Song& song) {
    const auto port = platform::MidiOutput::open(*asked().midiOut);
    if (!port) return false;
    audio::SongSender sender(*port, song);
    const auto start = std::chrono::steady_clock::now();
    const auto secondsNow = [&] {
      return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    while (const auto next = sender.nextTime()) {
      if (run_.host.cancelled() || (asked().seconds && *next > *asked().seconds)) break;
      const double pause = std::clamp(*next - secondsNow(), 0.0, 0.05);
      std::this_thread::sleep_for(std::chrono::duration<double>(pause));
      if (secondsNow() >= *next && !sender.sendNext()) return false;
    }
    return sender.silence();
  }

  template <typename Stop>
  bool wait(const audio::AudioSource& source, Stop stop) {
    const auto start = std::chrono::steady_clock::now();
    while (output_.isPlaying(source)) {
      if (output_.state() == audio::AudioOutput::State::lost) return fail(u"The audio device was lost");
      const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
      // What has no end of its own is ended by the clock.
      const bool isOver = asked().midiIn && asked().seconds && passed.count() >= *asked().seconds;
      if (run_.host.cancelled() || isOver) stop();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return output_.finish();
  }

  Run& run_;
  SongRendering bank_;
  audio::AudioOutput output_;
};

}  // namespace

int runPlay(const CommandLine& line, Console& console, const Settings& settings) {
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection)) return run.failureStatus();
  run.host.endProgress();
  Text hint;
  const Item* item = chosenToPlay(line, collection, hint);
  if (!item) return console.failure(line.files.front().shown, hint), exitFailed;
  Playing playing(run, collection);
  if (!playing.play(*item)) return console.failure(line.files.front().shown, playing.cause()), run.failureStatus();
  return run.host.cancelled() ? exitCancelled : exitDone;
}

}  // namespace tervo::cli

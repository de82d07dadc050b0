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
#include "cli/document_json.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "cli/saving.h"
#include "cli/selection.h"
#include "cli/song_rendering.h"
#include "platform/file.h"
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
  void noteDamage() { bank_.noteDamage(); }
  /// Where it failed: the device or port, or nothing.
  const std::optional<Text>& failedAt() const { return failedAt_; }
  const Text& cause() const { return output_.cause(); }
  /// Why it failed has been said.
  bool isSaid() const { return isSaid_; }
  /// What the device took, and how much of its time that needed.
  nlohmann::ordered_json json() const {
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    if (format_.sampleRate != 0)
      object = {{"sampleRate", format_.sampleRate},
                {"channels", format_.channels},
                {"coding", utf8(audio::nameOf(format_.coding))},
                {"bufferFrames", bufferFrames_},
                {"highestLoad", shortest(highestLoad_)}};
    object["report"] = reportJson(run_.report);
    return object;
  }

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
    format_ = output_.format();
    bufferFrames_ = output_.bufferFrames();
    if (!run_.line.quiet) run_.console.err(toUtf8(audio::formatText(output_.format())) + "\n");
  }

  bool goesIntoFile() const { return asked().device && asked().device->starts_with(platform::fileDevicePrefix); }

  static bool soundsForEver(const Waveform& waveform) {
    const Marker* loop = mainLoop(waveform);
    return loop && loop->loopType != LoopType::off && loop->end > loop->start &&
           (loop->loopCount == loopForever || loop->loopCount == loopUntilRelease);
  }

  bool failedAtDevice() {
    if (!output_.cause().empty()) failedAt_ = asked().device;
    return false;
  }

  bool playWave(const Waveform& waveform) {
    if (goesIntoFile() && !asked().seconds && soundsForEver(waveform))
      return fail(u"The loop never ends: say with --seconds how long the file is to be");
    const float gain = audio::gainOf(run_.settings.aio.waveGain);
    const auto player = audio::playWaveform(output_, waveform, 0, gain, asked().seconds.value_or(0));
    if (!player) return failedAtDevice();
    sayFormat();
    return wait(*player);
  }

  std::shared_ptr<audio::SynthFront> startSynth(std::size_t instruments) {
    audio::SynthFront::Setup setup;
    setup.instrumentCapacity = std::max(setup.instrumentCapacity, instruments);
    const audio::RenderOptions options = renderOptions(run_);
    setup.voices = options.voices;
    setup.outputGain = audio::gainOf(run_.settings.aio.mixGain);
    setup.hasEffects = options.hasEffects;
    setup.workers = options.workers;
    auto synth = audio::startSynth(output_, setup);
    if (!synth) return failedAtDevice(), nullptr;
    if (asked().seconds) synth->endAfter(*asked().seconds);
    sayFormat();
    return synth;
  }

  bool playSong(const Song& song) {
    audio::SongEvents events = audio::flatten(song);
    if (events.notes == 0) return fail(u"Done: No notes to render!");
    if (!bank_.hasNamedBanks()) return isSaid_ = !run_.host.cancelled(), false;
    const auto synth = startSynth(events.instruments.size());
    return synth && bank_.supply(synth->engine(), events, song) && perform(synth, std::move(events));
  }

  bool perform(const std::shared_ptr<audio::SynthFront>& synth, audio::SongEvents events) {
    synth->perform(std::move(events), run_.line.rendering.tailSeconds);
    return output_.attach(synth) && wait(*synth);
  }

  bool playInstrument(const Instrument& instrument) {
    const auto synth = startSynth(1);
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
    if (!port) return failedAt_ = asked().midiIn, false;
    return output_.attach(synth) && wait(*synth);
  }

  bool sendSong(const Song& song) {
    failedAt_ = asked().midiOut;
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
    // A file that was broken off is not there.
    return sender.silence() && (run_.host.cancelled() || port->finish());
  }

  template <typename Source>
  bool wait(Source& source) {
    failedAt_ = asked().device;
    while (output_.isPlaying(source)) {
      if (output_.state() == audio::AudioOutput::State::lost) return output_.finish();
      if (run_.host.cancelled()) source.stop();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    highestLoad_ = output_.highestLoad();
    // A file that was broken off is not there; what somebody plays has no other end.
    if (run_.host.cancelled() && !asked().midiIn) return output_.close(), true;
    return output_.finish();
  }

  Run& run_;
  SongRendering bank_;
  audio::AudioOutput output_;
  platform::AudioFormat format_;
  uint32_t bufferFrames_ = 0;
  float highestLoad_ = 0;
  std::optional<Text> failedAt_;
  bool isSaid_ = false;
};

/// Whether a file may be written where the device or port is one. False with LastErrorText and a hint.
bool mayWrite(const CommandLine& line, const std::optional<Text>& device, Text& hint) {
  if (!device || !device->starts_with(platform::fileDevicePrefix)) return true;
  const Text path = device->substr(platform::fileDevicePrefix.size());
  const NamedFile file{path, path};
  std::vector<NamedFile> played = line.files;
  played.insert(played.end(), line.rendering.banks.begin(), line.rendering.banks.end());
  if (line.report == ReportOutput::file && isOneOf(line.reportFile, {file}))
    return fail(u"The report would replace what is played into a file");
  if (isOneOf(file, played)) return fail(u"The file would be replaced by what is played from it");
  if (line.overwrite || !platform::fileExists(path)) return true;
  hint = u"--overwrite replaces it";
  return fail(u"File exists already");
}

}  // namespace

int runPlay(const CommandLine& line, Console& console, const Settings& settings) {
  if (reportHidesAFile(line, settings)) return console.failure(line.reportFile.shown), exitWrongUsage;
  Text hint;
  for (const auto& target : {line.playing.device, line.playing.midiOut})
    if (!mayWrite(line, target, hint)) return console.failure(*target, hint), exitFailed;
  Run run{line, console, settings};
  Collection collection;
  if (!openAll(run, collection)) return run.failureStatus();
  run.host.endProgress();
  const Item* item = chosenToPlay(line, collection, hint);
  if (!item) return console.failure(line.files.front().shown, hint), exitFailed;
  Playing playing(run, collection);
  keepReportOf({item}, collection, run.report);
  const bool isPlayed = playing.play(*item);
  playing.noteDamage();
  if (!isPlayed) {
    if (!playing.isSaid()) console.failure(playing.failedAt().value_or(line.files.front().shown), playing.cause());
    return run.failureStatus();
  }
  if (line.json) console.out(dumped(playing.json()));
  if (!(line.json ? saveReport(run.report, line) : outputReport(run.report, line, console)))
    return console.failure(line.reportFile.shown), exitFailed;
  return run.host.cancelled() ? exitCancelled : exitDone;
}

}  // namespace tervo::cli

#include "ui/sound/player.h"

#include "audio/output/note_messages.h"
#include "audio/output/output_format.h"
#include "audio/output/synth_front.h"
#include "audio/output/waveform_player.h"
#include "base/last_error.h"
#include "core/levels.h"
#include "formats/failure_cause.h"
#include "ui/document_session.h"
#include "ui/qt_text.h"
#include "ui/sound/song_port.h"

namespace tervo::ui {
namespace {

constexpr int watchMs = 33;
constexpr uint8_t noteOn = 0x90, noteOff = 0x80, controlChange = 0xB0, allNotesOff = 123;

/// Looks at the devices only where a setting names one: with the default ones the program starts faster.
void fallBackToExistingDevices(Settings& settings) {
  const auto isListed = [](const Text& device) {
    return device != defaultAudioDevice && device != platform::nullDeviceName &&
           !device.starts_with(platform::fileDevicePrefix);
  };
  const Settings::Aio& aio = settings.aio;
  const bool namesAudio = isListed(aio.audioOutDev) || isListed(aio.audioInDev);
  const bool namesMidi = !aio.midiInDev.empty() && aio.midiInDev != noMidiDevice;
  if (!namesAudio && !namesMidi) return;
  DeviceNames existing;
  for (const auto& device : platform::audioDevices()) existing.audioOut.push_back(device.name);
  for (const Text* device : {&aio.audioOutDev, &aio.audioInDev})
    if (!isListed(*device)) existing.audioOut.push_back(*device);
  existing.audioIn = existing.audioOut;
  existing.midiIn = platform::midiInputs();
  FallBackToExistingDevices(settings, existing);
}

}  // namespace

Player::Player(DocumentSession& session, audio::AudioOutput::Opener opener)
    : session_(session), opener_(std::move(opener)), bank_(session) {
  session_.host().setRenderer([this](const Item& item) { return bank_.render(item); });
  connect(&watcher_, &QTimer::timeout, this, &Player::watch);
  restart();
}

Player::~Player() {
  session_.host().setRenderer(nullptr);
  midiInput_.reset();
  stop();
  audition_.reset();
}

void Player::restart() {
  midiInput_.reset();
  stop();
  audition_.reset();
  if (keys_) keys_->stop();
  keys_.reset();
  isLoaded_ = false;
  fallBackToExistingDevices(session_.settings());
  output_ = std::make_unique<audio::AudioOutput>(audio::outputRequest(session_.settings().aio), opener_);
  audition_ = std::make_unique<audio::Audition>(*output_, session_.settings());
  openMidiInput();
}

void Player::openMidiInput() {
  const Text& name = session_.settings().aio.midiInDev;
  if (name.empty() || name == noMidiDevice) return;
  midiInput_ = platform::MidiInput::open(name, [this](std::span<const uint8_t> message) {
    if (message.size() < 3) return;
    const std::vector<uint8_t> copy(message.begin(), message.end());
    // To the document thread: the instrument may have to be loaded first.
    QMetaObject::invokeMethod(this, [this, copy] {
      const int kind = copy[0] & 0xF0;
      const bool isOn = kind == noteOn && copy[2] > 0;
      if (isOn && !prepareKeys()) return session_.host().showStatus(LastErrorText());
      if (keys_) audio::postFromKeyboard(*keys_, copy, channel_);
      if (kind == noteOn || kind == noteOff) tellKey(copy[1], isOn);
    });
  });
  if (!midiInput_) session_.host().showStatus(LastErrorText());
}

std::shared_ptr<audio::SynthFront> Player::startSynth(bool hasEffects) {
  audio::SynthFront::Setup setup;
  setup.voices = session_.settings().mid2wav.maxPolyphony;
  setup.outputGain = audio::gainOf(session_.settings().aio.mixGain);
  setup.hasEffects = hasEffects;
  return audio::startSynth(*output_, setup);
}

void Player::setPlayed(ItemId id) {
  if (id == played_) return;
  allKeysUp();
  played_ = id;
  isLoaded_ = false;
}

bool Player::loadPlayed() {
  const Instrument* instrument = containingInstrument(played_);
  if (kindOf(played_) == ItemKind::waveform && findItem(played_)) {
    ownInstrument_ = std::make_unique<Instrument>();
    ownInstrument_->add(std::make_unique<Layer>()).add(std::make_unique<Region>()).waveform = played_;
    instrument = ownInstrument_.get();
  }
  if (!instrument) return fail(u"No item selected");
  channel_ = instrument->drum ? audio::drumChannel : audio::melodicChannel;
  return keys_->engine().loadInstrumentAs(*instrument, audio::numberOnChannel(channel_), audio::Loading::replace);
}

bool Player::prepareKeys() {
  if (keys_ && output_->state() == audio::AudioOutput::State::lost) keys_.reset();
  if (!keys_) {
    keys_ = startSynth(true);
    isLoaded_ = false;
    if (!keys_ || !output_->attach(keys_)) return keys_.reset(), false;
  }
  if (!isLoaded_) isLoaded_ = loadPlayed();
  if (isLoaded_ && !watcher_.isActive()) watcher_.start(watchMs);
  return isLoaded_;
}

bool Player::keyDown(int key, int velocity) {
  if (!prepareKeys()) return session_.host().showStatus(LastErrorText()), false;
  const uint8_t message[] = {noteOn, static_cast<uint8_t>(key), static_cast<uint8_t>(velocity)};
  audio::postFromKeyboard(*keys_, message, channel_);
  tellKey(key, true);
  return true;
}

void Player::keyUp(int key) {
  if (!keys_) return;
  const uint8_t message[] = {noteOff, static_cast<uint8_t>(key), 64};
  audio::postFromKeyboard(*keys_, message, channel_);
  tellKey(key, false);
}

void Player::tellKey(int key, bool isDown) {
  if (key < 0 || key >= static_cast<int>(down_.size())) return;
  down_.set(static_cast<std::size_t>(key), isDown);
  Q_EMIT keySounded(key, isDown);
}

void Player::allKeysUp() {
  const uint8_t message[] = {controlChange, allNotesOff, 0};
  if (keys_) audio::postFromKeyboard(*keys_, message, channel_);
  for (std::size_t key = 0; key < down_.size(); ++key) {
    if (down_[key]) tellKey(static_cast<int>(key), false);
  }
}

void Player::audition(ItemId id) {
  const Item* item = findItem(id);
  if (!session_.settings().aio.enable || !item) return;
  if (!audition_->selected(*item)) session_.host().showStatus(LastErrorText());
}

bool Player::perform(std::shared_ptr<audio::SynthFront> synth, audio::SongEvents events) {
  synth->perform(std::move(events), std::nullopt);
  if (!output_->attach(synth)) return false;
  performer_ = std::move(synth);
  return true;
}

bool Player::playSong(const Song& song, double startSeconds) {
  audio::SongEvents events = audio::flatten(song);
  if (events.notes == 0) return fail(u"Done: No notes to render!");
  const double start = startSeconds < events.seconds ? startSeconds : 0;
  auto synth = startSynth(session_.settings().mid2wav.effects != 0);
  const auto running = session_.host().beginOperation();
  if (!synth || !bank_.supply(synth->engine(), events)) return false;
  if (!perform(std::move(synth), audio::startingAt(std::move(events), start))) return false;
  songStart_ = start;
  return true;
}

bool Player::playInstrument(const Instrument& instrument) {
  auto synth = startSynth(true);
  const uint8_t channel = instrument.drum ? audio::drumChannel : audio::melodicChannel;
  if (!synth || !synth->engine().loadInstrumentAs(instrument, audio::numberOnChannel(channel), audio::Loading::stopped))
    return false;
  const auto key = audio::auditionKey(instrument);
  return perform(std::move(synth), audio::notesInTurn({{key}}, 100, channel, 1));
}

bool Player::play(ItemId id, double start) {
  stop();
  bool playing = false;
  if (const auto* waveform = findItem<Waveform>(id)) {
    waveform_ = audio::playWaveform(*output_, *waveform, start, audio::gainOf(session_.settings().aio.waveGain));
    playing = waveform_ != nullptr;
  } else if (const Song* song = containingSong(id)) {
    id = song->id();
    playing = playSong(*song, start);
  } else if (const Instrument* instrument = containingInstrument(id)) {
    id = instrument->id();
    playing = playInstrument(*instrument);
  } else {
    return fail(u"No item selected");
  }
  if (playing) showStarted(id);
  return playing;
}

void Player::showStarted(ItemId id) {
  wasPlaying_ = true;
  playing_ = id;
  watcher_.start(watchMs);
  Q_EMIT playingChanged(true);
}

bool Player::send(const Song& song, double start) {
  stop();
  const Text& port = session_.settings().sds.outDev;
  if (port.empty() || port == noMidiDevice) return fail(u"The preferences name no MIDI output");
  port_ = SongPort::send(port, song, start);
  if (port_) showStarted(song.id());
  return port_ != nullptr;
}

Text Player::formatInUse() const {
  return output_->state() == audio::AudioOutput::State::open ? audio::formatText(output_->format()) : Text();
}

void Player::stop() {
  if (audition_) audition_->stop();
  if (waveform_) waveform_->stop();
  if (performer_) performer_->stop();
  waveform_.reset();
  performer_.reset();
  port_.reset();
  songStart_.reset();
  if (!wasPlaying_) return;
  wasPlaying_ = false;
  playing_ = noItem;
  Q_EMIT playingChanged(false);
  Q_EMIT positionChanged();
}

bool Player::isPlaying() const {
  return (waveform_ && output_->isPlaying(*waveform_)) || (performer_ && output_->isPlaying(*performer_)) ||
         (port_ && !port_->isOver());
}

std::optional<double> Player::position() const {
  return waveform_ ? std::optional(waveform_->position()) : std::nullopt;
}

std::optional<double> Player::songSeconds() const {
  if (port_) return port_->seconds();
  return performer_ && songStart_ ? std::optional(*songStart_ + performer_->seconds()) : std::nullopt;
}

void Player::watch() {
  if (output_->state() == audio::AudioOutput::State::lost) {
    allKeysUp();
    keys_.reset();
    stop();
    // Looked at again when something is to sound; until then it stands there.
    watcher_.stop();
    if (output_->finish()) return;
    const Text cause = failureCause();
    return Q_EMIT statusShown(qt(LastErrorText()) + (cause.empty() ? QString() : QString(" (%1)").arg(qt(cause))));
  }
  if (wasPlaying_ && !isPlaying()) stop();
  if (wasPlaying_) Q_EMIT positionChanged();
  const auto& sounding = performer_ ? performer_ : keys_;
  Q_EMIT statusShown(sounding ? qt(sounding->engine().statusText()) : QString());
  if (!wasPlaying_ && !keys_) watcher_.stop();
}

}  // namespace tervo::ui

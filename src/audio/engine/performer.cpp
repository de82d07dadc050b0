#include "audio/engine/performer.h"

#include <algorithm>
#include <utility>

#include "core/midi_events.h"

namespace tervo::audio {
namespace {

template <std::size_t... i>
std::array<Channel, sizeof...(i)> makeChannels(std::index_sequence<i...>) {
  return {Channel(static_cast<int>(i))...};
}
std::array<Channel, midiChannels> makeChannels() {
  return makeChannels(std::make_index_sequence<midiChannels>());
}

}  // namespace

Performer::Performer(std::size_t voices, const VoiceContext& context)
    : context_(context), pool_(voices), channels_(makeChannels()) {
  candidates_.reserve(voices);
}

void Performer::reset() {
  pool_.clear();
  channels_ = makeChannels();
  keys_ = {};
  turns_ = {};
  random_ = Random(1);
}

void Performer::advanceRamps() noexcept {
  for (Channel& channel : channels_) channel.advanceRamps();
}

bool Performer::isMoving() const noexcept {
  return std::any_of(channels_.begin(), channels_.end(), [](const Channel& channel) { return channel.isMoving(); });
}

/// Whether no note of the channel could hear a controller jump.
bool Performer::isQuiet(uint8_t channel) noexcept {
  return !findNote([&](const Note& note) { return note.channel == channel; });
}

void Performer::execute(MidiMessage message) noexcept {
  const uint8_t channel = message.channel(), data1 = message.data1 & 0x7F, data2 = message.data2 & 0x7F;
  switch (message.kind()) {
    case MidiStatus::noteOff:
      return noteOff(channel, data1);
    case MidiStatus::noteOn:
      return data2 > 0 ? noteOn(channel, data1, data2) : noteOff(channel, data1);
    case MidiStatus::controller:
      return controller(channel, data1, data2);
    case MidiStatus::program:
      return channels_[channel].setProgram(data1);
    case MidiStatus::channelPressure:
      return channels_[channel].setPressure(data1, isQuiet(channel));
    case MidiStatus::pitchBend:
      return channels_[channel].setBend(data1 | (data2 << 7), isQuiet(channel));
    default:
      return;
  }
}

void Performer::controller(uint8_t channel, uint8_t index, uint8_t value) noexcept {
  const bool wasDown = channels_[channel].isDown(index), isDown = value >= 64;
  switch (index) {
    case Controller::allSoundOff:
      return allSoundOff(channel);
    case Controller::resetAll:
      channels_[channel].resetControllers(isQuiet(channel));
      return sustainChanged(channel, false);
    case Controller::allNotesOff:
    case Controller::omniOff:
    case Controller::omniOn:
      return allNotesOff(channel);
    case Controller::mono:
    case Controller::poly:
      channels_[channel].setMono(index == Controller::mono);
      return allNotesOff(channel);
    default:
      break;
  }
  channels_[channel].setController(index, value, isQuiet(channel));
  if (isDown == wasDown) return;
  if (index == Controller::sustain) {
    pedalTrigger(channel, isDown ? TriggerType::sustainPress : TriggerType::sustainRelease);
    sustainChanged(channel, isDown);
  } else if (index == Controller::sostenuto) {
    pedalTrigger(channel, isDown ? TriggerType::sostenutoPress : TriggerType::sostenutoRelease);
    sostenutoChanged(channel, isDown);
  } else if (index == Controller::soft) {
    pedalTrigger(channel, isDown ? TriggerType::softPress : TriggerType::softRelease);
  }
}

void Performer::noteOn(uint8_t channel, uint8_t key, uint8_t velocity) noexcept {
  constexpr int softNumerator = 2, softDenominator = 3;  // how much softer the soft pedal makes a stroke
  Keys& keys = keys_[channel];
  if (channels_[channel].isDown(Controller::soft))
    velocity = static_cast<uint8_t>(std::max(velocity * softNumerator / softDenominator, 1));
  const Cause cause = pressCause(keys, key);
  if (channels_[channel].isMono()) releaseOthers(channel);
  if (!std::exchange(keys.isDown[key], true)) ++keys.down;
  startNote({channel, key, velocity, channels_[channel].instrumentNumber()}, cause);
  keys.last = key;
}

Performer::Cause Performer::pressCause(const Keys& keys, int key) const noexcept {
  const auto bit = [](TriggerType type) { return 1u << static_cast<unsigned>(type); };
  const bool otherHeld = keys.down > (keys.isDown[static_cast<std::size_t>(key)] ? 1 : 0);
  uint32_t types = bit(TriggerType::keyPress) | bit(TriggerType::roundRobin) | bit(TriggerType::randomChoice);
  types |= bit(otherHeld ? TriggerType::legato : TriggerType::firstKey);
  if (key == keys.last) types |= bit(TriggerType::sameKey);
  if (otherHeld && key > keys.last) types |= bit(TriggerType::legatoUp);
  if (otherHeld && key < keys.last) types |= bit(TriggerType::legatoDown);
  return {types, true};
}

void Performer::noteOff(uint8_t channel, uint8_t key) noexcept {
  Keys& keys = keys_[channel];
  if (std::exchange(keys.isDown[key], false)) --keys.down;
  const auto fits = [&](const Note& note) { return note.channel == channel && note.key == key && note.isKeyDown; };
  while (Note* note = findNote(fits)) keyUp(*note);
}

void Performer::keyUp(Note& note) noexcept {
  note.isKeyDown = false;
  const bool isHeld = note.isHeld || channels_[note.channel].isDown(Controller::sustain);
  startNote(strokeOf(note), {1u << static_cast<unsigned>(TriggerType::keyReleaseNoPedal)});
  if (!isHeld) releaseNote(note);
}

void Performer::releaseNote(Note& note) noexcept {
  if (std::exchange(note.isReleased, true)) return;
  pool_.forEachVoice(note, [](Voice& voice) { voice.release(); });
  uint32_t types = 1u << static_cast<unsigned>(TriggerType::keyRelease);
  if (keys_[note.channel].down == 0) types |= 1u << static_cast<unsigned>(TriggerType::lastKeyRelease);
  startNote(strokeOf(note), {types});
}

/// Ends the notes that neither their key nor a pedal holds any more.
void Performer::releaseUnheld(uint8_t channel) noexcept {
  const auto fits = [&](const Note& note) {
    return note.channel == channel && !note.isKeyDown && !note.isHeld && !note.isReleased;
  };
  while (Note* note = findNote(fits)) releaseNote(*note);
}

void Performer::sustainChanged(uint8_t channel, bool isDown) noexcept {
  if (!isDown) releaseUnheld(channel);
}

void Performer::sostenutoChanged(uint8_t channel, bool isDown) noexcept {
  for (std::size_t i = 0; i < pool_.noteCount(); ++i) {
    Note& note = pool_.noteAt(i);
    if (note.channel == channel) note.isHeld = isDown && note.isKeyDown;
  }
  if (!isDown && !channels_[channel].isDown(Controller::sustain)) releaseUnheld(channel);
}

void Performer::pedalTrigger(uint8_t channel, TriggerType type) noexcept {
  constexpr uint8_t key = 60, velocity = 127;  // a pedal has neither; regions for one span all of them
  startNote({channel, key, velocity, channels_[channel].instrumentNumber()}, {1u << static_cast<unsigned>(type)});
}

void Performer::allSoundOff(uint8_t channel) noexcept {
  for (std::size_t i = 0; i < pool_.noteCount(); ++i) {
    Note& note = pool_.noteAt(i);
    if (note.channel != channel) continue;
    note.isKeyDown = note.isHeld = false;
    note.isReleased = true;
    pool_.forEachVoice(note, [&](Voice& voice) { voice.shed(context_); });
  }
  keys_[channel] = {};
}

void Performer::allNotesOff(uint8_t channel) noexcept {
  for (uint8_t key = 0; key < 128; ++key)
    if (keys_[channel].isDown[key]) noteOff(channel, key);
}

/// Mono mode: one note at a time.
void Performer::releaseOthers(uint8_t channel) noexcept {
  for (std::size_t i = 0; i < pool_.noteCount(); ++i) {
    Note& note = pool_.noteAt(i);
    if (note.channel != channel || note.isAfterthought || note.isReleased) continue;
    note.isKeyDown = note.isHeld = false;
    note.isReleased = true;
    pool_.forEachVoice(note, [&](Voice& voice) { voice.exclude(context_); });
  }
}

}  // namespace tervo::audio

#include "audio/output/note_messages.h"

#include <algorithm>

#include "audio/engine/channel.h"
#include "audio/output/synth_front.h"
#include "core/midi_events.h"

namespace tervo::audio {

uint32_t numberOnChannel(uint8_t channel) {
  return Channel(channel).instrumentNumber();
}

SongEvents notesInTurn(const std::vector<std::vector<uint8_t>>& chords, int velocity, uint8_t channel,
                       double chordSeconds) {
  SongEvents events;
  const auto add = [&](uint8_t kind, uint8_t key, int value) {
    events.messages.push_back(
        {events.seconds, {static_cast<uint8_t>(kind | channel), key, static_cast<uint8_t>(value)}});
  };
  for (const auto& chord : chords) {
    for (const uint8_t key : chord) add(MidiStatus::noteOn, key, velocity);
    events.notes += chord.size();
    events.seconds += chordSeconds;
    for (const uint8_t key : chord) add(MidiStatus::noteOff, key, 64);
  }
  return events;
}

void postFromKeyboard(SynthFront& synth, std::span<const uint8_t> message, uint8_t channel) noexcept {
  if (message.size() < 2 || message[0] >= MidiStatus::systemExclusive) return;
  const auto kind = static_cast<uint8_t>(message[0] & 0xF0);
  const bool isBank =
      kind == MidiStatus::controller && (message[1] == Controller::bankMsb || message[1] == Controller::bankLsb);
  if (kind == MidiStatus::program || isBank) return;
  const uint8_t second = message.size() > 2 ? message[2] : uint8_t{0};
  synth.post({static_cast<uint8_t>(kind | channel), message[1], second});
}

}  // namespace tervo::audio

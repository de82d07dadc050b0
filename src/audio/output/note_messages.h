#pragma once
// Messages for the synthesizer that come from no song: keys to audition, and what a keyboard sends.

#include <cstdint>
#include <span>
#include <vector>

#include "audio/render/song_events.h"

namespace tervo::audio {

class SynthFront;

/// Where the engine expects instruments, and where drum kits.
inline constexpr uint8_t melodicChannel = 0, drumChannel = 9;
/// Program 0 of bank 0, for an instrument or a drum kit that is to be played whatever its number is.
uint32_t numberOnChannel(uint8_t channel);

/// Chords of keys one after another, each held for so long.
SongEvents notesInTurn(const std::vector<std::vector<uint8_t>>& chords, int velocity, uint8_t channel,
                       double chordSeconds = 0.5);

/// A message from a keyboard as if it came on this channel. Program and bank changes, and what is no channel message,
/// are left out: who plays has chosen the instrument. Any thread.
void postFromKeyboard(SynthFront& synth, std::span<const uint8_t> message, uint8_t channel) noexcept;

}  // namespace tervo::audio

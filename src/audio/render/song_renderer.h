#pragma once
// Renders a song to a waveform, as fast as it goes. Document thread.

#include <memory>
#include <optional>

#include "audio/render/instrument_supply.h"
#include "core/settings.h"

namespace tervo::audio {

struct RenderOptions {
  uint32_t sampleRate = 48000;
  int voices = 128;
  bool hasEffects = true;
  Interpolation interpolation = Interpolation::cubic;
  bool normalised = true;
  bool cutsSilence = true;
  /// Seconds that go on behind the last event; without it until releases and reverb are below -90 dB, at most 10 s.
  std::optional<double> tailSeconds;
  int workers = 0;  ///< threads; 0: as many as there are processors
};

/// What the settings `mid2wav.*` say.
RenderOptions renderOptionsOf(const Settings& settings);

struct RenderJob {
  const Collection& document;  ///< whose instruments are played
  DefaultCollection defaults;
  Host& host;
  RenderOptions options = {};
  Supplied* supplied = nullptr;  ///< gets what was played, and what was missing
};

/// "Done: Rendered %s to waveform "%s"."
Text renderedText(const Song& song, const Waveform& waveform);

/// A waveform that has the song's name. Null with LastErrorText: "Failed processing MIDI" (out of memory; damaged
/// tracks play up to the damage), "Done: No notes to render!", "Done: Rendered aborted!" after Host::progress has said
/// so.
std::unique_ptr<Waveform> renderSong(const Song& song, const RenderJob& job);

/// The same as an operation on the document: the waveform becomes its last one, and the song is removed where the
/// settings say so and the user, asked when confirmations are on, agrees. False with LastErrorText and the document as
/// it was.
bool renderSongInDocument(Collection& document, const Song& song, const DefaultCollection& defaults, Host& host,
                          const Settings& settings);

}  // namespace tervo::audio

#pragma once
// Renders an instrument to waveforms: single notes, as a sampler would record them. Document thread.

#include <memory>
#include <vector>

#include "audio/engine/engine.h"
#include "core/host.h"
#include "core/instrument.h"
#include "core/settings.h"
#include "core/waveform.h"

namespace tervo::audio {

struct NoteRenderOptions {
  uint32_t sampleRate = 48000;
  double longest = 2;      ///< seconds; a note that still sounds then is faded out
  double shortest = 0.25;  ///< seconds, whether anything sounds or not
  int waveforms = 1;
  Interpolation interpolation = Interpolation::cubic;
};

/// What the settings `sy2wt.*` say.
NoteRenderOptions noteRenderOptionsOf(const Settings& settings);

/// The keys that are rendered: the one nearest to middle C that sounds, or several in equal distances over all that
/// sound, as many as there are at most.
std::vector<uint8_t> keysToRender(const Instrument& instrument, int count);

/// Dry, in stereo, with full velocity and the key held to the end: what a sampler wants, which has releases and effects
/// of its own. Louder than full scale comes down to it. Empty with LastErrorText: "Failed to render synth to wave" when
/// no key sounds, "Save aborted!" after Host::progress has said so.
std::vector<std::unique_ptr<Waveform>> renderInstrument(const Instrument& instrument, const NoteRenderOptions& options,
                                                        Host& host);

}  // namespace tervo::audio

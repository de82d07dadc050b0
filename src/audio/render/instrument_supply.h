#pragma once
// Finds the instruments that a song asks for: in the document, and in the default collection for what the document
// lacks.

#include <functional>
#include <map>
#include <vector>

#include "audio/engine/engine.h"
#include "core/collection.h"
#include "core/host.h"

namespace tervo::audio {

/// Opens the default General MIDI collection; null when it cannot be opened. Called once, and only when it is needed.
using DefaultCollection = std::function<const Collection*()>;

/// What the engine was given.
struct Supplied {
  struct Missing {
    uint32_t number;
    std::size_t notes;  ///< that stay silent
  };
  std::vector<const Instrument*> instruments;
  std::vector<Missing> missing;  ///< what no collection has
};

/// "program 40", "program 5, bank 1/0", "drum kit 8".
Text instrumentText(uint32_t number);

/// Loads what the numbers and their notes need into the engine. The status line says so when the default collection
/// cannot be opened; rendering goes on without what is missing. False with LastErrorText when an instrument cannot be
/// read.
bool supplyInstruments(Engine& engine, const std::map<uint32_t, PlayedNotes>& numbers, const Collection& document,
                       const DefaultCollection& defaults, Host& host, Supplied& supplied);

}  // namespace tervo::audio

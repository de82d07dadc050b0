#pragma once
// Finds the instruments that a song asks for: in the document, and in the default collection for what the document
// lacks.

#include <functional>
#include <map>

#include "audio/engine/engine.h"
#include "core/collection.h"
#include "core/host.h"

namespace tervo::audio {

/// Opens the default General MIDI collection; null when it cannot be opened. Called once, and only when it is needed.
using DefaultCollection = std::function<const Collection*()>;

/// Loads what the numbers and their notes need into the engine. The status line says so when the default collection
/// cannot be opened; rendering goes on without what is missing. False with LastErrorText when an instrument cannot be
/// read.
bool supplyInstruments(Engine& engine, const std::map<uint32_t, PlayedNotes>& numbers, const Collection& document,
                       const DefaultCollection& defaults, Host& host);

}  // namespace tervo::audio

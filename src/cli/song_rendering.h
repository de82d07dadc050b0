#pragma once
// Renders songs and instruments for commands; songs with the instruments of the document and of the banks that the
// command line names, else of the default collection of the settings.

#include <memory>
#include <optional>

#include "audio/render/song_events.h"
#include "audio/render/song_renderer.h"
#include "cli/opening.h"

namespace tervo::cli {

/// What settings and command line say.
audio::RenderOptions renderOptions(const Run& run);

class SongRendering {
 public:
  SongRendering(Run& run, const Collection& document) : run_(run), document_(document) {}

  /// For Host::render.
  std::vector<std::unique_ptr<Waveform>> render(const Item& item);
  /// Loads what the events need. False with LastErrorText.
  bool supply(audio::Engine& engine, const audio::SongEvents& events);

 private:
  std::vector<std::unique_ptr<Waveform>> renderNotes(const Instrument& instrument);
  const Collection* bank();
  bool openBanks();
  bool hasNamedBanks();
  void explainFailure();

  Run& run_;
  const Collection& document_;
  std::optional<Collection> bank_;
};

}  // namespace tervo::cli

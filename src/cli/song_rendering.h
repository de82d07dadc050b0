#pragma once
// Renders songs for commands: with the instruments of the document and of the banks that the command line names, else
// of the default collection of the settings.

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

  /// For Host::renderSong.
  std::unique_ptr<Waveform> render(const Song& song);
  /// Loads what the events need. False with LastErrorText.
  bool supply(audio::Engine& engine, const audio::SongEvents& events);

 private:
  const Collection* bank();
  bool openBanks();
  bool hasNamedBanks();
  void explainFailure();

  Run& run_;
  const Collection& document_;
  std::optional<Collection> bank_;
};

}  // namespace tervo::cli

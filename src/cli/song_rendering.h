#pragma once
// Renders songs for commands: with the instruments of the document and of the banks that the command line names, else
// of the default collection of the settings.

#include <memory>
#include <optional>

#include "cli/opening.h"

namespace tervo::cli {

class SongRendering {
 public:
  SongRendering(Run& run, const Collection& document) : run_(run), document_(document) {}

  /// For Host::renderSong.
  std::unique_ptr<Waveform> render(const Song& song);

 private:
  const Collection* bank();
  bool openBanks();

  Run& run_;
  const Collection& document_;
  std::optional<Collection> bank_;
};

}  // namespace tervo::cli

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
/// What songs are played with: the banks that the command line names, or else the default one of the settings.
std::vector<NamedFile> banksFor(const CommandLine& line, const Settings& settings);

class SongRendering {
 public:
  SongRendering(Run& run, const Collection& document) : run_(run), document_(document) {}

  /// A bank that the user names has to be there and to hold instruments; the default one may be missing. False after
  /// printing why.
  bool hasNamedBanks();
  /// For Host::render.
  std::vector<std::unique_ptr<Waveform>> render(const Item& item);
  /// Loads what the events of a song need. False with LastErrorText. After hasNamedBanks().
  bool supply(audio::Engine& engine, const audio::SongEvents& events, const Song& song);
  /// Puts into the report what turned out to be damaged while it was played.
  void noteDamage();

 private:
  std::unique_ptr<Waveform> renderSong(const Song& song);
  std::vector<std::unique_ptr<Waveform>> renderNotes(const Instrument& instrument);
  const Collection* bank();
  bool openBank(const NamedFile& file);
  bool openBanks();
  void explainFailure();
  void tell(const audio::Supplied& supplied, const Song& song);

  Run& run_;
  const Collection& document_;
  std::optional<Collection> bank_;
  ConversionReport bankReport_;  ///< of all instruments of the banks, few of which a song plays
};

}  // namespace tervo::cli

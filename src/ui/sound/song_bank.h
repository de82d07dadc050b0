#pragma once
// The instruments that a song falls back on where the document has none, and rendering with them: songs, and
// instruments on their own. Document thread.

#include <memory>
#include <optional>
#include <vector>

#include "audio/render/song_events.h"
#include "audio/render/song_renderer.h"
#include "core/collection.h"

namespace tervo::ui {

class DocumentSession;

class SongBank {
 public:
  explicit SongBank(DocumentSession& session) : session_(session) {}

  /// For Host::render.
  std::vector<std::unique_ptr<Waveform>> render(const Item& item);
  /// As one undo step: the waveform becomes the document's last one. False with LastErrorText.
  bool renderIntoDocument(const Song& song);
  /// Loads what the events need. False with LastErrorText.
  bool supply(audio::Engine& engine, const audio::SongEvents& events);

 private:
  std::unique_ptr<Waveform> renderSong(const Song& song);
  const Collection* open();

  DocumentSession& session_;
  std::optional<Collection> bank_;
  Text path_;  ///< that the bank was opened from
};

}  // namespace tervo::ui

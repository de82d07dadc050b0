#pragma once
// A MIDI song and its tracks. Track data is the body of a Standard MIDI File's track chunk.

#include <memory>
#include <span>
#include <vector>

#include "core/item.h"

namespace tervo {

class Track final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::track;
  Track() : Item(itemKind) {}
  bool holdsData() const override { return !data.empty(); }

  Text name;
  std::vector<std::byte> data;
};

class Song final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::song;
  Song() : Item(itemKind) {}
  bool holdsData() const override { return !tracks_.empty(); }

  Text name;
  uint16_t format = 1;      ///< 0, 1 or 2
  uint16_t division = 480;  ///< as in the file's header: ticks per quarter note, or SMPTE

  std::span<const std::unique_ptr<Track>> tracks() const { return tracks_; }
  Track& add(std::unique_ptr<Track> track);

 private:
  friend class Collection;
  std::vector<std::unique_ptr<Track>> tracks_;
};

/// The song of a track, or the song itself; null for other kinds and deleted items.
Song* containingSong(ItemId id);

}  // namespace tervo

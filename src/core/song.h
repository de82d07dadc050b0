#pragma once
// A MIDI song and its tracks. Track data is the body of a Standard MIDI File's track chunk.

#include <memory>
#include <optional>
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
  std::optional<uint32_t> sequenceNumber;  ///< of a track of a format-2 song: its place among the file's tracks, from 0
  bool isControlTrack = false;             ///< the first track of a format-1 song when it holds no notes

  /// Exchanges everything but identifier and owner.
  void swapContent(Track& other) noexcept;
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
  /// Exchanges everything but identifier and owner.
  void swapContent(Song& other) noexcept;
  /// Takes format, division and tracks of another song, which is left without tracks. The first tracks keep their
  /// identifiers, as many as both have.
  void takeContent(Song& other);

 private:
  friend class Collection;
  std::vector<std::unique_ptr<Track>> tracks_;
};

/// The song of a track, or the song itself; null for other kinds and deleted items.
Song* containingSong(ItemId id);

/// Whether a note-on or note-off message stands before the track's end.
bool trackHasNotes(const Track& track);

/// Gives a track that is about to be added to the song its name, by the song's format and the place of the track among
/// the file's, from 0, and marks it where it is the control track.
void nameTrack(const Song& song, Track& track, std::size_t place);

struct TrackSummary {
  std::size_t events = 0;  ///< all of them, the end of track included
  std::size_t notes = 0;   ///< note-on messages with a velocity
  uint64_t ticks = 0;      ///< from the start to the last event
};
TrackSummary summaryOf(const Track& track);

/// Seconds to the last event of the longest track; of a format-2 song, whose tracks are played one after another, those
/// of all tracks together.
double lengthInSeconds(const Song& song);

}  // namespace tervo

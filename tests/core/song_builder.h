#pragma once
// Tracks and songs made in memory, byte by byte.

#include <initializer_list>
#include <memory>
#include <vector>

#include "core/song.h"

namespace tervo::test {

using TrackBytes = std::vector<std::byte>;

inline TrackBytes trackBytes(std::initializer_list<int> values) {
  TrackBytes bytes;
  for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

inline TrackBytes operator+(TrackBytes a, const TrackBytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

inline std::unique_ptr<Song> songOf(uint16_t format, uint16_t division, std::initializer_list<TrackBytes> tracks) {
  auto song = std::make_unique<Song>();
  song->name = u"song";
  song->format = format;
  song->division = division;
  for (const auto& bytes : tracks) {
    auto track = std::make_unique<Track>();
    track->data = bytes;
    nameTrack(*song, *track, song->tracks().size());
    song->add(std::move(track));
  }
  return song;
}

}  // namespace tervo::test

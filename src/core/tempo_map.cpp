#include "core/tempo_map.h"

#include <algorithm>

#include "base/byte_reader.h"

namespace tervo {
namespace {

struct TempoChange {
  uint64_t tick;
  uint32_t tempo;
};

void collectTempo(const Track& track, std::vector<TempoChange>& changes) {
  MidiEvents events(track.data);
  while (const auto event = events.next()) {
    if (const auto tempo = tempoOf(*event)) changes.push_back({event->tick, *tempo});
  }
}

std::vector<TempoChange> tempoChanges(const Song& song, std::size_t track) {
  std::vector<TempoChange> changes;
  const auto tracks = song.tracks();
  if (song.format != 2) {
    for (const auto& each : tracks) collectTempo(*each, changes);
  } else if (track < tracks.size()) {
    collectTempo(*tracks[track], changes);
  }
  std::stable_sort(changes.begin(), changes.end(),
                   [](const TempoChange& a, const TempoChange& b) { return a.tick < b.tick; });
  return changes;
}

}  // namespace

std::optional<uint32_t> tempoOf(const MidiEvent& event) {
  if (!event.isMeta(MetaType::tempo) || event.data.size() < 3) return std::nullopt;
  ByteReader reader(event.data);
  const uint32_t high = reader.u8();
  const uint32_t tempo = (high << 16) | reader.big<uint16_t>();
  return tempo > 0 ? std::optional(tempo) : std::nullopt;
}

TickRate::TickRate(uint16_t division) : isSmpte(division >= 0x8000), ticksPerQuarter(division), ticksPerSecond(0) {
  if (!isSmpte) {
    constexpr double usual = 480;
    if (division == 0) ticksPerQuarter = usual;
    return;
  }
  // The high byte is the negative frame rate; -29 stands for the 30000/1001 frames a second of drop-frame time code.
  const int frames = 0x100 - (division >> 8);
  const int ticksPerFrame = std::max(division & 0xFF, 1);
  ticksPerSecond = (frames == 29 ? 30000.0 / 1001 : frames) * ticksPerFrame;
}

TempoMap::TempoMap(const Song& song, std::size_t track) {
  const TickRate rate(song.division);
  const auto secondsPerTick = [&](uint32_t tempo) { return tempo / (rate.ticksPerQuarter * 1e6); };
  setTempo(0, defaultTempo, rate.isSmpte ? 1 / rate.ticksPerSecond : secondsPerTick(defaultTempo));
  if (rate.isSmpte) return;
  for (const auto& [tick, tempo] : tempoChanges(song, track)) setTempo(tick, tempo, secondsPerTick(tempo));
}

void TempoMap::setTempo(uint64_t tick, uint32_t tempo, double secondsPerTick) {
  const double seconds = segments_.empty() ? 0 : secondsAt(tick);
  if (!segments_.empty() && segments_.back().tick == tick) segments_.pop_back();
  segments_.push_back({tick, tempo, seconds, secondsPerTick});
}

const TempoMap::Segment& TempoMap::segmentAt(uint64_t tick) const {
  if (tick >= segments_.back().tick) return segments_.back();
  return *(std::upper_bound(segments_.begin(), segments_.end(), tick,
                            [](uint64_t at, const Segment& segment) { return at < segment.tick; }) -
           1);
}

double TempoMap::secondsAt(uint64_t tick) const {
  const Segment& segment = segmentAt(tick);
  return segment.seconds + static_cast<double>(tick - segment.tick) * segment.secondsPerTick;
}

double TempoMap::tickAt(double seconds) const {
  const auto after = std::upper_bound(segments_.begin() + 1, segments_.end(), seconds,
                                      [](double at, const Segment& segment) { return at < segment.seconds; });
  const Segment& segment = *(after - 1);
  return static_cast<double>(segment.tick) + std::max(0.0, seconds - segment.seconds) / segment.secondsPerTick;
}

uint32_t TempoMap::tempoAt(uint64_t tick) const {
  return segmentAt(tick).tempo;
}

}  // namespace tervo

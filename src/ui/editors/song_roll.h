#pragma once
// A song as its picture needs it: notes with their ends, meters, tempi and what else is written over the notes.

#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/song.h"
#include "core/tempo_map.h"

namespace tervo::ui {

struct RollNote {
  uint64_t start = 0, end = 0;  ///< ticks
  int track = 0;                ///< its place in the song
  uint8_t channel = 0, key = 0, velocity = 0;
};

/// A tempo, a program, a text at a tick.
struct RollMark {
  uint64_t tick = 0;
  int track = 0;
  Text text;
};

struct Meter {
  uint64_t tick = 0;
  int beats = 4, unit = 4;  ///< 4/4
};

struct BarLine {
  uint64_t tick;
  int64_t number;  ///< from 1
};

class SongRoll {
 public:
  SongRoll() = default;
  /// Of a song of format 2, whose tracks are songs of their own, only the one track is shown.
  SongRoll(const Song& song, std::size_t track);

  const std::vector<RollNote>& notes() const { return notes_; }  ///< by start
  const std::vector<RollMark>& marks() const { return marks_; }  ///< by tick
  uint64_t ticks() const { return ticks_; }
  const std::optional<TempoMap>& tempi() const { return tempi_; }
  uint8_t lowestKey() const { return lowestKey_; }
  uint8_t highestKey() const { return highestKey_; }

  /// Lines of bars from one tick to another, so far apart at least. None where time is counted in frames.
  std::vector<BarLine> bars(uint64_t from, uint64_t to, double leastTicks) const;
  /// "12.3": the bar and the beat, from 1.
  QString place(uint64_t tick) const;
  double secondsAt(uint64_t tick) const { return tempi_ ? tempi_->secondsAt(tick) : 0; }

 private:
  void read(const Track& track, int index);
  void addMark(const MidiEvent& event, int track);
  double barTicks(const Meter& meter) const { return ticksPerQuarter_ * 4 * meter.beats / meter.unit; }
  std::size_t meterAt(uint64_t tick) const;
  int64_t barAt(std::size_t meter, uint64_t tick) const;

  std::vector<RollNote> notes_;
  std::vector<RollMark> marks_;
  std::vector<Meter> meters_;
  std::vector<int64_t> firstBars_;  ///< the number of the bar that begins with each meter
  std::optional<TempoMap> tempi_;
  uint64_t ticks_ = 0;
  double ticksPerQuarter_ = 0;  ///< 0 where time is counted in frames
  uint8_t lowestKey_ = 127, highestKey_ = 0;
};

}  // namespace tervo::ui

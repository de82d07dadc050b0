#include <cmath>
#include <string>

#include "base/last_error.h"
#include "core/midi_events.h"
#include "core/tempo_map.h"
#include "tools/song/song_edit.h"
#include "tools/song/song_tools.h"

namespace tervo {
namespace {

/// Turns ticks of one division into ticks of another.
class TickScale {
 public:
  TickScale(const Song& song, std::size_t track, uint16_t division)
      : from_(song.division), to_(division), map_(song, track) {}

  uint64_t operator()(uint64_t tick) {
    const double exact = exactTick(tick);
    const double nearest = std::floor(exact + 0.5);
    constexpr double noise = 1e-6;  // of the sum of many tempo changes
    if (std::abs(exact - nearest) > noise) ++moved_;
    return static_cast<uint64_t>(nearest);
  }
  /// Tempo has no say where ticks are parts of frames: it would be wrong, or only decoration.
  bool dropsTempo() const { return from_.isSmpte != to_.isSmpte; }
  std::size_t moved() const { return moved_; }

 private:
  double exactTick(uint64_t tick) const {
    if (!from_.isSmpte && !to_.isSmpte) return static_cast<double>(tick) * to_.ticksPerQuarter / from_.ticksPerQuarter;
    const double usualQuarters = 1e6 / TempoMap::defaultTempo;  // in a second
    return map_.secondsAt(tick) * (to_.isSmpte ? to_.ticksPerSecond : to_.ticksPerQuarter * usualQuarters);
  }

  TickRate from_, to_;
  TempoMap map_;
  std::size_t moved_ = 0;
};

}  // namespace

std::unique_ptr<Song> withDivision(const Song& song, uint16_t division, const OperationContext& context) {
  if (division == 0) return fail(u"There is no division of 0 ticks");
  std::size_t moved = 0, tempoEvents = 0;
  auto result = rewriteTracks(song, context, [&](const Track& track, std::size_t index) {
    MidiTrackWriter writer;
    TickScale scale(song, index, division);
    uint64_t end = 0;
    MidiEvents events(track.data);
    while (const MidiEvent* event = events.next()) {
      end = scale(event->tick);
      if (scale.dropsTempo() && event->isMeta(MetaType::tempo)) {
        ++tempoEvents;
      } else {
        writer.add(end, *event);
      }
    }
    moved += scale.moved();
    return writer.finish(end);
  });
  if (!result) return nullptr;
  result->division = division;
  const auto count = [](std::size_t n) { return fromUtf8(std::to_string(n) + " events"); };
  if (moved > 0) context.report.approximated(song.name, u"times", count(moved), u"the nearest tick");
  if (tempoEvents > 0)
    context.report.add({song.name, u"tempo", ReportKind::dropped, count(tempoEvents),
                        u"ticks of frames have no tempo; the times in seconds stay"});
  return result;
}

}  // namespace tervo

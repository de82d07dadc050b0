#include <cmath>
#include <optional>
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

  double operator()(uint64_t tick) const {
    if (!from_.isSmpte && !to_.isSmpte) return static_cast<double>(tick) * to_.ticksPerQuarter / from_.ticksPerQuarter;
    const double usualQuarters = 1e6 / TempoMap::defaultTempo;  // in a second
    return map_.secondsAt(tick) * (to_.isSmpte ? to_.ticksPerSecond : to_.ticksPerQuarter * usualQuarters);
  }
  /// Tempo has no say where ticks are parts of frames: it would be wrong, or only decoration.
  bool dropsTempo() const { return from_.isSmpte != to_.isSmpte; }

 private:
  TickRate from_, to_;
  TempoMap map_;
};

/// Rewrites tracks, and counts what changes.
class DivisionChange {
 public:
  DivisionChange(const Song& song, uint16_t division) : song_(song), division_(division) {}

  bool fits() {
    constexpr double mostTicks = 1e12;  // delta times are short, and longer ones cost bytes
    for (std::size_t i = 0; i < song_.tracks().size(); ++i) {
      if (scaleOf(i)(endOf(*song_.tracks()[i])) > mostTicks) return false;
    }
    return true;
  }
  std::vector<std::byte> rewritten(const Track& track, std::size_t index) {
    MidiTrackWriter writer;
    const TickScale& scale = scaleOf(index);
    uint64_t end = 0;
    MidiEvents events(track.data);
    while (const MidiEvent* event = events.next()) {
      end = nearest(scale(event->tick));
      if (scale.dropsTempo() && event->isMeta(MetaType::tempo)) {
        ++tempoEvents_;
      } else {
        writer.add(end, *event);
      }
    }
    return writer.finish(end);
  }
  void report(ConversionReport& report) const {
    const auto count = [](std::size_t n) { return fromUtf8(std::to_string(n) + " events"); };
    if (moved_ > 0) report.approximated(song_.name, u"times", count(moved_), u"the nearest tick");
    if (tempoEvents_ > 0)
      report.add({song_.name, u"tempo", ReportKind::dropped, count(tempoEvents_),
                  u"ticks of frames have no tempo; the times in seconds stay"});
  }

 private:
  /// One for all tracks, but where tracks are songs of their own.
  const TickScale& scaleOf(std::size_t track) {
    if (!scale_ || song_.format == 2) scale_.emplace(song_, track, division_);
    return *scale_;
  }
  uint64_t nearest(double exact) {
    const double whole = std::floor(exact + 0.5);
    constexpr double noise = 1e-6;  // of the sum of many tempo changes
    if (std::abs(exact - whole) > noise) ++moved_;
    return static_cast<uint64_t>(whole);
  }

  const Song& song_;
  uint16_t division_;
  std::optional<TickScale> scale_;
  std::size_t moved_ = 0, tempoEvents_ = 0;
};

}  // namespace

std::unique_ptr<Song> withDivision(const Song& song, uint16_t division, const OperationContext& context) {
  if (division == 0) return fail(u"There is no division of 0 ticks");
  DivisionChange change(song, division);
  if (!change.fits()) return fail(u"The song has too many ticks");
  auto result = rewriteTracks(song, context,
                              [&](const Track& track, std::size_t index) { return change.rewritten(track, index); });
  if (!result) return nullptr;
  result->division = division;
  change.report(context.report);
  return result;
}

}  // namespace tervo

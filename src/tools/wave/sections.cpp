#include "tools/wave/sections.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "core/normalise/sample_views.h"
#include "tools/wave/wave_edit.h"

namespace tervo {
namespace {

/// Where frames are that were somewhere else before.
class Moves {
 public:
  explicit Moves(const std::vector<Stretch>& kept) : kept_(kept) {}

  /// Of what is gone, the place of the next frame that remains.
  double now(double position) const {
    double before = 0;
    for (const Stretch& stretch : kept_) {
      const auto start = static_cast<double>(stretch.start);
      before += std::clamp(position - start, 0.0, static_cast<double>(stretch.frames()));
    }
    return before;
  }
  bool remains(double position) const {
    return std::any_of(kept_.begin(), kept_.end(), [position](const Stretch& stretch) {
      return position >= static_cast<double>(stretch.start) && position < static_cast<double>(stretch.end);
    });
  }

 private:
  const std::vector<Stretch>& kept_;
};

/// Moves a marker; false when nothing remains of it.
bool move(Marker& marker, const Moves& moves, bool isPlayedFrom, double frames) {
  const double length = marker.length(), start = moves.now(marker.start), end = moves.now(marker.end);
  if (marker.type == MarkerType::position) {
    if (!moves.remains(marker.start) && !(isPlayedFrom && start < frames)) return false;
    marker.start = start;
    marker.end = start + length;
    return true;
  }
  marker.start = start;
  marker.end = end;
  // Part of a frame is nothing to hear.
  return end - start >= std::min(length, 1.0);
}

}  // namespace

Text placeOf(const Marker& marker) {
  if (marker.type == MarkerType::position) return fromUtf8(fmt::format("at {:.12g}", marker.start));
  return fromUtf8(fmt::format("{:.12g} to {:.12g}", marker.start, marker.end));
}

Text titleOf(const Marker& marker) {
  Text title = marker.type == MarkerType::loop ? u"loop" : marker.type == MarkerType::section ? u"section" : u"marker";
  if (!marker.name.empty()) title += u" \"" + marker.name + u"\"";
  return title;
}

int64_t framesOf(double length, const OptionValues& values, const Waveform& waveform) {
  const auto unit = static_cast<LengthUnit>(values.choice(u"unit"));
  const auto frames = static_cast<double>(waveform.frames());
  const double factor = unit == LengthUnit::seconds  ? waveform.sampleRate
                        : unit == LengthUnit::frames ? 1
                                                     : frames / 100;
  return std::llround(std::min(length * factor, 0x1p62));
}

void moveMarkers(Waveform& waveform, const std::vector<Stretch>& kept, int64_t frames,
                 const OperationContext& context) {
  const Moves moves(kept);
  auto& markers = waveform.markers;
  for (std::size_t number = markers.size(); number > 0; --number) {
    Marker& marker = markers[number - 1];
    const Marker before = marker;
    const bool isPlayedFrom = context.selectors && context.selectors->sections.contains(number);
    if (!move(marker, moves, isPlayedFrom, static_cast<double>(frames))) {
      context.report.dropped(waveform.name, titleOf(before) + u" " + placeOf(before), u"its frames are gone");
      markers.erase(markers.begin() + static_cast<std::ptrdiff_t>(number - 1));
      if (context.selectors) context.selectors->remove(number);
    } else if (std::abs(marker.length() - before.length()) > 1e-6) {
      context.report.approximated(waveform.name, titleOf(before), placeOf(before), placeOf(marker));
    }
  }
}

void keepOnly(Waveform& waveform, std::vector<Stretch> kept, const OperationContext& context) {
  std::vector<fixup::Piece> pieces;
  int64_t frames = 0;
  for (const Stretch& stretch : kept) {
    pieces.push_back({waveform.samples, stretch.start, stretch.frames()});
    frames += stretch.frames();
  }
  fixup::reportSamples(context.report, waveform, u"frames", fromUtf8(fmt::format("{}", waveform.frames())),
                       fromUtf8(fmt::format("{}", frames)));
  moveMarkers(waveform, kept, frames, context);
  waveform.samples = fixup::joined(std::move(pieces));
}

}  // namespace tervo

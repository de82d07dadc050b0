#include <algorithm>
#include <limits>
#include <map>

#include "core/levels.h"
#include "core/normalise/loop_frames.h"
#include "core/normalise/sample_views.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

/// Frames that a loop becomes.
struct Unrolled {
  std::vector<Piece> inserted;  ///< behind the loop's last frame
  int64_t start;
  int64_t end;
};

/// What follows the loop is heard when the loop is left, so there its last pass runs up to its end. A loop that is
/// never left saves that pass.
Unrolled unrolled(const SampleRef& samples, WholeLoop loop, LoopType type, uint8_t count) {
  const int64_t n = loop.frames();
  if (n == 1) return {{}, loop.start, loop.end};
  if (type == LoopType::reverse)
    return {{{samples, loop.start, n - 1, Direction::backwards}}, loop.end - 1, loop.end - 1 + n};
  if (count == loopForever)
    return {{{samples, loop.start + 1, n - 2, Direction::backwards}}, loop.start, loop.end + n - 2};
  return {{{samples, loop.start, n - 1, Direction::backwards}, {samples, loop.start + 1, n - 1, Direction::forwards}},
          loop.end,
          loop.end + 2 * n - 2};
}

/// How often a loop plays would count both directions of an alternating one where it counted one.
void reportCount(ConversionReport& report, const Waveform& waveform, const Marker& loop) {
  if (loop.loopType != LoopType::alternating || loop.loopCount == loopForever || loop.loopCount == loopUntilRelease)
    return;
  report.approximated(waveform.name, u"loop count", u"passes in either direction", u"passes in both directions");
}

void reportLoop(ConversionReport& report, const Waveform& waveform, const Marker& loop, WholeLoop whole) {
  const bool wasWhole = static_cast<double>(whole.start) == loop.start && static_cast<double>(whole.end) == loop.end;
  reportSamples(report, waveform, u"loop type", nameOf(loop.loopType), nameOf(LoopType::forward));
  reportCount(report, waveform, loop);
  if (!wasWhole) report.approximated(waveform.name, u"loop points", u"fractions of frames", u"whole frames");
}

/// Whether those who play the waveform play the loop that comes first in it.
enum class Heard : uint8_t { no, yes };

/// Unrolls loops that do not overlap, the last one first. Positions count the frames that were there before until all
/// are unrolled: the frames are put together once, however many loops there are.
class Rearrangement {
 public:
  explicit Rearrangement(Waveform& waveform) : waveform_(waveform), restEnd_(waveform.frames()) {}

  void unroll(std::size_t index, WholeLoop loop) {
    const Marker& marker = waveform_.markers[index];
    const Unrolled result = unrolled(waveform_.samples, loop, marker.loopType, marker.loopCount);
    int64_t frames = 0;
    for (const Piece& piece : result.inserted) frames += piece.frames;
    pieces_.push_back({waveform_.samples, loop.end, restEnd_ - loop.end});
    pieces_.insert(pieces_.end(), result.inserted.rbegin(), result.inserted.rend());
    restEnd_ = loop.end;
    loops_.push_back({index, loop.end, frames, result.start, result.end});
  }

  void finish(Heard heard) {
    if (loops_.empty()) return;
    std::reverse(loops_.begin(), loops_.end());
    for (const Loop& loop : loops_) before_.push_back(before_.back() + loop.frames);
    for (Marker& marker : waveform_.markers) move(marker, heard);
    for (std::size_t i = 0; i < loops_.size(); ++i) {
      Marker& marker = waveform_.markers[loops_[i].index];
      marker.loopType = LoopType::forward;
      marker.start = static_cast<double>(loops_[i].start + before_[i]);
      marker.end = static_cast<double>(loops_[i].end + before_[i]);
    }
    if (before_.back() == 0) return;
    pieces_.push_back({waveform_.samples, 0, restEnd_});
    std::reverse(pieces_.begin(), pieces_.end());
    waveform_.samples = joined(std::move(pieces_));
  }

 private:
  struct Loop {
    std::size_t index;
    int64_t at, frames;  ///< the ones put in
    int64_t start, end;  ///< but for the frames put in behind loops before it
  };

  /// A section that ends with a loop holds what the loop became only for those who play it.
  void move(Marker& marker, Heard heard) const {
    const auto isBefore = [](const Loop& loop, double position) { return static_cast<double>(loop.at) < position; };
    const auto isBehind = [](double position, const Loop& loop) { return position < static_cast<double>(loop.at); };
    const auto start = std::upper_bound(loops_.begin(), loops_.end(), marker.start, isBehind);
    auto end = std::lower_bound(loops_.begin(), loops_.end(), marker.end, isBefore);
    const bool endsWithHeard = heard == Heard::yes && static_cast<double>(loops_.front().at) == marker.end;
    if (endsWithHeard) ++end;
    marker.start += static_cast<double>(before_[static_cast<std::size_t>(start - loops_.begin())]);
    marker.end += static_cast<double>(before_[static_cast<std::size_t>(end - loops_.begin())]);
  }

  Waveform& waveform_;
  int64_t restEnd_;
  std::vector<Piece> pieces_;  // from the last one on
  std::vector<Loop> loops_;
  std::vector<int64_t> before_ = {0};  // frames put in behind so many loops
};

}  // namespace

LoopIndex playedLoopOf(const Region& region, const Waveform& waveform) {
  const float selector = region.trigger.get(ParameterId::loopSection).value_or(-1.0f);
  if (selector < 0) return mainLoopOf(waveform);
  const LoopIndex index = static_cast<LoopIndex>(selector) - 1;
  const bool isThere = index >= 0 && index < std::ssize(waveform.markers);
  return isThere && isActiveLoop(waveform.markers[static_cast<std::size_t>(index)]) ? index : noLoop;
}

bool needsUnrolling(const Marker& marker) {
  return isActiveLoop(marker) && marker.loopType != LoopType::forward;
}

LoopIndex mainLoopOf(const Waveform& waveform) {
  const Marker* loop = mainLoop(waveform);
  return loop && isActiveLoop(*loop) ? loop - waveform.markers.data() : noLoop;
}

void makeLoopsForward(Waveform& waveform, LoopIndex played, ConversionReport& report) {
  std::vector<std::size_t> loops;
  for (std::size_t i = 0; i < waveform.markers.size(); ++i) {
    if (needsUnrolling(waveform.markers[i])) loops.push_back(i);
  }
  std::stable_sort(loops.begin(), loops.end(),
                   [&](std::size_t a, std::size_t b) { return waveform.markers[a].end > waveform.markers[b].end; });

  int64_t first = std::numeric_limits<int64_t>::max();
  if (played != noLoop) first = wholeLoop(waveform.markers[static_cast<std::size_t>(played)], waveform).end;
  int64_t limit = std::numeric_limits<int64_t>::max();
  Heard heard = Heard::no;
  Rearrangement rearrangement(waveform);
  for (const std::size_t index : loops) {
    Marker& marker = waveform.markers[index];
    const WholeLoop loop = wholeLoop(marker, waveform);
    const bool isPlayed = static_cast<LoopIndex>(index) == played;
    if (isPlayed || (loop.start >= first && loop.end <= limit)) {
      limit = loop.start;
      if (isPlayed) heard = Heard::yes;
      reportLoop(report, waveform, marker, loop);
      rearrangement.unroll(index, loop);
      continue;
    }
    report.approximated(waveform.name, u"type of a loop that is not the one played", nameOf(marker.loopType),
                        nameOf(LoopType::forward));
    marker.loopType = LoopType::forward;
  }
  rearrangement.finish(heard);
}

std::size_t sectionLike(Waveform& waveform, const Marker& loop) {
  auto& markers = waveform.markers;
  auto section = std::find_if(markers.begin(), markers.end(), [&loop](const Marker& each) {
    return each.type == MarkerType::section && each.start == loop.start && each.end == loop.end;
  });
  if (section == markers.end())
    section =
        markers.insert(section, {.type = MarkerType::section, .name = loop.name, .start = loop.start, .end = loop.end});
  return static_cast<std::size_t>(section - markers.begin() + 1);
}

namespace {

/// A loop may also be the section that regions play. Its range is about to change, so they get a section of their own.
void keepSections(Waveform& waveform, const std::vector<Region*>& regions) {
  for (Region* region : regions) {
    const auto selector = static_cast<std::size_t>(effectiveValue(*region, ParameterId::playSection));
    if (selector == 0) continue;
    const Marker marker = waveform.markers[selector - 1];
    if (needsUnrolling(marker))
      region->trigger.set(ParameterId::playSection, static_cast<float>(sectionLike(waveform, marker)));
  }
}

/// The regions by the loop that they play.
using Groups = std::map<LoopIndex, std::vector<Region*>>;

Groups groupsOf(const Waveform& waveform, const Users& users) {
  Groups groups;
  for (Region* region : users.of(waveform)) groups[playedLoopOf(*region, waveform)].push_back(region);
  if (groups.empty()) groups[mainLoopOf(waveform)];
  return groups;
}

class Unroller {
 public:
  explicit Unroller(Pass& pass) : pass_(pass), users_(pass.loaded), waveforms_(pass.loaded.waveforms()) {}

  void unroll(Waveform& waveform) {
    Groups groups = groupsOf(waveform, users_);
    const auto main = groups.find(mainLoopOf(waveform));
    const LoopIndex keeper = main == groups.end() ? groups.rbegin()->first : main->first;
    for (auto& [loop, regions] : groups) {
      if (loop != keeper) convertFor(regions, copyFor(regions, waveform), loop);
    }
    convertFor(groups[keeper], waveform, keeper);
  }

  /// Puts what has been added where it belongs.
  void sort() {
    pass_.loaded.sortWaveforms([this](const Item& a, const Item& b) { return waveforms_.before(a, b); });
  }

 private:
  void convertFor(const std::vector<Region*>& regions, Waveform& waveform, LoopIndex played) {
    keepSections(waveform, regions);
    makeLoopsForward(waveform, played, pass_.report);
  }

  Waveform& copyFor(const std::vector<Region*>& regions, const Waveform& waveform) {
    Waveform& copy = pass_.loaded.add(std::make_unique<Waveform>());
    copySound(waveform, copy);
    waveforms_.putBehind(waveform, copy);
    for (Region* region : regions) region->waveform = copy.id();
    return copy;
  }

  Pass& pass_;
  Users users_;
  Places waveforms_;
};

std::vector<Waveform*> waveformsToUnroll(const Collection& collection) {
  std::vector<Waveform*> result;
  for (const auto& waveform : collection.waveforms()) {
    const auto& markers = waveform->markers;
    if (waveform->holdsData() && std::any_of(markers.begin(), markers.end(), needsUnrolling))
      result.push_back(waveform.get());
  }
  return result;
}

}  // namespace

bool unrollLoops(Pass& pass) {
  const std::vector<Waveform*> waveforms = waveformsToUnroll(pass.loaded);
  if (waveforms.empty()) return true;
  Unroller unroller(pass);
  for (Waveform* waveform : waveforms) unroller.unroll(*waveform);
  unroller.sort();
  return true;
}

}  // namespace tervo::fixup

#pragma once
// What the steps of the load-time normalisation share.

#include <unordered_map>
#include <vector>

#include "core/collection.h"
#include "core/host.h"
#include "core/report.h"

namespace tervo::fixup {

struct Pass {
  Collection& loaded;
  const Collection* mergedInto;  ///< null when nothing is merged
  Host& host;
  ConversionReport& report;
};

template <typename Action>
void forEachRegion(const Collection& collection, const Action& action) {
  for (const auto& instrument : collection.instruments()) {
    for (const auto& layer : instrument->layers()) {
      for (const auto& region : layer->regions()) action(*region);
    }
  }
}

inline Layer& layerOf(const Region& region) {
  return *static_cast<Layer*>(region.parent());
}

/// The regions that play each waveform, in document order.
class Users {
 public:
  explicit Users(const Collection& collection);
  const std::vector<Region*>& of(const Waveform& waveform) const;

 private:
  std::unordered_map<ItemId, std::vector<Region*>> regions_;
};

/// Places in a list that new items have been added to the end of, each of which belongs behind one that was there.
class Places {
 public:
  template <typename List>
  explicit Places(const List& list) {
    for (const auto& item : list) places_.emplace(item->id(), places_.size());
  }
  void putBehind(const Item& there, const Item& added) { places_[added.id()] = places_.at(there.id()); }
  bool before(const Item& a, const Item& b) const { return places_.at(a.id()) < places_.at(b.id()); }

 private:
  std::unordered_map<ItemId, std::size_t> places_;
};

/// A loop's range in whole frames, as writers round it. At least one frame, and within the waveform's when that has
/// any.
struct WholeLoop {
  int64_t start;
  int64_t end;

  int64_t frames() const { return end - start; }
};
WholeLoop wholeLoop(const Marker& loop, const Waveform& waveform);

inline bool isActiveLoop(const Marker& marker) {
  return marker.type == MarkerType::loop && marker.loopType != LoopType::off;
}

/// Whether 32-bit floats round what the source stores.
bool isFinerThanFloats(const Waveform& waveform);

/// Says that samples were rearranged. They are the same as before, unless they were finer than 32-bit floats, which is
/// what they pass through when they are written.
void reportSamples(ConversionReport& report, const Waveform& waveform, TextView what, TextView from, TextView to);

}  // namespace tervo::fixup

#include <algorithm>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "core/normalise/channel_names.h"
#include "core/normalise/sample_digest.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

/// What a marker does, without what it is called.
auto rangeOf(const Marker& marker) {
  return std::tuple(marker.type, marker.start, marker.end, marker.loopType, marker.loopCount, marker.loopPitch);
}

bool sameMarkers(const Waveform& a, const Waveform& b) {
  return std::equal(a.markers.begin(), a.markers.end(), b.markers.begin(), b.markers.end(),
                    [](const Marker& one, const Marker& other) { return rangeOf(one) == rangeOf(other); });
}

/// The channels of one sound are two waveforms even where they hold the same.
bool areLeftAndRight(const Waveform& a, const Waveform& b) {
  const auto one = channelNameOf(a.name), other = channelNameOf(b.name);
  return one && other && one->side != other->side && pairKey(*one) == pairKey(*other);
}

/// Everything but the content. The stored format counts: a sound in a coarser format would be saved coarser.
bool couldBeEqual(const Waveform& a, const Waveform& b) {
  return a.frames() == b.frames() && a.channels() == b.channels() && a.sampleRate == b.sampleRate &&
         a.rootKey == b.rootKey && a.fineTune == b.fineTune && a.gain == b.gain &&
         formatOf(a.storedFormat) == formatOf(b.storedFormat) && sameMarkers(a, b);
}

class DuplicateFinder {
 public:
  explicit DuplicateFinder(const Collection& there) {
    for (const auto& waveform : there.waveforms()) {
      if (waveform->holdsData()) byLength_[waveform->frames()].push_back(waveform.get());
    }
  }

  /// The waveform that was there before and sounds like this one; null when there is none.
  const Waveform* find(const Waveform& waveform) {
    const auto candidates = byLength_.find(waveform.frames());
    if (!waveform.holdsData() || candidates == byLength_.end()) return nullptr;
    for (const Waveform* candidate : candidates->second) {
      if (couldBeEqual(waveform, *candidate) && sameContent(waveform, *candidate) &&
          !areLeftAndRight(waveform, *candidate))
        return candidate;
    }
    return nullptr;
  }

 private:
  bool sameContent(const Waveform& a, const Waveform& b) {
    if (a.samples == b.samples) return true;
    const auto& one = digest(a);
    return one && one == digest(b);
  }

  /// Nothing when the samples cannot be read.
  const std::optional<SampleDigest>& digest(const Waveform& waveform) {
    const auto [place, isNew] = digests_.try_emplace(waveform.id());
    if (isNew) {
      const StoredSamples* stored = isFinerThanFloats(waveform) ? waveform.samples->stored() : nullptr;
      place->second = stored ? digestOfStored(*stored) : digestOf(*waveform.samples);
    }
    return place->second;
  }

  std::unordered_map<int64_t, std::vector<const Waveform*>> byLength_;
  std::unordered_map<ItemId, std::optional<SampleDigest>> digests_;
};

}  // namespace

bool removeDuplicates(Pass& pass) {
  if (!pass.mergedInto) return true;
  DuplicateFinder finder(*pass.mergedInto);
  const Users users(pass.loaded);
  std::unordered_set<ItemId> dropped;
  bool cancelled = false;
  for (const auto& waveform : pass.loaded.waveforms()) {
    // Reading their samples may take a while.
    cancelled = !pass.host.progress(0.5);
    if (cancelled) break;
    const Waveform* kept = finder.find(*waveform);
    if (!kept) continue;
    for (Region* region : users.of(*waveform)) region->waveform = kept->id();
    pass.report.add({waveform->name, u"duplicate waveform", ReportKind::kept, waveform->name, kept->name});
    dropped.insert(waveform->id());
  }
  pass.loaded.removeWaveforms([&](const Waveform& waveform) { return dropped.contains(waveform.id()); });
  return !cancelled;
}

}  // namespace tervo::fixup

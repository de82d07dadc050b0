#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <map>
#include <span>
#include <unordered_set>

#include "core/levels.h"
#include "core/normalise/channel_names.h"
#include "core/normalise/sample_views.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

// Banks store pan in coarse steps; anything narrower than this is a stereo image of its own.
constexpr float hardPan = 0.99f;

bool sameMarkers(const Waveform& a, const Waveform& b) {
  return std::equal(a.markers.begin(), a.markers.end(), b.markers.begin(), b.markers.end(),
                    [](const Marker& one, Marker other) {
                      other.name = one.name;
                      other.foreignId = one.foreignId;
                      return one == other;
                    });
}

bool couldBePair(const Waveform& left, const Waveform& right) {
  return std::llabs(left.frames() - right.frames()) <= 1 && left.sampleRate == right.sampleRate &&
         left.rootKey == right.rootKey && left.fineTune == right.fineTune && left.gain == right.gain &&
         left.storedFormat == right.storedFormat && left.storedBits == right.storedBits &&
         left.coding == right.coding && left.preferredFormat == right.preferredFormat && sameMarkers(left, right);
}

bool sameButPan(const ArticulationSet& a, const ArticulationSet& b) {
  const auto parts = [](std::span<const ArticulationSet::Entry> entries) {
    constexpr ParameterId pan = ParameterId::panPosition;
    const auto isBefore = [](const auto& entry, ParameterId row) { return entry.first < row; };
    const auto place = std::lower_bound(entries.begin(), entries.end(), pan, isBefore);
    const auto before = static_cast<std::size_t>(place - entries.begin());
    const bool isSet = place != entries.end() && place->first == pan;
    return std::array{entries.first(before), entries.subspan(before + (isSet ? 1 : 0))};
  };
  return std::ranges::equal(parts(a.entries()), parts(b.entries()), [](const auto& one, const auto& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end());
  });
}

/// Of two regions of an instrument. Mostly their layers say the same or nothing, and only their own rows tell.
bool sameArticulation(const Region& a, const Region& b) {
  const ArticulationSet &aboveA = layerOf(a).articulation, &aboveB = layerOf(b).articulation;
  if (aboveA == aboveB) {
    if (sameButPan(a.articulation, b.articulation)) return true;
    if (aboveA.empty() && static_cast<const Instrument*>(layerOf(a).parent())->articulation.empty()) return false;
  }
  return sameButPan(effectiveArticulation(a), effectiveArticulation(b));
}

bool sameTrigger(const Region& a, const Region& b) {
  if (a.trigger == b.trigger && layerOf(a).trigger == layerOf(b).trigger) return true;
  for (int row = indexOf(ParameterId::triggerType); row <= indexOf(ParameterId::phaseGroup); ++row) {
    const auto id = static_cast<ParameterId>(row);
    if ((isTrigger(id) || isWaveformOverride(id)) && effectiveValue(a, id) != effectiveValue(b, id)) return false;
  }
  return a.trigger.get(ParameterId::rootKeyOverride) == b.trigger.get(ParameterId::rootKeyOverride);
}

/// Whether the two sound together, each at its side, and differ in nothing else.
bool isPair(const Region& left, const Region& right) {
  return layerOf(left).parent() == layerOf(right).parent() && sameTrigger(left, right) &&
         effectiveValue(left, ParameterId::panPosition) <= -hardPan &&
         effectiveValue(right, ParameterId::panPosition) >= hardPan && sameArticulation(left, right);
}

/// The right waveform's regions in the order of the left one's; nothing when not every region has its partner.
std::optional<std::vector<Region*>> partners(const std::vector<Region*>& left, const std::vector<Region*>& right) {
  if (left.size() != right.size()) return std::nullopt;
  std::vector<Region*> free = right;
  for (std::size_t i = 0; i < left.size(); ++i) {
    const auto rest = free.begin() + static_cast<std::ptrdiff_t>(i);
    const auto partner = std::find_if(rest, free.end(), [&](const Region* each) { return isPair(*left[i], *each); });
    if (partner == free.end()) return std::nullopt;
    std::iter_swap(rest, partner);
  }
  return free;
}

void playAsStereo(Region& left, const Region& right) {
  left.articulation.erase(ParameterId::panPosition);
  if (effectiveValue(left, ParameterId::panPosition) != 0) left.articulation.set(ParameterId::panPosition, 0);
  if (effectiveValue(right, ParameterId::phaseMaster) != 0) left.trigger.set(ParameterId::phaseMaster, 1);
}

class Merger {
 public:
  explicit Merger(Pass& pass) : pass_(pass), users_(pass.loaded) {}

  /// Merges them when they are the two channels of one sound.
  bool merge(Waveform& left, const Waveform& right, const Text& name) {
    if (!couldBePair(left, right)) return false;
    const auto rightRegions = partners(users_.of(left), users_.of(right));
    if (!rightRegions) return false;
    if (gone_.empty()) pass_.host.showStatus(u"Merging dual mono waveforms...");

    const std::vector<Region*>& leftRegions = users_.of(left);
    for (std::size_t i = 0; i < leftRegions.size(); ++i) {
      playAsStereo(*leftRegions[i], *(*rightRegions)[i]);
      gone_.insert((*rightRegions)[i]->id());
    }
    left.name = name;
    reportSamples(pass_.report, left, u"channels", u"dual mono", u"stereo");
    left.samples = interleavedOf(left.samples, right.samples);
    takeExtras(left, right, pass_.report);
    gone_.insert(right.id());
    return true;
  }

  void removeRightChannels() {
    if (gone_.empty()) return;
    const auto isGone = [this](const Item& item) { return gone_.contains(item.id()); };
    for (const auto& instrument : pass_.loaded.instruments()) {
      std::unordered_set<ItemId> emptied;
      for (const auto& layer : instrument->layers()) {
        if (layer->regions().empty()) continue;
        layer->removeRegions(isGone);
        if (layer->regions().empty()) emptied.insert(layer->id());
      }
      instrument->removeLayers([&](const Layer& layer) { return emptied.contains(layer.id()); });
    }
    pass_.loaded.removeWaveforms(isGone);
  }

 private:
  Pass& pass_;
  Users users_;
  std::unordered_set<ItemId> gone_;
};

/// One-channel waveforms that bear the same name but for the channel.
struct Namesakes {
  struct Left {
    Waveform* waveform;
    Text stem;
  };
  std::vector<Left> left;
  std::vector<Waveform*> right;
};

std::map<Text, Namesakes> namesakesOf(const Collection& collection) {
  std::map<Text, Namesakes> all;
  for (const auto& waveform : collection.waveforms()) {
    if (waveform->channels() != 1 || waveform->frames() == 0) continue;
    const auto name = channelNameOf(waveform->name);
    if (!name) continue;
    Namesakes& namesakes = all[pairKey(*name)];
    if (name->side == ChannelName::Side::left)
      namesakes.left.push_back({waveform.get(), name->stem()});
    else
      namesakes.right.push_back(waveform.get());
  }
  return all;
}

}  // namespace

bool mergeStereo(Pass& pass) {
  Merger merger(pass);
  for (auto& [key, namesakes] : namesakesOf(pass.loaded)) {
    for (const Namesakes::Left& left : namesakes.left) {
      const auto merged = std::find_if(namesakes.right.begin(), namesakes.right.end(), [&](const Waveform* right) {
        return merger.merge(*left.waveform, *right, left.stem);
      });
      if (merged != namesakes.right.end()) namesakes.right.erase(merged);
    }
  }
  merger.removeRightChannels();
  return true;
}

}  // namespace tervo::fixup

#include "formats/instrument/sf2_stereo_pairs.h"

#include <algorithm>
#include <unordered_set>

#include "core/levels.h"
#include "core/normalise/channel_names.h"

namespace tervo::sf2 {
namespace {

/// A region of a waveform of one channel, which may be half of a pair.
struct Half {
  ItemId waveform;
  double sampleRate;
  Range keys, velocities;
  float pan;
};

bool soundTogether(const Half& a, const Half& b) {
  return a.keys.overlaps(b.keys) && a.velocities.overlaps(b.velocities);
}

bool areSides(const Half& a, const Half& b) {
  return a.waveform != b.waveform && a.sampleRate == b.sampleRate && a.pan != b.pan && soundTogether(a, b);
}

class PairFinder {
 public:
  void search(const Layer& layer) {
    std::vector<Half> open;
    for (const auto& region : layer.regions()) {
      const Waveform* waveform = findItem<Waveform>(region->waveform);
      if (!waveform || waveform->channels() > 1 || paired_.contains(waveform->id())) continue;
      const Half half{waveform->id(), waveform->sampleRate, keyRange(*region), velocityRange(*region),
                      effectiveValue(*region, ParameterId::panPosition)};
      const auto other = std::find_if(open.begin(), open.end(), [&](const Half& each) { return areSides(each, half); });
      if (other == open.end()) {
        open.push_back(half);
        continue;
      }
      const ItemId one = other->waveform;
      pairs_.push_back(other->pan < half.pan ? StereoPair{one, half.waveform} : StereoPair{half.waveform, one});
      paired_.insert({one, half.waveform});
      std::erase_if(open, [&](const Half& each) { return each.waveform == one || each.waveform == half.waveform; });
    }
  }
  std::vector<StereoPair> take() { return std::move(pairs_); }

 private:
  std::vector<StereoPair> pairs_;
  std::unordered_set<ItemId> paired_;
};

/// The index of a left sample's partner, where both name each other.
std::optional<std::size_t> rightOf(const Bank& bank, std::size_t left) {
  const SampleRecord& record = bank.samples[left];
  if (!(record.type & leftSample) || record.link >= bank.samples.size()) return std::nullopt;
  const SampleRecord& right = bank.samples[record.link];
  const bool isMutual = (right.type & rightSample) && right.link == left;
  return isMutual ? std::optional<std::size_t>(record.link) : std::nullopt;
}

std::vector<const Instrument*> instrumentsOf(const Collection& collection) {
  std::vector<const Instrument*> all;
  for (const auto& instrument : collection.instruments()) all.push_back(instrument.get());
  return all;
}

}  // namespace

std::vector<StereoPair> pairsByUse(const std::vector<const Instrument*>& instruments) {
  PairFinder finder;
  for (const Instrument* instrument : instruments)
    for (const auto& layer : instrument->layers()) finder.search(*layer);
  return finder.take();
}

bool arePairedByName(const Waveform& left, const Waveform& right) {
  const auto one = fixup::channelNameOf(left.name), other = fixup::channelNameOf(right.name);
  return one && other && one->side != other->side && fixup::pairKey(*one) == fixup::pairKey(*other);
}

void noteLostLinks(const Bank& bank, const std::vector<Waveform*>& waveforms, const Collection& collection,
                   ConversionReport& report) {
  std::vector<StereoPair> unnamed;
  for (std::size_t i = 0; i < waveforms.size(); ++i) {
    const auto partner = rightOf(bank, i);
    if (!partner || !waveforms[i] || !waveforms[*partner]) continue;
    if (!arePairedByName(*waveforms[i], *waveforms[*partner]))
      unnamed.push_back({waveforms[i]->id(), waveforms[*partner]->id()});
  }
  if (unnamed.empty()) return;
  std::unordered_map<ItemId, ItemId> partners;
  for (const StereoPair& pair : pairsByUse(instrumentsOf(collection))) {
    partners[pair.left] = pair.right;
    partners[pair.right] = pair.left;
  }
  for (const StereoPair& pair : unnamed) {
    const auto known = partners.find(pair.left);
    if (known == partners.end() || known->second != pair.right)
      report.dropped(findItem<Waveform>(pair.left)->name, u"link of two channels",
                     u"neither their names nor a layer make them a pair");
  }
}

}  // namespace tervo::sf2

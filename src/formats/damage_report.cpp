#include "formats/damage_report.h"

#include <unordered_map>
#include <unordered_set>

#include "core/collection.h"
#include "formats/clipping.h"
#include "formats/number_text.h"

namespace tervo {
namespace {

using Waveforms = std::vector<const Waveform*>;

Waveforms waveformsOf(const Instrument& instrument) {
  Waveforms waveforms;
  std::unordered_set<ItemId> seen;
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) {
      const auto* waveform = findItem<Waveform>(region->waveform);
      if (waveform && seen.insert(waveform->id()).second) waveforms.push_back(waveform);
    }
  }
  return waveforms;
}

Waveforms waveformsOf(const Item& item) {
  if (item.kind() == ItemKind::waveform) return {static_cast<const Waveform*>(&item)};
  if (item.kind() == ItemKind::instrument) return waveformsOf(static_cast<const Instrument&>(item));
  Waveforms waveforms;
  if (item.kind() == ItemKind::collection)
    for (const auto& waveform : static_cast<const Collection&>(item).waveforms()) waveforms.push_back(waveform.get());
  return waveforms;
}

/// Those that are damaged; together where they stand in one stream, as nobody knows which of them it is.
std::vector<Waveforms> damagedAmong(const Waveforms& waveforms) {
  std::vector<Waveforms> all;
  std::unordered_map<const void*, std::size_t> places;
  for (const Waveform* waveform : waveforms) {
    const void* where = waveform->samples ? waveform->samples->faults().damage : nullptr;
    if (!where) continue;
    const auto [place, isNew] = places.try_emplace(where, all.size());
    if (isNew) all.emplace_back();
    all[place->second].push_back(waveform);
  }
  return all;
}

}  // namespace

void reportSilenced(const Waveform& waveform, ConversionReport& report) {
  const uint64_t samples = waveform.samples ? waveform.samples->faults().silenced : 0;
  if (samples > 0) report.approximated(waveform.name, notNumbers, numberText(static_cast<double>(samples)), u"silent");
}

void reportDamage(const Item& item, ConversionReport& report) {
  const Waveforms all = waveformsOf(item);
  for (const Waveform* waveform : all) reportSilenced(*waveform, report);
  for (const Waveforms& waveforms : damagedAmong(all)) {
    Text what = u"some frames";
    if (waveforms.size() > 1)
      what += u" of " + numberText(static_cast<double>(waveforms.size())) + u" sounds of one stream";
    report.dropped(waveforms.front()->name, what, u"they are damaged in the file and silent here");
  }
}

}  // namespace tervo

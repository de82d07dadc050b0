#include "formats/damage_report.h"

#include <unordered_set>

#include "core/collection.h"

namespace tervo {
namespace {

void reportDamage(const Waveform& waveform, ConversionReport& report) {
  if (!waveform.samples || !waveform.samples->isDamaged()) return;
  report.dropped(waveform.name, u"some frames", u"they are damaged in the file and silent here");
}

void reportDamage(const Instrument& instrument, ConversionReport& report) {
  std::unordered_set<ItemId> seen;
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) {
      const auto* waveform = findItem<Waveform>(region->waveform);
      if (waveform && seen.insert(waveform->id()).second) reportDamage(*waveform, report);
    }
  }
}

}  // namespace

void reportDamage(const Item& item, ConversionReport& report) {
  if (item.kind() == ItemKind::waveform) return reportDamage(static_cast<const Waveform&>(item), report);
  if (item.kind() == ItemKind::instrument) return reportDamage(static_cast<const Instrument&>(item), report);
  if (item.kind() != ItemKind::collection) return;
  for (const auto& waveform : static_cast<const Collection&>(item).waveforms()) reportDamage(*waveform, report);
}

}  // namespace tervo

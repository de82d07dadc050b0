#include "tools/wave/selectors.h"

#include <string>

#include "core/parameter_table.h"
#include "core/waveform.h"

namespace tervo {
namespace {

std::size_t markerNamed(const Region& region, ParameterId row) {
  const float selector = region.trigger.get(row).value_or(0);
  return selector >= 1 ? static_cast<std::size_t>(selector) : 0;
}

/// The other markers move up.
void removeFrom(Selectors::Places& places, std::size_t number) {
  for (auto& [named, now] : places) {
    if (now == number) now = 0;
    if (now > number) --now;
  }
}

struct Selector {
  ParameterId row;
  TextView meaningOfNone;
};

void change(TriggerSet& rows, const Region& region, Selector selector, const Selectors::Places& places,
            ConversionReport& report) {
  const std::size_t named = markerNamed(region, selector.row);
  const auto place = places.find(named);
  if (named == 0 || place == places.end() || place->second == named) return;
  if (place->second > 0) return rows.set(selector.row, static_cast<float>(place->second));
  rows.erase(selector.row);
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  const Text before = u"marker " + fromUtf8(std::to_string(named));
  report.approximated(waveform ? TextView(waveform->name) : TextView(), rowOf(selector.row).name, before,
                      selector.meaningOfNone);
}

}  // namespace

Selectors Selectors::of(const std::vector<Region*>& regions) {
  Selectors selectors;
  selectors.regions.assign(regions.begin(), regions.end());
  for (const Region* region : regions) {
    if (const auto section = markerNamed(*region, ParameterId::playSection)) selectors.sections[section] = section;
    if (const auto loop = markerNamed(*region, ParameterId::loopSection)) selectors.loops[loop] = loop;
  }
  return selectors;
}

void Selectors::remove(std::size_t number) {
  removeFrom(sections, number);
  removeFrom(loops, number);
}

namespace {

void setLoopRow(TriggerSet& rows, LoopRow row) {
  if (row == LoopRow::own) return rows.erase(ParameterId::loopSection);
  rows.set(ParameterId::loopSection, 0);
}

}  // namespace

std::optional<TriggerSet> withSelectors(const Region& region, const Selectors& selectors, ConversionReport& report) {
  TriggerSet rows = region.trigger;
  change(rows, region, {ParameterId::playSection, u"whole waveform"}, selectors.sections, report);
  if (const auto row = selectors.loopRows.find(&region); row != selectors.loopRows.end())
    setLoopRow(rows, row->second);
  else
    change(rows, region, {ParameterId::loopSection, u"the waveform's own loop"}, selectors.loops, report);
  if (rows == region.trigger) return std::nullopt;
  return rows;
}

}  // namespace tervo

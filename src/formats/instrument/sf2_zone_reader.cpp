#include "formats/instrument/sf2_zone_reader.h"

#include <algorithm>
#include <limits>

#include "formats/number_text.h"

namespace tervo::sf2 {
namespace {

/// By its generator, so that a file of lies makes a short list.
void noteModulator(const ModulatorRecord& record, TextView what, LossTally& losses) {
  const unsigned number = record.destination;
  const Text target = number < generatorCount ? u" of generator " + numberText(number) : Text(u" of no generator");
  losses.dropped(Text(what) + target,
                 record.amountSource == 0 ? u"the document has no place for it" : u"it has a second source");
}

/// Whether each belongs to the longest chain that does not run backwards, of those that are not beyond `count`.
std::vector<bool> inLongestChain(const std::vector<std::size_t>& firsts, std::size_t count) {
  constexpr std::size_t none = std::numeric_limits<std::size_t>::max();
  std::vector<std::size_t> before(firsts.size(), none), ends;  // the lowest end of a chain of each length
  for (std::size_t i = 0; i < firsts.size(); ++i) {
    if (firsts[i] > count) continue;
    const auto place = std::upper_bound(ends.begin(), ends.end(), firsts[i],
                                        [&](std::size_t first, std::size_t end) { return first < firsts[end]; });
    if (place != ends.begin()) before[i] = *(place - 1);
    place == ends.end() ? ends.push_back(i) : void(*place = i);
  }
  std::vector<bool> isIn(firsts.size());
  for (std::size_t i = ends.empty() ? none : ends.back(); i != none; i = before[i]) isIn[i] = true;
  return isIn;
}

}  // namespace

std::vector<IndexSpan> spansFrom(const std::vector<std::size_t>& firsts, std::size_t count, TextView what,
                                 LossTally& losses) {
  if (firsts.empty()) return {};
  std::vector<IndexSpan> spans(firsts.size() - 1);
  const bool isSound = firsts.back() <= count && std::is_sorted(firsts.begin(), firsts.end());
  const std::vector<bool> isIn = isSound ? std::vector<bool>(firsts.size(), true) : inLongestChain(firsts, count);
  std::size_t next = count;
  for (std::size_t i = firsts.size(); i-- > 0;) {
    if (!isIn[i]) {
      losses.dropped(what, u"their indices are out of order");
      continue;
    }
    if (i < spans.size()) spans[i] = {firsts[i], next};
    next = firsts[i];
  }
  return spans;
}

ZoneReader::ZoneReader(const ZoneRecords& records, LossTally& losses) : records_(records) {
  constexpr TextView what = u"parameters of a zone";
  std::vector<std::size_t> generators, modulators;
  for (const BagRecord& bag : records.bags) {
    generators.push_back(bag.firstGenerator);
    modulators.push_back(bag.firstModulator);
  }
  generators_ = spansFrom(generators, records.generators.size(), what, losses);
  modulators_ = spansFrom(modulators, records.modulators.size(), what, losses);
}

void ZoneReader::apply(std::size_t bag, ZoneValues& values, LossTally& losses) const {
  if (bag >= generators_.size()) return;
  for (std::size_t i = generators_[bag].first; i < generators_[bag].end; ++i) {
    const GeneratorRecord& record = records_.generators[i];
    if (record.generator < generatorCount)
      values.generators[record.generator] = record.amount;
    else
      losses.dropped(u"generator", u"its number is unknown");
  }
  for (std::size_t i = modulators_[bag].first; i < modulators_[bag].end; ++i) {
    const ModulatorRecord& record = records_.modulators[i];
    const auto found = slotOf(record);
    if (found) values.slots[found->slot] = found->amount;
    const bool isWhole = found && !isMoreThanItsSlot(record, found->slot);
    if (!isWhole) noteModulator(record, found ? u"curve of a modulator" : u"modulator", losses);
    if (found && losesItsOffset(record, found->slot)) noteModulator(record, u"offset of a modulator", losses);
  }
}

}  // namespace tervo::sf2

#include "formats/instrument/sf2_zone_reader.h"

#include <algorithm>
#include <tuple>
#include <utility>

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

}  // namespace

// A list is taken once: bags that run backwards or overlap would let a small file ask for endless work.
ZoneReader::ZoneReader(const ZoneRecords& records, LossTally& losses) : records_(records) {
  if (records.bags.empty()) return;
  extents_.resize(records.bags.size() - 1);
  std::size_t generators = 0, modulators = 0;
  for (std::size_t i = 0; i < extents_.size(); ++i) {
    const auto take = [&losses](std::size_t first, std::size_t next, std::size_t count, std::size_t& reached) {
      const std::size_t end = std::min(next, count);
      const bool isSound = first >= reached && first <= end;
      if (!isSound || end != next) losses.dropped(u"parameters of a zone", u"their indices are out of order");
      return isSound ? (reached = end, std::pair(first, end)) : std::pair<std::size_t, std::size_t>(0, 0);
    };
    const BagRecord &bag = records.bags[i], &next = records.bags[i + 1];
    std::tie(extents_[i].generators, extents_[i].generatorsEnd) =
        take(bag.firstGenerator, next.firstGenerator, records.generators.size(), generators);
    std::tie(extents_[i].modulators, extents_[i].modulatorsEnd) =
        take(bag.firstModulator, next.firstModulator, records.modulators.size(), modulators);
  }
}

void ZoneReader::apply(std::size_t bag, ZoneValues& values, LossTally& losses) const {
  if (bag >= extents_.size()) return;
  const Extent& extent = extents_[bag];
  for (std::size_t i = extent.generators; i < extent.generatorsEnd; ++i) {
    const GeneratorRecord& record = records_.generators[i];
    if (record.generator < generatorCount)
      values.generators[record.generator] = record.amount;
    else
      losses.dropped(u"generator", u"its number is unknown");
  }
  for (std::size_t i = extent.modulators; i < extent.modulatorsEnd; ++i) {
    const ModulatorRecord& record = records_.modulators[i];
    const auto found = slotOf(record);
    if (found) values.slots[found->slot] = found->amount;
    const bool isWhole = found && !isMoreThanItsSlot(record, found->slot);
    if (!isWhole) noteModulator(record, found ? u"curve of a modulator" : u"modulator", losses);
    if (found && losesItsOffset(record, found->slot)) noteModulator(record, u"offset of a modulator", losses);
  }
}

}  // namespace tervo::sf2

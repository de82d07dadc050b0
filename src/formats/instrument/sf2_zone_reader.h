#pragma once
// Reads the zones of presets and instruments: the generators and modulators between one bag and the next.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "formats/instrument/sf2_bank.h"
#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

/// Which bags belong to a preset or an instrument.
struct BagSpan {
  std::size_t first = 0, end = 0;
};

/// The bags of each record: from its first to that of the next, or to the last that there is. Records whose bags run
/// backwards or overlap those of others before them have none.
template <typename Record>
std::vector<BagSpan> bagSpans(const std::vector<Record>& records, std::size_t end, LossTally& losses) {
  std::vector<BagSpan> spans(records.size());
  std::size_t reached = 0;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::size_t first = records[i].firstBag;
    const std::size_t next = i + 1 < records.size() ? std::size_t{records[i + 1].firstBag} : end;
    const bool isSound = first >= reached && first <= std::min(next, end);
    if (!isSound || next > end) losses.dropped(u"zones", u"their indices are out of order");
    if (!isSound) continue;
    spans[i] = {first, std::min(next, end)};
    reached = spans[i].end;
  }
  return spans;
}

class ZoneReader {
 public:
  ZoneReader(const ZoneRecords& records, LossTally& losses);

  /// Lays what the bag's zone says over `values`. What the document has no place for goes into `losses`.
  void apply(std::size_t bag, ZoneValues& values, LossTally& losses) const;

 private:
  struct Extent {
    std::size_t generators = 0, generatorsEnd = 0, modulators = 0, modulatorsEnd = 0;
  };
  const ZoneRecords& records_;
  std::vector<Extent> extents_;
};

}  // namespace tervo::sf2

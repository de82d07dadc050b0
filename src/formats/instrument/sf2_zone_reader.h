#pragma once
// Reads the zones of presets and instruments: the generators and modulators between one bag and the next.

#include <cstdint>
#include <vector>

#include "formats/instrument/sf2_bank.h"
#include "formats/instrument/sf2_zone.h"

namespace tervo::sf2 {

/// Which entries of another table belong to a record.
struct IndexSpan {
  std::size_t first = 0, end = 0;
};

/// The entries of each record but the last, which only ends the table: from its first to the first of the next record.
/// Of `count` entries each goes to one record at most, or a small file could ask for endless work. So the longest chain
/// of records whose firsts do not run backwards counts; the others have none, which is noted.
std::vector<IndexSpan> spansFrom(const std::vector<std::size_t>& firsts, std::size_t count, TextView what,
                                 LossTally& losses);

/// The bags of each record; `end` is the first of none.
template <typename Record>
std::vector<IndexSpan> bagSpans(const std::vector<Record>& records, std::size_t end, std::size_t count,
                                LossTally& losses) {
  std::vector<std::size_t> firsts;
  for (const Record& record : records) firsts.push_back(record.firstBag);
  firsts.push_back(end);
  return spansFrom(firsts, count, u"zones", losses);
}

class ZoneReader {
 public:
  ZoneReader(const ZoneRecords& records, LossTally& losses);

  /// Lays what the bag's zone says over `values`. What the document has no place for goes into `losses`.
  void apply(std::size_t bag, ZoneValues& values, LossTally& losses) const;

 private:
  const ZoneRecords& records_;
  std::vector<IndexSpan> generators_, modulators_;  ///< by bag
};

}  // namespace tervo::sf2

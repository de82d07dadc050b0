#pragma once
// What a codec loses many times in one item, as one entry of the report each: a bank can have thousands of modulators
// that the document has no place for.

#include <vector>

#include "core/report.h"

namespace tervo {

class LossTally {
 public:
  void dropped(TextView what, TextView why);
  /// The values are those of the first time.
  void approximated(TextView what, TextView from, TextView to);
  void approximated(TextView what, double from, double to);

  /// What another one counted.
  void add(const LossTally& other);

  /// Adds an entry for each kind of loss, with how often it happened where that was more than once; then forgets them.
  void reportTo(ConversionReport& report, TextView item);

 private:
  struct Loss {
    ReportEntry entry;
    std::size_t count = 0;
  };
  /// False when it is the first loss of this kind.
  bool countAgain(TextView what, ReportKind kind, TextView to, std::size_t count = 1);

  std::vector<Loss> losses_;
};

}  // namespace tervo

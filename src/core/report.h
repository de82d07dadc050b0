#pragma once
// What an open or a save kept, approximated or dropped, so that no conversion loses anything in silence.

#include <cstddef>
#include <vector>

#include "base/text.h"

namespace tervo {

enum class ReportKind { kept, approximated, dropped };

/// "kept", "approximated", "dropped".
TextView nameOf(ReportKind kind);

struct ReportEntry {
  Text item;  ///< whose it is, as the user knows it: a waveform's or an instrument's name
  Text what;  ///< what was lost or changed
  ReportKind kind = ReportKind::dropped;
  Text from;  ///< the value that was there, where there is one
  Text to;    ///< the value that took its place, or why nothing did
};

class ConversionReport {
 public:
  /// A damaged file can lose something with every few bytes; behind so many entries one more says that there are
  /// others.
  static constexpr std::size_t most = 20000;

  void add(ReportEntry entry);
  void approximated(TextView item, TextView what, TextView from, TextView to);
  void dropped(TextView item, TextView what, TextView why);

  const std::vector<ReportEntry>& entries() const { return entries_; }
  bool lostSomething() const;

 private:
  std::vector<ReportEntry> entries_;
};

}  // namespace tervo

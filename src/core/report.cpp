#include "core/report.h"

#include <algorithm>
#include <utility>

namespace tervo {

TextView nameOf(ReportKind kind) {
  switch (kind) {
    case ReportKind::kept:
      return u"kept";
    case ReportKind::approximated:
      return u"approximated";
    case ReportKind::dropped:
      return u"dropped";
  }
  return {};
}

void ConversionReport::add(ReportEntry entry) {
  if (entries_.size() > most) return;
  if (entries_.size() == most) entry = {entry.item, u"further entries", ReportKind::dropped, {}, u"there are too many"};
  entries_.push_back(std::move(entry));
}

void ConversionReport::approximated(TextView item, TextView what, TextView from, TextView to) {
  add({Text(item), Text(what), ReportKind::approximated, Text(from), Text(to)});
}

void ConversionReport::dropped(TextView item, TextView what, TextView why) {
  add({Text(item), Text(what), ReportKind::dropped, {}, Text(why)});
}

bool ConversionReport::lostSomething() const {
  return std::any_of(entries_.begin(), entries_.end(),
                     [](const auto& entry) { return entry.kind != ReportKind::kept; });
}

}  // namespace tervo

#include "formats/loss_tally.h"

#include <algorithm>

#include "formats/number_text.h"

namespace tervo {

bool LossTally::countAgain(TextView what, ReportKind kind, TextView to, std::size_t count) {
  const auto known = std::find_if(losses_.begin(), losses_.end(), [&](const Loss& loss) {
    return loss.entry.kind == kind && loss.entry.what == what &&
           (kind == ReportKind::approximated || loss.entry.to == to);
  });
  if (known == losses_.end()) return false;
  known->count += count;
  return true;
}

void LossTally::dropped(TextView what, TextView why) {
  if (!countAgain(what, ReportKind::dropped, why))
    losses_.push_back({{{}, Text(what), ReportKind::dropped, {}, Text(why)}, 1});
}

void LossTally::approximated(TextView what, TextView from, TextView to) {
  if (!countAgain(what, ReportKind::approximated, to))
    losses_.push_back({{{}, Text(what), ReportKind::approximated, Text(from), Text(to)}, 1});
}

void LossTally::approximated(TextView what, double from, double to) {
  if (!countAgain(what, ReportKind::approximated, {})) approximated(what, numberText(from), numberText(to));
}

void LossTally::add(const LossTally& other) {
  for (const auto& [entry, count] : other.losses_)
    if (!countAgain(entry.what, entry.kind, entry.to, count)) losses_.push_back({entry, count});
}

void LossTally::reportTo(ConversionReport& report, TextView item) {
  for (Loss& loss : losses_) {
    loss.entry.item = item;
    if (loss.count > 1) loss.entry.what += u" (" + numberText(static_cast<double>(loss.count)) + u" times)";
    report.add(std::move(loss.entry));
  }
  losses_.clear();
}

}  // namespace tervo

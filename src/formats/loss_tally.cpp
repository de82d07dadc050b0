#include "formats/loss_tally.h"

#include <algorithm>

#include "formats/number_text.h"

namespace tervo {

void LossTally::dropped(TextView what, TextView why) {
  add({{}, Text(what), ReportKind::dropped, {}, Text(why)});
}

void LossTally::approximated(TextView what, TextView from, TextView to) {
  add({{}, Text(what), ReportKind::approximated, Text(from), Text(to)});
}

void LossTally::add(const LossTally& other) {
  for (const Loss& loss : other.losses_) add(loss.entry, loss.count);
}

void LossTally::add(ReportEntry entry, std::size_t count) {
  const auto isSame = [&](const Loss& loss) {
    return loss.entry.what == entry.what && loss.entry.kind == entry.kind &&
           (entry.kind == ReportKind::approximated || loss.entry.to == entry.to);
  };
  const auto known = std::find_if(losses_.begin(), losses_.end(), isSame);
  if (known != losses_.end())
    known->count += count;
  else
    losses_.push_back({std::move(entry), count});
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

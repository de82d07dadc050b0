#include <fmt/format.h>

#include <cassert>
#include <memory>

#include "base/memory_guard.h"
#include "core/collection.h"
#include "core/history/document_history.h"
#include "core/normalise/pass.h"
#include "tools/operation.h"
#include "tools/part_host.h"
#include "tools/song/song_edit.h"
#include "tools/wave/selectors.h"

namespace tervo {
namespace {

std::unique_ptr<Item> copyOf(const Item& item) {
  if (item.kind() == ItemKind::waveform) {
    auto copy = std::make_unique<Waveform>();
    copySound(static_cast<const Waveform&>(item), *copy);
    return copy;
  }
  const auto& song = static_cast<const Song&>(item);
  auto copy = songLike(song);
  for (const auto& track : song.tracks()) addTrackLike(*copy, *track, track->data);
  return copy;
}

void takeOver(Item& item, Item& changed) {
  if (item.kind() == ItemKind::waveform)
    static_cast<Waveform&>(item).swapContent(static_cast<Waveform&>(changed));
  else
    static_cast<Song&>(item).takeContent(static_cast<Song&>(changed));
}

struct ChangedRegion {
  Region* region;
  TriggerSet rows;
};

/// What all items become, until it is known that the operation succeeds with every one of them.
class Changes {
 public:
  /// `collection` is the one that the items belong to; null when they belong to nothing.
  explicit Changes(const Collection* collection) {
    if (collection) users_.emplace(*collection);
  }

  /// False when the operation failed.
  bool add(const Operation& operation, Item& item, const OptionValues& values, const OperationContext& context) {
    const bool hasRegions = users_ && item.kind() == ItemKind::waveform;
    const auto regions = hasRegions ? users_->of(static_cast<const Waveform&>(item)) : std::vector<Region*>();
    Selectors selectors = Selectors::of(regions);
    auto copy = copyOf(item);
    const Outcome outcome = operation.run(*copy, values, {context.host, context.report, &selectors, context.items});
    if (outcome == Outcome::failed) return false;
    if (outcome == Outcome::nothingToDo) return true;
    items_.push_back({&item, std::move(copy)});
    for (Region* region : regions) {
      if (auto rows = withSelectors(*region, selectors, context.report)) regions_.push_back({region, std::move(*rows)});
    }
    return true;
  }

  std::size_t count() const { return items_.size(); }

  void apply(DocumentHistory* history, TextView label) {
    if (items_.empty()) return;
    if (!history) return apply();
    const bool isOneItem = items_.size() == 1 && regions_.empty();
    history->edit(isOneItem ? items_.front().item->id() : history->document().id(), label, [this] { apply(); });
  }

 private:
  struct ChangedItem {
    Item* item;
    std::unique_ptr<Item> content;
  };

  void apply() {
    for (auto& [item, content] : items_) takeOver(*item, *content);
    for (auto& [region, rows] : regions_) std::swap(region->trigger, rows);
  }

  std::optional<fixup::Users> users_;
  std::vector<ChangedItem> items_;
  std::vector<ChangedRegion> regions_;
};

bool addAll(Changes& changes, const Operation& operation, std::span<Item* const> items, const OptionValues& values,
            const OperationContext& context) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    assert(items[i]->kind() == operation.kind);
    const auto count = static_cast<double>(items.size()), done = static_cast<double>(i);
    PartHost host(context.host, done / count, (done + 1) / count);
    if (!host.progress(0)) return fail(u"Cancelled");
    if (items[i]->holdsData() &&
        !changes.add(operation, *items[i], values, {host, context.report, nullptr, items.size()}))
      return false;
  }
  return true;
}

Outcome runOnAll(const Operation& operation, std::span<Item* const> items, const OptionValues& values,
                 const OperationContext& context, DocumentHistory* history) {
  Changes changes(items.empty() ? nullptr : containing<Collection>(items.front()->id()));
  ConversionReport report;
  if (!addAll(changes, operation, items, values, {context.host, report})) return Outcome::failed;
  for (const ReportEntry& entry : report.entries()) context.report.add(entry);
  changes.apply(history, operation.title);
  context.host.showStatus(fromUtf8(
      fmt::format("Done: {}: {} of {} items changed", toUtf8(operation.title), changes.count(), items.size())));
  return changes.count() > 0 ? Outcome::changed : Outcome::nothingToDo;
}

}  // namespace

Outcome RunOperation(const Operation& operation, std::span<Item* const> items, const OptionValues& values,
                     const OperationContext& context, DocumentHistory* history) {
  Outcome outcome = Outcome::failed;
  guardMemory([&] { return outcome = runOnAll(operation, items, values, context, history), true; });
  return outcome;
}

bool RunOperation(const Operation& operation, Item& item, const OptionValues& values, const OperationContext& context) {
  Item* const items[] = {&item};
  return RunOperation(operation, items, values, context) != Outcome::failed;
}

}  // namespace tervo

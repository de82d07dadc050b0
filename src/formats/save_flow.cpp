#include "formats/save_flow.h"

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "core/collection.h"
#include "formats/damage_report.h"
#include "formats/prepared_waveform.h"
#include "platform/file.h"
#include "platform/path.h"

namespace tervo {
namespace {

bool holdsKind(const FormatDescriptor& row, ItemKind kind) {
  return (row.kindMask & kindBit(kind)) != 0;
}
bool writesSongs(const FormatDescriptor& row) {
  return (row.flags & FormatFlags::songs) != 0;
}

/// What is written for a selected item; null when it has lost its owner.
const Item* itemToWrite(const Item& selected) {
  switch (selected.kind()) {
    case ItemKind::synth:
    case ItemKind::region:
    case ItemKind::layer:
      return containing<Instrument>(selected.id());
    case ItemKind::track:
      return containing<Song>(selected.id());
    default:
      return &selected;
  }
}

template <typename List>
bool anyHoldsData(const List& list) {
  for (const auto& item : list)
    if (item->holdsData()) return true;
  return false;
}

/// Whether the item holds data of a kind that the row can hold. Where the row cannot hold the item at all that is for
/// the check of kinds to say.
bool holdsDataFor(const FormatDescriptor& row, const Item& item) {
  if (item.kind() != ItemKind::collection || !holdsKind(row, ItemKind::collection)) return item.holdsData();
  const auto& collection = static_cast<const Collection&>(item);
  return (holdsKind(row, ItemKind::waveform) && anyHoldsData(collection.waveforms())) ||
         (holdsKind(row, ItemKind::instrument) && anyHoldsData(collection.instruments())) ||
         (holdsKind(row, ItemKind::song) && anyHoldsData(collection.songs()));
}

bool mustBeRendered(const FormatDescriptor& row, const Item& item) {
  return item.kind() == ItemKind::song && !writesSongs(row) && holdsKind(row, ItemKind::waveform);
}

/// Null with LastErrorText and the document as it was.
std::unique_ptr<Waveform> rendered(const Song& song, const SaveContext& context) {
  const bool canRollBack = context.history && context.history->SaveState();
  setLastErrorText({});
  auto waveform = context.host.renderSong(song);
  if (waveform) return waveform;
  const Text cause = LastErrorText();
  // The song, too, may be another object from here on.
  if (canRollBack) context.history->RestoreState(0, StateRing::AfterLoading::deleteFile);
  setLastErrorText(cause.empty() ? TextView(u"Failed to render synth to wave") : TextView(cause));
  return nullptr;
}

/// A rendered song, or a waveform in the shape that the row writes; null with LastErrorText.
std::unique_ptr<Waveform> waveformToWrite(const FormatDescriptor& row, const Item& item, const SaveContext& context) {
  if (item.kind() == ItemKind::waveform)
    return preparedFor(row, static_cast<const Waveform&>(item), context.options, context.report);
  const auto waveform = rendered(static_cast<const Song&>(item), context);
  return waveform ? preparedFor(row, *waveform, context.options, context.report) : nullptr;
}

bool writeFile(const FormatDescriptor& row, const Item& item, TextView path, const SaveContext& context) {
  context.host.showStatus(u"Writing: " + Text(platform::fileNameOf(path)));
  const auto replace = context.overwrite == Overwrite::allowed ? platform::Replace::allowed : platform::Replace::never;
  const auto out = platform::OutputFile::create(path, replace);
  if (!out) return false;
  TargetFile file{*out, Text(path), context.host, context.report, context.settings, row, context.options};
  setLastErrorText({});
  if (row.write(item, file, row.variant)) return out->commit();
  if (LastErrorText().empty()) setLastErrorText(u"Writing to file failed");
  return false;
}

bool save(const FormatDescriptor& row, const Item& item, TextView path, const SaveContext& context) {
  if (!holdsDataFor(row, item)) return fail(u"Empty item - nothing to save");
  const bool isRendered = mustBeRendered(row, item);
  if (!isRendered && !holdsKind(row, item.kind())) return fail(u"The file format can not save this item");
  const bool asWaveform = isRendered || item.kind() == ItemKind::waveform;
  const ItemKind kind = item.kind();
  const auto waveform = asWaveform ? waveformToWrite(row, item, context) : nullptr;
  if (asWaveform && !waveform) return false;
  if (context.history) context.history->startSaving(kind);
  const Item& written = asWaveform ? *waveform : item;
  if (!writeFile(row, written, path, context)) return false;
  reportDamage(written, context.report);
  if (context.history && kind == ItemKind::collection) context.history->markSaved();
  return true;
}

}  // namespace

bool SaveItem(const Item* item, FormatIndex index, TextView path, const SaveContext& context) {
  const FormatDescriptor* row = rowAt(index);
  if (!row || !row->write) return fail(u"Invalid export format selected");
  const Item* chosen = item ? itemToWrite(*item) : nullptr;
  if (!chosen) return fail(u"No item selected");
  return guardMemory([&] { return save(*row, *chosen, path, context); });
}

}  // namespace tervo

#include "formats/save_flow.h"

#include <fmt/format.h>

#include <algorithm>

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
  if (!holdsKind(row, ItemKind::waveform)) return false;
  if (item.kind() == ItemKind::song) return !writesSongs(row);
  return item.kind() == ItemKind::instrument && !holdsKind(row, ItemKind::instrument);
}

using Waveforms = std::vector<std::unique_ptr<Waveform>>;

/// Empty with LastErrorText and the document as it was.
Waveforms rendered(const Item& item, const SaveContext& context) {
  const bool canRollBack = context.history && context.history->SaveState();
  setLastErrorText({});
  auto waveforms = context.host.render(item);
  if (!waveforms.empty()) return waveforms;
  const Text cause = LastErrorText();
  // The item, too, may be another object from here on.
  if (canRollBack) context.history->RestoreState(0, StateRing::AfterLoading::deleteFile);
  setLastErrorText(cause.empty() ? TextView(u"Failed to render synth to wave") : TextView(cause));
  return {};
}

/// Replaces each waveform by one in the shape that the row writes. False with LastErrorText.
bool prepare(Waveforms& waveforms, const FormatDescriptor& row, const SaveContext& context) {
  for (auto& waveform : waveforms) {
    waveform = preparedFor(row, *waveform, context.options, context.report);
    if (!waveform) return false;
  }
  return true;
}

/// Of one of several waveforms: with its root key behind the name, "piano 060.wav".
Text pathForKey(TextView path, uint8_t key) {
  const TextView stem = platform::stemOf(path), name = platform::fileNameOf(path);
  const Text digits = fromUtf8(fmt::format(" {:03}", key));
  return platform::join(platform::folderOf(path), Text(stem).append(digits).append(name.substr(stem.size())));
}

std::unique_ptr<platform::OutputFile> written(const FormatDescriptor& row, const Item& item, TextView path,
                                              const SaveContext& context) {
  context.host.showStatus(u"Writing: " + Text(platform::fileNameOf(path)));
  const auto replace = context.overwrite == Overwrite::refused ? platform::Replace::never : platform::Replace::allowed;
  auto out = platform::OutputFile::create(path, replace);
  if (!out) return nullptr;
  TargetFile file{*out, Text(path), context.host, context.report, context.settings, row, context.options};
  setLastErrorText({});
  if (row.write(item, file, row.variant)) return out;
  if (LastErrorText().empty()) setLastErrorText(u"Writing to file failed");
  return nullptr;
}

bool writeFile(const FormatDescriptor& row, const Item& item, TextView path, const SaveContext& context) {
  const auto out = written(row, item, path, context);
  return out && out->commit();
}

/// Several waveforms become several files, which take their places when all are written.
bool writeWaveforms(const FormatDescriptor& row, const Waveforms& waveforms, TextView path,
                    const SaveContext& context) {
  if (waveforms.size() == 1) return writeFile(row, *waveforms[0], path, context);
  SaveContext each = context;
  if (each.overwrite == Overwrite::ofNamed) each.overwrite = Overwrite::refused;
  std::vector<std::unique_ptr<platform::OutputFile>> files;
  for (const auto& waveform : waveforms) {
    files.push_back(written(row, *waveform, pathForKey(path, waveform->rootKey), each));
    if (!files.back()) return false;
  }
  return std::all_of(files.begin(), files.end(), [](const auto& file) { return file->commit(); });
}

bool save(const FormatDescriptor& row, const Item& item, TextView path, const SaveContext& context) {
  if (!holdsDataFor(row, item)) return fail(u"Empty item - nothing to save");
  const bool isRendered = mustBeRendered(row, item);
  if (!isRendered && !holdsKind(row, item.kind())) return fail(u"The file format can not save this item");
  const ItemKind kind = item.kind();
  Waveforms waveforms;
  if (isRendered) {
    waveforms = rendered(item, context);
    if (waveforms.empty() || !prepare(waveforms, row, context)) return false;
  } else if (kind == ItemKind::waveform) {
    waveforms.push_back(preparedFor(row, static_cast<const Waveform&>(item), context.options, context.report));
    if (!waveforms[0]) return false;
  }
  if (context.history) context.history->startSaving(kind);
  const bool done =
      waveforms.empty() ? writeFile(row, item, path, context) : writeWaveforms(row, waveforms, path, context);
  if (!done) return false;
  if (waveforms.empty()) reportDamage(item, context.report);
  for (const auto& waveform : waveforms) reportDamage(*waveform, context.report);
  if (context.history && &item == &context.history->document()) context.history->markSaved();
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

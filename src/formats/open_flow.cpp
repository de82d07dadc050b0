#include "formats/open_flow.h"

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "core/collection.h"
#include "core/normalise/fix_up.h"
#include "formats/prepared_waveform.h"
#include "platform/current_folder.h"
#include "platform/file.h"
#include "platform/path.h"

namespace tervo {
namespace {

/// A file that has been found fit to be read.
struct Found {
  std::shared_ptr<const ByteSource> bytes;
  Text path;  ///< absolute
  FormatIndex index = noFormat;
};

std::optional<Found> lookAt(TextView givenPath, RawFallback fallback, const OpenContext& context) {
  Text path = platform::absolute(givenPath);
  platform::setCurrentFolder(platform::folderOf(path));
  std::shared_ptr<const ByteSource> bytes = platform::InputFile::open(path);
  if (!bytes) return fail(u"Could not open file");
  if (bytes->size() == 0) return fail(u"File is of zero size");
  const Detection detected = fallback == RawFallback::forced ? Detection{0, 0} : DetectFormat(path, *bytes);
  if (context.detected) *context.detected = detected;
  if (detected.index == noFormat) return fail(u"Not a supported import file type");
  if (detected.confidence == 0 && fallback == RawFallback::refused)
    return fail(u"Not detected as any supported file type");
  return Found{std::move(bytes), std::move(path), detected.index};
}

std::optional<Found> find(TextView path, RawFallback fallback, const OpenContext& context) {
  return guardMemory([&] { return lookAt(path, fallback, context); });
}

/// Runs the row's reader, which may have left its failure unsaid.
bool runReader(Collection& collection, const Found& found, const OpenContext& context) {
  const FormatDescriptor& row = *rowAt(found.index);
  const SourceFile file{found.bytes, found.path, context.host, context.report, context.settings, context.raw};
  setLastErrorText({});
  if (row.read(collection, file, row.variant)) return true;
  if (LastErrorText().empty()) setLastErrorText(u"Empty collection");
  return false;
}

/// Fills an empty collection from the file; empty again when that fails.
bool load(Collection& collection, const Found& found, const Collection* mergedInto, const OpenContext& context) {
  const bool loaded = guardMemory([&] {
    collection.name = platform::stemOf(found.path);
    collection.tags[Tag::sourceFile] = found.path;
    collection.sourceFormat = found.index;
    if (!runReader(collection, found, context)) return false;
    return context.normalisation == Normalisation::skipped ||
           FixUpItems(collection, mergedInto, context.settings, context.host, context.report);
  });
  if (loaded) return true;
  collection.clear();
  collection.name = u"Empty collection";
  return false;
}

void edit(Collection& collection, TextView label, const OpenContext& context, const std::function<void()>& change) {
  context.history ? context.history->edit(collection.id(), label, change) : change();
}

void showDone(Host& host, TextView word, const Found& found) {
  host.showStatus(Text(word) + u": " + Text(platform::fileNameOf(found.path)));
}

/// Whether there was one of the name; the identifiers of those replaced join `replaced`.
bool replaceOne(Collection& collection, const Waveform& from, std::unordered_set<ItemId>& replaced) {
  bool any = false;
  for (const auto& waveform : collection.waveforms()) {
    if (waveform->name != from.name) continue;
    copySound(from, *waveform);
    replaced.insert(waveform->id());
    any = true;
  }
  return any;
}

std::size_t replaceAll(Collection& collection, const Collection& loaded, ConversionReport& report) {
  std::size_t count = 0;
  std::unordered_set<ItemId> replaced;
  for (const auto& waveform : loaded.waveforms()) {
    if (replaceOne(collection, *waveform, replaced))
      ++count;
    else
      report.dropped(waveform->name, u"waveform", u"no waveform of this name to replace");
  }
  RepairUsers(collection, replaced, report);
  return count;
}

}  // namespace

bool OpenFile(Collection& collection, TextView path, RawFallback fallback, const OpenContext& context) {
  const auto found = find(path, fallback, context);
  if (!found) return false;
  // What nobody has saved stays until there is something in its place.
  const bool keepsUnsaved = context.history && context.history->hasUnsavedChanges() && collection.holdsData();
  if (!keepsUnsaved) collection.clear();
  Collection fresh;
  const bool loaded = load(fresh, *found, nullptr, context);
  if (!loaded && keepsUnsaved) return false;
  collection.swapContent(fresh);
  if (context.history) context.history->startNewDocument();
  if (!loaded) return false;
  showDone(context.host, u"Opened", *found);
  return true;
}

bool MergeFile(Collection& collection, TextView path, RawFallback fallback, const OpenContext& context) {
  const auto found = find(path, fallback, context);
  if (!found) return false;
  Collection loaded;
  if (!load(loaded, *found, &collection, context)) return false;
  bool merged = false;
  edit(collection, u"Merge", context, [&] {
    merged = guardMemory([&] { return collection.absorb(loaded), true; });
    if (merged && context.normalisation == Normalisation::applied) SortItems(collection, context.settings);
  });
  if (!merged) return false;
  showDone(context.host, u"Merged", *found);
  return true;
}

std::optional<std::size_t> ReplaceSameName(Collection& collection, TextView path, RawFallback fallback,
                                           const OpenContext& context) {
  const auto found = find(path, fallback, context);
  if (!found) return std::nullopt;
  Collection loaded;
  // Not as in a merge: a waveform that bears a name of the collection is what is wanted here.
  if (!load(loaded, *found, nullptr, context)) return std::nullopt;
  std::size_t count = 0;
  edit(collection, u"Replace waveforms", context, [&] { count = replaceAll(collection, loaded, context.report); });
  return count;
}

RawFallback askRawFallback(Host& host, RawChoice& remembered) {
  static constexpr TextView buttons[] = {u"OK", u"Cancel", u"Allways OK", u"Allways Cancel"};
  static constexpr std::size_t cancel = 1, alwaysOk = 2, alwaysCancel = 3;
  if (remembered == RawChoice::askEachTime) {
    const std::size_t answer = host.ask(
        {u"The selected file can not be detected as any of the supported import types. Select OK to read it as raw "
         u"data...\n\nYou'll need to adjust the data format on the 'Source' tab of the waveform properties.",
         buttons, cancel});
    if (answer == alwaysOk) remembered = RawChoice::always;
    if (answer == alwaysCancel) remembered = RawChoice::never;
    return answer == cancel || answer == alwaysCancel ? RawFallback::refused : RawFallback::allowed;
  }
  return remembered == RawChoice::always ? RawFallback::allowed : RawFallback::refused;
}

}  // namespace tervo

#include "cli/selection.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "base/last_error.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

std::optional<int> numberIn(TextView text) {
  const std::string digits = toUtf8(text);
  int value = 0;
  const auto end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, value);
  if (digits.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  return value;
}

/// The first row of those that fit, one that can write if there is any.
template <typename Fits>
FormatIndex writerAmong(Fits fits) {
  FormatIndex found = noFormat;
  for (FormatIndex i = 0; const FormatDescriptor* row = rowAt(i); ++i) {
    if (!fits(*row)) continue;
    if (row->write) return i;
    const bool betterThanFound = found == noFormat || !(rowAt(found)->declared & DeclaredOps::write);
    if (betterThanFound) found = i;
  }
  return found;
}

FormatIndex rowOfExtension(TextView extension) {
  return writerAmong([&](const FormatDescriptor& row) { return equalNoCase(row.extension, extension); });
}

FormatIndex rowNamed(TextView name) {
  if (const auto index = numberIn(name)) return rowAt(*index) ? *index : noFormat;
  const FormatIndex described =
      writerAmong([&](const FormatDescriptor& row) { return equalNoCase(row.description, name); });
  return described != noFormat ? described : rowOfExtension(name);
}

/// What may be saved in a row: all items of the kinds that it holds, songs and instruments for rendering too. Several
/// waveforms that come with instruments are theirs, and nobody means one of them who does not name it.
std::vector<Item*> itemsFor(const FormatDescriptor& row, const Collection& collection) {
  const bool holdsWaveforms = row.kindMask & kindBit(ItemKind::waveform);
  const bool holdsInstruments = row.kindMask & kindBit(ItemKind::instrument);
  const bool rendersInstruments =
      holdsWaveforms && !holdsInstruments && !collection.instruments().empty() && collection.waveforms().size() > 1;
  std::vector<Item*> items;
  const auto addIf = [&](bool wanted, const auto& list) {
    if (wanted)
      for (const auto& item : list) items.push_back(item.get());
  };
  addIf(holdsWaveforms || (row.kindMask & kindBit(ItemKind::song)), collection.songs());
  addIf(holdsInstruments || rendersInstruments, collection.instruments());
  addIf(holdsWaveforms && !rendersInstruments, collection.waveforms());
  return items;
}

Item* itemAt(const Collection& collection, ItemName name) {
  const auto at = [&](const auto& items) -> Item* {
    return name.index < items.size() ? items[name.index].get() : nullptr;
  };
  if (name.kind == ItemKind::waveform) return at(collection.waveforms());
  if (name.kind == ItemKind::instrument) return at(collection.instruments());
  return at(collection.songs());
}

Text countsOf(const Collection& collection) {
  return fromUtf8(fmt::format("in the document: instruments {}, waveforms {}, songs {}",
                              collection.instruments().size(), collection.waveforms().size(),
                              collection.songs().size()));
}

std::vector<Item*> noneSelected() {
  setLastErrorText(u"No item selected");
  return {};
}

}  // namespace

namespace {

/// The row where it can write; else noFormat with LastErrorText, and a hint unless there is one.
FormatIndex writing(FormatIndex index, Text& hint) {
  const FormatDescriptor* row = rowAt(index);
  if (row && row->write) return hint.clear(), index;
  if (row) {
    const bool later = row->declared & DeclaredOps::write;
    hint = (later ? u"known, but not writable yet: " : u"only read, never written: ") + Text(row->description);
  } else {
    hint += u"; \"tervo formats\" lists them";
  }
  return setLastErrorText(u"Invalid export format selected"), noFormat;
}

}  // namespace

FormatIndex writerNamed(TextView name, Text& hint) {
  hint = u"no row has the index, extension or description \"" + Text(name) + u"\"";
  return writing(rowNamed(name), hint);
}

FormatIndex chosenRow(const CommandLine& line, Text& hint) {
  if (line.format) return writerNamed(*line.format, hint);
  const Text extension(platform::extensionOf(line.target.path));
  hint = u"no format has the extension \"" + extension + u"\"; choose one with --format";
  return writing(rowOfExtension(extension), hint);
}

std::optional<ItemName> itemNamed(TextView text) {
  const std::size_t colon = text.find(u':');
  if (colon == TextView::npos) return std::nullopt;
  const auto index = numberIn(text.substr(colon + 1));
  if (!index || *index < 0) return std::nullopt;
  const struct {
    TextView word;
    ItemKind kind;
  } kinds[] = {{u"waveform", ItemKind::waveform}, {u"instrument", ItemKind::instrument}, {u"song", ItemKind::song}};
  for (const auto& [word, kind] : kinds)
    if (equalNoCase(text.substr(0, colon), word)) return ItemName{kind, static_cast<std::size_t>(*index)};
  return std::nullopt;
}

std::vector<Item*> songToRender(const Collection& collection, Text& hint) {
  if (collection.songs().size() != 1) {
    hint = countsOf(collection) + (collection.songs().empty() ? u"" : u"; choose one with --item song:N");
    return noneSelected();
  }
  if (collection.songs()[0]->holdsData()) return {collection.songs()[0].get()};
  setLastErrorText(u"Done: No notes to render!");
  return {};
}

std::vector<Item*> namedItems(const std::vector<Text>& names, const Collection& collection, Text& hint) {
  std::vector<Item*> items;
  for (const Text& text : names) {
    const auto name = itemNamed(text);
    Item* item = name ? itemAt(collection, *name) : nullptr;
    if (!item) return hint = u"there is no " + text + u"; " + countsOf(collection), noneSelected();
    if (std::find(items.begin(), items.end(), item) == items.end()) items.push_back(item);
  }
  return items;
}

std::vector<Item*> chosenItems(const std::vector<Text>& names, Collection& collection, FormatIndex row, Text& hint) {
  if (!names.empty()) return namedItems(names, collection, hint);
  const FormatDescriptor& descriptor = *rowAt(row);
  const auto items = itemsFor(descriptor, collection);
  // Nothing but one sound becomes an instrument that plays it, where the row has instruments.
  const bool isOneSound = items.size() == 1 && items[0]->kind() == ItemKind::waveform;
  if (isOneSound && (descriptor.kindMask & kindBit(ItemKind::instrument))) return items;
  if (descriptor.kindMask & kindBit(ItemKind::collection)) return {&collection};
  if (items.empty()) return {&collection};  // for saving to say what is wrong with it
  if (items.size() == 1) return items;
  hint = countsOf(collection) + u"; choose one with --item KIND:N";
  return noneSelected();
}

const Item* chosenToPlay(const CommandLine& line, const Collection& collection, Text& hint) {
  if (!line.items.empty()) {
    const auto items = namedItems(line.items, collection, hint);
    return items.empty() ? nullptr : items.front();
  }
  // Instruments come with waveforms, which nobody means who does not name them.
  if (collection.songs().size() == 1) return collection.songs()[0].get();
  if (collection.songs().empty() && collection.instruments().size() == 1) return collection.instruments()[0].get();
  if (collection.songs().empty() && collection.instruments().empty() && collection.waveforms().size() == 1)
    return collection.waveforms()[0].get();
  hint = countsOf(collection) + u"; choose one with --item KIND:N";
  return fail(u"No item selected");
}

}  // namespace tervo::cli

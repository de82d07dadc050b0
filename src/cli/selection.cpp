#include "cli/selection.h"

#include <charconv>

#include "base/last_error.h"
#include "platform/path.h"

namespace tervo::cli {
namespace {

const FormatDescriptor& rowAt(FormatIndex index) {
  return FormatTable()[static_cast<std::size_t>(index)];
}

std::optional<int> numberIn(TextView text) {
  const std::string digits = toUtf8(text);
  int value = 0;
  const auto end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, value);
  if (digits.empty() || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  return value;
}

template <typename Fits>
FormatIndex firstRow(Fits fits) {
  for (std::size_t i = 0; i < formatCount; ++i) {
    if (fits(FormatTable()[i])) return static_cast<FormatIndex>(i);
  }
  return noFormat;
}

FormatIndex writerOf(TextView extension) {
  const FormatIndex row =
      firstRow([&](const FormatDescriptor& each) { return each.write && equalNoCase(each.extension, extension); });
  if (row != noFormat) return row;
  const FormatIndex known = firstRow([&](const FormatDescriptor& each) {
    return (each.declared & DeclaredOps::write) && equalNoCase(each.extension, extension);
  });
  setLastErrorText(u"Invalid export format selected");
  if (known != noFormat)
    setLastErrorText(Text(u"Invalid export format selected (known, but not writable yet: ") +
                     Text(rowAt(known).description) + u")");
  return noFormat;
}

const Item* soleItem(const Collection& collection, uint8_t kinds) {
  const auto sole = [&](ItemKind kind, const auto& items) -> const Item* {
    return (kinds & kindBit(kind)) && items.size() == 1 ? items[0].get() : nullptr;
  };
  if (const Item* song = sole(ItemKind::song, collection.songs())) return song;
  if (const Item* instrument = sole(ItemKind::instrument, collection.instruments())) return instrument;
  if (const Item* waveform = sole(ItemKind::waveform, collection.waveforms())) return waveform;
  // A row for waveforms takes a song too: it is rendered.
  if ((kinds & kindBit(ItemKind::waveform)) && collection.waveforms().empty() && collection.songs().size() == 1)
    return collection.songs()[0].get();
  return nullptr;
}

template <typename Items>
const Item* itemAt(const Items& items, int index) {
  return index >= 0 && static_cast<std::size_t>(index) < items.size() ? items[static_cast<std::size_t>(index)].get()
                                                                      : nullptr;
}

const Item* namedItem(TextView name, const Collection& collection) {
  const std::size_t colon = name.find(u':');
  const auto index = numberIn(colon == TextView::npos ? TextView() : name.substr(colon + 1));
  if (!index) return nullptr;
  const TextView kind = name.substr(0, colon);
  if (equalNoCase(kind, u"waveform")) return itemAt(collection.waveforms(), *index);
  if (equalNoCase(kind, u"instrument")) return itemAt(collection.instruments(), *index);
  if (equalNoCase(kind, u"song")) return itemAt(collection.songs(), *index);
  return nullptr;
}

}  // namespace

FormatIndex chosenRow(const CommandLine& line) {
  if (!line.format) return writerOf(platform::extensionOf(line.target.path));
  if (const auto index = numberIn(*line.format)) return *index;
  const FormatIndex described =
      firstRow([&](const FormatDescriptor& row) { return equalNoCase(row.description, *line.format); });
  return described != noFormat ? described : writerOf(*line.format);
}

const Item* chosenItem(const CommandLine& line, const Collection& collection, FormatIndex row) {
  if (line.item) {
    const Item* item = namedItem(*line.item, collection);
    return item ? item : fail(Text(u"No item selected: there is no ") + *line.item);
  }
  if (row < 0 || static_cast<std::size_t>(row) >= formatCount) return &collection;
  const uint8_t kinds = rowAt(row).kindMask;
  if ((kinds & kindBit(ItemKind::collection)) || !collection.holdsData()) return &collection;
  if (const Item* item = soleItem(collection, kinds)) return item;
  const auto count = [](std::size_t n, const char* word) { return fromUtf8(std::to_string(n) + word); };
  return fail(Text(u"No item selected: the document holds ") +
              count(collection.instruments().size(), " instruments, ") +
              count(collection.waveforms().size(), " waveforms and ") +
              count(collection.songs().size(), " songs; choose one with --item KIND:N"));
}

}  // namespace tervo::cli

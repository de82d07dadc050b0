#include "formats/save_each.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "base/last_error.h"
#include "core/collection.h"
#include "platform/file.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr std::size_t longestName = 120;

Text upperCase(TextView text) {
  Text folded(text);
  std::transform(folded.begin(), folded.end(), folded.begin(), upper);
  return folded;
}

/// Names that stand for devices on Windows, with whatever extension.
bool isDeviceName(TextView name) {
  constexpr TextView devices[] = {u"CON", u"PRN", u"AUX", u"NUL"};
  const TextView stem = name.substr(0, name.find(u'.'));
  if (std::any_of(std::begin(devices), std::end(devices), [&](TextView each) { return equalNoCase(stem, each); }))
    return true;
  const bool isPort = stem.size() == 4 && stem[3] >= u'0' && stem[3] <= u'9';
  return isPort && (equalNoCase(stem.substr(0, 3), u"COM") || equalNoCase(stem.substr(0, 3), u"LPT"));
}

}  // namespace

TextView ownNameOf(const Item& item) {
  switch (item.kind()) {
    case ItemKind::waveform:
      return static_cast<const Waveform&>(item).name;
    case ItemKind::instrument:
      return static_cast<const Instrument&>(item).name;
    case ItemKind::song:
      return static_cast<const Song&>(item).name;
    case ItemKind::track:
      return static_cast<const Track&>(item).name;
    case ItemKind::collection:
      return static_cast<const Collection&>(item).name;
    default:
      return nameOf(item.kind());
  }
}

Text fileNameFor(TextView name) {
  Text safe;
  for (const char16_t c : name.substr(0, longestName)) {
    const bool isBad = c < 0x20 || c == 0x7F || TextView(u"/\\:*?\"<>|").find(c) != TextView::npos;
    safe.push_back(isBad ? u'_' : c);
  }
  // Half of a character is none.
  if (!safe.empty() && isHighSurrogate(safe.back())) safe.pop_back();
  while (!safe.empty() && (safe.back() == u' ' || safe.back() == u'.')) safe.pop_back();
  while (!safe.empty() && safe.front() == u' ') safe.erase(safe.begin());
  if (safe.empty()) return u"unnamed";
  return isDeviceName(safe) ? u"_" + safe : safe;
}

std::vector<SavedItem> planSaveEach(std::span<const Item* const> items, FormatIndex index, TextView folder,
                                    SubFolders subFolders) {
  std::vector<SavedItem> plan;
  std::set<Text> taken;
  const Text extension = u"." + Text(rowAt(index)->extension);
  for (const Item* item : items) {
    Text place(folder);
    if (subFolders == SubFolders::byKind) place = platform::join(place, Text(nameOf(item->kind())) + u"s");
    const Text name = fileNameFor(ownNameOf(*item));
    Text path = platform::join(place, name + extension);
    for (int number = 2; !taken.insert(upperCase(path)).second; ++number)
      path = platform::join(place, name + fromUtf8(fmt::format(" ({})", number)) + extension);
    plan.push_back({item->id(), std::move(path), {}});
  }
  return plan;
}

bool SaveEach(std::vector<SavedItem>& items, FormatIndex index, const SaveContext& context) {
  bool allSaved = true;
  for (std::size_t i = 0; i < items.size(); ++i) {
    SavedItem& each = items[i];
    const bool goesOn = context.host.progress(static_cast<double>(i) / static_cast<double>(items.size()));
    if (!goesOn)
      each.failure = u"Save aborted!";
    else if (!platform::createFolders(platform::folderOf(each.path)) ||
             !SaveItem(findItem(each.item), index, each.path, context))
      each.failure = LastErrorText();
    allSaved = allSaved && each.failure.empty();
  }
  return allSaved;
}

}  // namespace tervo

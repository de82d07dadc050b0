#include "core/item.h"

#include <algorithm>
#include <array>
#include <cassert>

#include "core/item_map.h"

namespace tervo {
namespace {

ItemMap& map() {
  static ItemMap items;
  return items;
}

/// One count for all kinds. It starts at 1, so 0 is never an identifier, and after 2^28 items it goes round and passes
/// over the numbers that are still in use.
uint32_t lastSerial = 0;
/// Until then no item has a number above the last one.
bool hasGoneRound = false;

ItemId freshId(ItemKind kind) {
  do {
    lastSerial = (lastSerial + 1) & 0x0FFFFFFF;
    if (lastSerial == 0) hasGoneRound = true;
  } while (lastSerial == 0 || (hasGoneRound && map().find(makeItemId(kind, lastSerial))));
  return makeItemId(kind, lastSerial);
}

}  // namespace

TextView nameOf(ItemKind kind) {
  static constexpr std::array<TextView, itemKindCount> names = {
      u"waveform", u"synth", u"region", u"layer", u"instrument", u"track", u"song", u"collection", u"special"};
  const auto index = static_cast<std::size_t>(kind);
  return index < names.size() ? names[index] : TextView{};
}

Item::Item(ItemKind kind) : id_(freshId(kind)) {
  map().insert(id_, this);
}

Item::~Item() {
  map().erase(id_);
}

Item* findItem(ItemId id) {
  return map().find(id);
}

bool reclaimId(Item& item, ItemId id) {
  assert(item.kind() == kindOf(id));
  if (item.id_ == id) return true;
  if (map().find(id)) return false;
  map().erase(item.id_);
  item.id_ = id;
  map().insert(id, &item);  // has room, one entry has just gone
  reserveId(id);
  return true;
}

void reserveId(ItemId id) {
  if (id != noItem) lastSerial = std::max(lastSerial, static_cast<uint32_t>(id) & 0x0FFFFFFF);
}

}  // namespace tervo

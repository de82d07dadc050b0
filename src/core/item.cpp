#include "core/item.h"

#include <array>

#include "core/item_map.h"

namespace tervo {
namespace {

ItemMap& map() {
  static ItemMap items;
  return items;
}

/// One count for all kinds. It starts at 1, so 0 is never an identifier, and after 2^28 items it goes round and passes
/// over the numbers that are still in use.
ItemId freshId(ItemKind kind) {
  static uint32_t last = 0;
  do {
    last = (last + 1) & 0x0FFFFFFF;
  } while (last == 0 || map().find(makeItemId(kind, last)));
  return makeItemId(kind, last);
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

}  // namespace tervo

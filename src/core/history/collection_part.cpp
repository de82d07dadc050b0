#include "core/history/collection_part.h"

#include <unordered_set>

#include "core/history/item_image.h"

namespace tervo {
namespace {

using Ids = std::unordered_set<ItemId>;

void addPlayed(const Instrument& instrument, Ids& ids) {
  for (const auto& layer : instrument.layers())
    for (const auto& region : layer->regions()) ids.insert(region->waveform);
}

/// The copies of the items that are not kept.
template <typename Items>
void listUnwanted(const Items& originals, const Items& copies, const Ids& kept, Ids& unwanted) {
  for (std::size_t i = 0; i < originals.size(); ++i)
    if (!kept.contains(originals[i]->id())) unwanted.insert(copies[i]->id());
}

}  // namespace

std::unique_ptr<Collection> partOf(const Collection& collection, const std::vector<const Item*>& chosen) {
  Ids kept;
  for (const Item* item : chosen) {
    kept.insert(item->id());
    if (item->kind() == ItemKind::instrument) addPlayed(static_cast<const Instrument&>(*item), kept);
  }
  auto part = std::make_unique<Collection>();
  applyImage(*part, imageOf(collection));
  Ids unwanted;
  listUnwanted(collection.instruments(), part->instruments(), kept, unwanted);
  listUnwanted(collection.songs(), part->songs(), kept, unwanted);
  for (const ItemId id : unwanted) part->remove(id);
  unwanted.clear();
  listUnwanted(collection.waveforms(), part->waveforms(), kept, unwanted);
  part->removeWaveforms([&](const Waveform& waveform) { return unwanted.contains(waveform.id()); });
  part->sourceFormat = collection.sourceFormat;
  return part;
}

}  // namespace tervo

#include "core/history/collection_part.h"

#include <unordered_set>

#include "core/history/item_image.h"

namespace tervo {
namespace {

using Ids = std::unordered_set<ItemId>;

/// The item above it that the collection holds itself.
ItemId heldAbove(const Item& item) {
  if (const Instrument* instrument = containingInstrument(item.id())) return instrument->id();
  if (const Song* song = containingSong(item.id())) return song->id();
  return item.id();
}

/// The copies of the items that are not kept.
template <typename Items>
Ids unwantedOf(const Items& originals, const Items& copies, const Ids& kept) {
  Ids unwanted;
  for (std::size_t i = 0; i < originals.size(); ++i)
    if (!kept.contains(originals[i]->id())) unwanted.insert(copies[i]->id());
  return unwanted;
}

void keepChosen(const Layer& original, Layer& copy, const Ids& chosen) {
  const Ids unwanted = unwantedOf(original.regions(), copy.regions(), chosen);
  copy.removeRegions([&](const Region& region) { return unwanted.contains(region.id()); });
}

void keepChosen(const Instrument& original, Instrument& copy, const Ids& chosen, Collection& part) {
  Ids unwanted;
  for (std::size_t i = 0; i < original.layers().size(); ++i) {
    if (chosen.contains(original.layers()[i]->id())) continue;
    Layer& layer = *copy.layers()[i];
    keepChosen(*original.layers()[i], layer, chosen);
    if (layer.regions().empty()) unwanted.insert(layer.id());
  }
  copy.removeLayers([&](const Layer& layer) { return unwanted.contains(layer.id()); });
  if (copy.synth() && !chosen.contains(original.synth()->id())) part.remove(copy.synth()->id());
}

void keepChosen(const Song& original, Song& copy, const Ids& chosen, Collection& part) {
  for (const ItemId id : unwantedOf(original.tracks(), copy.tracks(), chosen)) part.remove(id);
}

/// Of what is not chosen itself, only the parts that are.
template <typename Items>
void keepChosenParts(const Items& originals, const Items& copies, const Ids& chosen, Collection& part) {
  for (std::size_t i = 0; i < originals.size(); ++i)
    if (!chosen.contains(originals[i]->id())) keepChosen(*originals[i], *copies[i], chosen, part);
}

Ids playedIn(const Collection& collection) {
  Ids played;
  for (const auto& instrument : collection.instruments())
    for (const auto& layer : instrument->layers())
      for (const auto& region : layer->regions()) played.insert(region->waveform);
  return played;
}

}  // namespace

std::unique_ptr<Collection> partOf(const Collection& collection, const std::vector<const Item*>& chosen) {
  Ids chosenIds, held;
  for (const Item* item : chosen) {
    chosenIds.insert(item->id());
    held.insert(heldAbove(*item));
  }
  auto part = std::make_unique<Collection>();
  applyImage(*part, imageOf(collection));
  const Ids instruments = unwantedOf(collection.instruments(), part->instruments(), held);
  const Ids songs = unwantedOf(collection.songs(), part->songs(), held);
  Ids waveforms = unwantedOf(collection.waveforms(), part->waveforms(), held);
  keepChosenParts(collection.instruments(), part->instruments(), chosenIds, *part);
  keepChosenParts(collection.songs(), part->songs(), chosenIds, *part);
  for (const Ids& unwanted : {instruments, songs})
    for (const ItemId id : unwanted) part->remove(id);
  for (const ItemId id : playedIn(*part)) waveforms.erase(id);
  part->removeWaveforms([&](const Waveform& waveform) { return waveforms.contains(waveform.id()); });
  part->sourceFormat = collection.sourceFormat;
  return part;
}

}  // namespace tervo

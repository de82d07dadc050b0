#include "core/collection.h"

#include <algorithm>

#include "core/item_owner.h"

namespace tervo {
namespace {

template <typename List>
bool anyHoldsData(const List& list) {
  return std::any_of(list.begin(), list.end(), [](const auto& item) { return item->holdsData(); });
}

constexpr TextView newName = u"New collection";

}  // namespace

Collection::Collection() : Item(itemKind), name(newName) {}
Collection::~Collection() = default;

bool Collection::holdsData() const {
  return anyHoldsData(waveforms_) || anyHoldsData(instruments_) || anyHoldsData(songs_);
}

Instrument& Collection::add(std::unique_ptr<Instrument> instrument) {
  return ItemOwner::adopt(*this, instruments_, std::move(instrument));
}

Waveform& Collection::add(std::unique_ptr<Waveform> waveform) {
  return ItemOwner::adopt(*this, waveforms_, std::move(waveform));
}

Song& Collection::add(std::unique_ptr<Song> song) {
  return ItemOwner::adopt(*this, songs_, std::move(song));
}

void Collection::remove(ItemId id) {
  const Item* item = findItem(id);
  if (!item || containing<Collection>(id) != this) return;
  switch (item->kind()) {
    case ItemKind::waveform:
      return ItemOwner::destroy(waveforms_, id);
    case ItemKind::instrument:
      return ItemOwner::destroy(instruments_, id);
    case ItemKind::song:
      return ItemOwner::destroy(songs_, id);
    case ItemKind::layer:
      return ItemOwner::destroy(static_cast<Instrument*>(item->parent())->layers_, id);
    case ItemKind::synth:
      return static_cast<Instrument*>(item->parent())->synth_.reset();
    case ItemKind::region:
      return ItemOwner::destroy(static_cast<Layer*>(item->parent())->regions_, id);
    case ItemKind::track:
      return ItemOwner::destroy(static_cast<Song*>(item->parent())->tracks_, id);
    case ItemKind::collection:
    case ItemKind::special:
      return;
  }
}

void Collection::removeWaveforms(const std::function<bool(const Waveform&)>& unwanted) {
  ItemOwner::destroyIf(waveforms_, unwanted);
}

void Collection::sortInstruments(const std::function<bool(const Instrument&, const Instrument&)>& before) {
  ItemOwner::sort(instruments_, before);
}

void Collection::sortWaveforms(const std::function<bool(const Waveform&, const Waveform&)>& before) {
  ItemOwner::sort(waveforms_, before);
}

void Collection::clear() {
  instruments_.clear();
  waveforms_.clear();
  songs_.clear();
  name = newName;
  tags = {};
  sourceFormat = -1;
}

void Collection::absorb(Collection& other) {
  if (&other == this) return;
  // All room first: when memory is short, both collections stay as they were.
  instruments_.reserve(instruments_.size() + other.instruments_.size());
  waveforms_.reserve(waveforms_.size() + other.waveforms_.size());
  songs_.reserve(songs_.size() + other.songs_.size());
  ItemOwner::moveAll(*this, instruments_, other.instruments_);
  ItemOwner::moveAll(*this, waveforms_, other.waveforms_);
  ItemOwner::moveAll(*this, songs_, other.songs_);
}

void Collection::swapContent(Collection& other) noexcept {
  name.swap(other.name);
  std::swap(tags, other.tags);
  std::swap(sourceFormat, other.sourceFormat);
  ItemOwner::swapAll(*this, instruments_, other, other.instruments_);
  ItemOwner::swapAll(*this, waveforms_, other, other.waveforms_);
  ItemOwner::swapAll(*this, songs_, other, other.songs_);
}

}  // namespace tervo

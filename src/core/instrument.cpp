#include "core/instrument.h"

#include <algorithm>

#include "core/item_owner.h"

namespace tervo {

Region& Layer::add(std::unique_ptr<Region> region) {
  return ItemOwner::adopt(*this, regions_, std::move(region));
}

void Layer::absorb(Layer& other) {
  if (&other == this) return;
  regions_.reserve(regions_.size() + other.regions_.size());
  ItemOwner::moveAll(*this, regions_, other.regions_);
}

void Layer::removeRegions(const std::function<bool(const Region&)>& unwanted) {
  ItemOwner::destroyIf(regions_, unwanted);
}

void Layer::sortRegions(const std::function<bool(const Region&, const Region&)>& before) {
  ItemOwner::sort(regions_, before);
}

void Instrument::removeLayers(const std::function<bool(const Layer&)>& unwanted) {
  ItemOwner::destroyIf(layers_, unwanted);
}

bool Instrument::holdsData() const {
  if (synth_ && synth_->holdsData()) return true;
  return std::any_of(layers_.begin(), layers_.end(), [](const auto& layer) { return layer->holdsData(); });
}

Layer& Instrument::add(std::unique_ptr<Layer> layer) {
  return ItemOwner::adopt(*this, layers_, std::move(layer));
}

Synth& Instrument::set(std::unique_ptr<Synth> synth) {
  return ItemOwner::adopt(*this, synth_, std::move(synth));
}

void Region::swapContent(Region& other) noexcept {
  std::swap(waveform, other.waveform);
  std::swap(trigger, other.trigger);
  std::swap(articulation, other.articulation);
}

void Layer::swapContent(Layer& other) noexcept {
  std::swap(trigger, other.trigger);
  std::swap(articulation, other.articulation);
  ItemOwner::swapAll(*this, regions_, other, other.regions_);
}

void Synth::swapContent(Synth& other) noexcept {
  engine.swap(other.engine);
  patch.swap(other.patch);
}

void Instrument::swapContent(Instrument& other) noexcept {
  name.swap(other.name);
  std::swap(drum, other.drum);
  std::swap(program, other.program);
  std::swap(bankMsb, other.bankMsb);
  std::swap(bankLsb, other.bankLsb);
  std::swap(articulation, other.articulation);
  ItemOwner::swapAll(*this, layers_, other, other.layers_);
  ItemOwner::swapOne(*this, synth_, other, other.synth_);
}

std::size_t Instrument::regionCount() const {
  std::size_t count = 0;
  for (const auto& layer : layers_) count += layer->regions().size();
  return count;
}

Instrument* containingInstrument(ItemId id) {
  return containing<Instrument>(id);
}

uint32_t packedNumber(const Instrument& instrument) {
  const auto field = [](uint8_t number, unsigned shift) { return (number & 0x7Fu) << shift; };
  return field(instrument.program, 0) | field(instrument.bankLsb, 7) | field(instrument.bankMsb, 14) |
         (instrument.drum ? 1u << 21 : 0u);
}

}  // namespace tervo

#pragma once
// A playable instrument: its numbers, its articulation, and its layers of regions or its synth voice.

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "core/articulation_set.h"
#include "core/item.h"

namespace tervo {

/// When a region plays, and where its waveform starts and loops. Rows 189-203 (trigger) and 225-229 (waveform
/// overrides) of the ParameterTable, set sparsely.
using TriggerSet = ParameterSet;

class Region final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::region;
  Region() : Item(itemKind) {}
  bool holdsData() const override { return true; }

  ItemId waveform = noItem;  ///< not owned; may name a waveform that was deleted
  TriggerSet trigger;
  ArticulationSet articulation;

  /// Exchanges everything but identifier and owner.
  void swapContent(Region& other) noexcept;
};

class Layer final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::layer;
  Layer() : Item(itemKind) {}
  bool holdsData() const override { return !regions_.empty(); }

  TriggerSet trigger;  ///< applies to all regions that do not set the row themselves
  ArticulationSet articulation;

  std::span<const std::unique_ptr<Region>> regions() const { return regions_; }
  Region& add(std::unique_ptr<Region> region);
  /// Moves the other layer's regions behind this layer's own; identifiers stay.
  void absorb(Layer& other);
  void removeRegions(const std::function<bool(const Region&)>& unwanted);
  /// Regions that are equal in `before` keep their order.
  void sortRegions(const std::function<bool(const Region&, const Region&)>& before);
  /// Exchanges everything but identifier and owner.
  void swapContent(Layer& other) noexcept;

 private:
  friend class Collection;
  std::vector<std::unique_ptr<Region>> regions_;
};

/// A synthesis voice (FM, LA and the like) in place of sampled regions; the engine data is the source format's own.
class Synth final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::synth;
  Synth() : Item(itemKind) {}
  bool holdsData() const override { return !patch.empty(); }

  Text engine;                   ///< which synthesizer the patch belongs to
  std::vector<std::byte> patch;  ///< as the source file held it

  /// Exchanges everything but identifier and owner.
  void swapContent(Synth& other) noexcept;
};

class Instrument final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::instrument;
  Instrument() : Item(itemKind) {}
  bool holdsData() const override;

  Text name;
  bool drum = false;
  uint8_t program = 0;  ///< 0..127
  uint8_t bankMsb = 0;  ///< CC 0
  uint8_t bankLsb = 0;  ///< CC 32
  ArticulationSet articulation;

  std::span<const std::unique_ptr<Layer>> layers() const { return layers_; }
  Synth* synth() const { return synth_.get(); }
  /// Over all layers.
  std::size_t regionCount() const;
  Layer& add(std::unique_ptr<Layer> layer);
  void removeLayers(const std::function<bool(const Layer&)>& unwanted);
  Synth& set(std::unique_ptr<Synth> synth);
  /// Exchanges everything but identifier and owner.
  void swapContent(Instrument& other) noexcept;

 private:
  friend class Collection;
  std::vector<std::unique_ptr<Layer>> layers_;
  std::unique_ptr<Synth> synth_;
};

/// The instrument of a synth, region or layer, or the instrument itself; null for other kinds and deleted items.
Instrument* containingInstrument(ItemId id);

/// Program in bits 0-6, CC 32 in bits 7-13, CC 0 in bits 14-20, drum flag in bit 21.
uint32_t packedNumber(const Instrument& instrument);

}  // namespace tervo

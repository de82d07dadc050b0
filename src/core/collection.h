#pragma once
// The document: one collection of instruments, waveforms and songs, in display order.

#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "core/instrument.h"
#include "core/item.h"
#include "core/song.h"
#include "core/tags.h"
#include "core/waveform.h"

namespace tervo {

class Collection final : public Item {
 public:
  static constexpr ItemKind itemKind = ItemKind::collection;
  /// Empty and named "New collection".
  Collection();
  ~Collection() override;

  bool holdsData() const override;

  Text name;
  Tags tags;
  int sourceFormat = -1;  ///< the format row that it was read by

  std::span<const std::unique_ptr<Instrument>> instruments() const { return instruments_; }
  std::span<const std::unique_ptr<Waveform>> waveforms() const { return waveforms_; }
  std::span<const std::unique_ptr<Song>> songs() const { return songs_; }

  Instrument& add(std::unique_ptr<Instrument> instrument);
  Waveform& add(std::unique_ptr<Waveform> waveform);
  Song& add(std::unique_ptr<Song> song);

  /// Removes and destroys an instrument, waveform or song of this collection, or a layer, region, synth or track below
  /// it. An identifier that is not there is nothing to do.
  void remove(ItemId id);
  void removeWaveforms(const std::function<bool(const Waveform&)>& unwanted);
  /// Items that are equal in `before` keep their order.
  void sortInstruments(const std::function<bool(const Instrument&, const Instrument&)>& before);
  void sortWaveforms(const std::function<bool(const Waveform&, const Waveform&)>& before);
  /// Removes everything and takes the name and tags of a new collection.
  void clear();
  /// Moves all items of `other` behind this collection's own; identifiers stay.
  void absorb(Collection& other);
  /// Exchanges everything but identifier and owner.
  void swapContent(Collection& other) noexcept;

 private:
  std::vector<std::unique_ptr<Instrument>> instruments_;
  std::vector<std::unique_ptr<Waveform>> waveforms_;
  std::vector<std::unique_ptr<Song>> songs_;
};

}  // namespace tervo

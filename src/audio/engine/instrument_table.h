#pragma once
// The instruments that the engine holds, by number. A table is never changed: the document thread makes another one and
// hands it over.

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "audio/engine/zone.h"

namespace tervo::audio {

inline constexpr uint32_t bankLsbMask = 0x7Fu << 7, bankMsbMask = 0x7Fu << 14;

class InstrumentTable {
 public:
  using Entry = std::pair<uint32_t, std::shared_ptr<const SoundInstrument>>;

  void set(uint32_t number, std::shared_ptr<const SoundInstrument> instrument) {
    const auto place = std::lower_bound(entries_.begin(), entries_.end(), number, isBefore);
    if (place != entries_.end() && place->first == number)
      place->second = std::move(instrument);
    else
      entries_.emplace(place, number, std::move(instrument));
  }
  std::size_t size() const { return entries_.size(); }
  bool has(uint32_t number) const { return exact(number) != nullptr; }

  /// The exact number, then without the minor bank, then without any bank; null when there is none.
  const SoundInstrument* find(uint32_t number) const noexcept {
    for (const uint32_t mask : {0u, bankLsbMask, bankLsbMask | bankMsbMask})
      if (const SoundInstrument* found = exact(number & ~mask)) return found;
    return nullptr;
  }

 private:
  static bool isBefore(const Entry& entry, uint32_t number) { return entry.first < number; }
  const SoundInstrument* exact(uint32_t number) const noexcept {
    const auto place = std::lower_bound(entries_.begin(), entries_.end(), number, isBefore);
    return place != entries_.end() && place->first == number ? place->second.get() : nullptr;
  }

  std::vector<Entry> entries_;
};

}  // namespace tervo::audio

#pragma once
// Items of the document: nine kinds, each item with an identifier that is unique in the process. Parents own their
// children; whoever refers to an item without owning it holds its identifier and asks for the item when needed.
// Everything here belongs to the document thread.

#include <cstdint>

#include "base/text.h"

namespace tervo {

enum class ItemKind : uint8_t { waveform, synth, region, layer, instrument, track, song, collection, special };
inline constexpr int itemKindCount = 9;

constexpr uint8_t kindBit(ItemKind kind) {
  return static_cast<uint8_t>(1u << static_cast<unsigned>(kind));
}

/// The kind in the top 4 bits, a serial number in the low 28.
enum class ItemId : uint32_t {};
inline constexpr ItemId noItem{0xFFFFFFFF};

constexpr ItemId makeItemId(ItemKind kind, uint32_t serial) {
  return ItemId{(static_cast<uint32_t>(kind) << 28) | (serial & 0x0FFFFFFF)};
}
constexpr ItemKind kindOf(ItemId id) {
  return static_cast<ItemKind>(static_cast<uint32_t>(id) >> 28);
}

/// The word shown to the user: "waveform", "synth", ...
TextView nameOf(ItemKind kind);

class Item {
 public:
  virtual ~Item();
  Item(const Item&) = delete;
  Item& operator=(const Item&) = delete;

  ItemId id() const { return id_; }
  ItemKind kind() const { return kindOf(id_); }
  /// The owner; null for a collection, and for an item that nothing owns yet.
  Item* parent() const { return parent_; }
  /// Whether there is anything to save.
  virtual bool holdsData() const = 0;

 protected:
  /// Takes the next serial number of the kind and enters the item into the process-wide map.
  explicit Item(ItemKind kind);

 private:
  friend class ItemOwner;
  friend bool reclaimId(Item& item, ItemId id);
  ItemId id_;
  Item* parent_ = nullptr;
};

/// The item of an identifier; null when it was deleted, which callers treat as nothing to do.
Item* findItem(ItemId id);
/// Gives the item the identifier that it had before it was recorded: undo and saved states bring items back under their
/// own names. False when another item has it now; the item then keeps the one that it has.
bool reclaimId(Item& item, ItemId id);
/// Keeps new items from getting an identifier that is still referred to although its item is gone.
void reserveId(ItemId id);
template <typename Kind>
Kind* findItem(ItemId id) {
  return kindOf(id) == Kind::itemKind ? static_cast<Kind*>(findItem(id)) : nullptr;
}

/// The item itself or the nearest owner above it that is of the kind; null when there is none or the item was deleted.
template <typename Kind>
Kind* containing(ItemId id) {
  Item* item = findItem(id);
  while (item && item->kind() != Kind::itemKind) item = item->parent();
  return static_cast<Kind*>(item);
}

}  // namespace tervo

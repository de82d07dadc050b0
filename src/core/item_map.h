#pragma once
// Which item an identifier names. Open addressing with linear probing: identifiers are looked up far more often than
// items come and go. Document thread only.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/item.h"

namespace tervo {

/// 64-bit FNV-1a over the identifier's four bytes, least significant byte first.
uint64_t hashOf(ItemId id);

class ItemMap {
 public:
  /// Null when the identifier is not there.
  Item* find(ItemId id) const;
  /// The identifier must not be there yet. When memory is short nothing changes and std::bad_alloc is thrown.
  void insert(ItemId id, Item* item);
  /// An identifier that is not there is nothing to do.
  void erase(ItemId id);
  std::size_t size() const { return size_; }

 private:
  struct Bucket {
    ItemId id = noItem;
    Item* item = nullptr;
  };

  std::size_t home(ItemId id) const { return hashOf(id) & (buckets_.size() - 1); }
  std::size_t next(std::size_t bucket) const { return (bucket + 1) & (buckets_.size() - 1); }
  std::size_t bucketOf(ItemId id) const;
  void grow();

  std::vector<Bucket> buckets_;  // a power of two of them, at most three quarters in use
  std::size_t size_ = 0;
};

}  // namespace tervo

#include "core/item_map.h"

#include <cassert>
#include <utility>

namespace tervo {

uint64_t hashOf(ItemId id) {
  constexpr uint64_t offsetBasis = 0xcbf29ce484222325;
  constexpr uint64_t prime = 0x100000001b3;
  uint64_t hash = offsetBasis;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    hash ^= (static_cast<uint32_t>(id) >> shift) & 0xFF;
    hash *= prime;
  }
  return hash;
}

/// The identifier's bucket, or the free one where it would go.
std::size_t ItemMap::bucketOf(ItemId id) const {
  std::size_t bucket = home(id);
  while (buckets_[bucket].item && buckets_[bucket].id != id) bucket = next(bucket);
  return bucket;
}

Item* ItemMap::find(ItemId id) const {
  return buckets_.empty() ? nullptr : buckets_[bucketOf(id)].item;
}

void ItemMap::insert(ItemId id, Item* item) {
  assert(item && !find(id));
  if ((size_ + 1) * 4 > buckets_.size() * 3) grow();
  buckets_[bucketOf(id)] = {id, item};
  ++size_;
}

void ItemMap::erase(ItemId id) {
  if (buckets_.empty()) return;
  std::size_t hole = bucketOf(id);
  if (!buckets_[hole].item) return;
  // Later entries of the run move up into the hole unless that would put them before their home bucket, so that no
  // search ever stops short of an entry.
  for (std::size_t bucket = next(hole); buckets_[bucket].item; bucket = next(bucket)) {
    const std::size_t mask = buckets_.size() - 1;
    const std::size_t fromHome = (bucket - home(buckets_[bucket].id)) & mask;
    const std::size_t fromHole = (bucket - hole) & mask;
    if (fromHome < fromHole) continue;
    buckets_[hole] = buckets_[bucket];
    hole = bucket;
  }
  buckets_[hole] = {};
  --size_;
}

void ItemMap::grow() {
  std::vector<Bucket> larger(buckets_.empty() ? 64 : buckets_.size() * 2);
  std::swap(buckets_, larger);
  for (const Bucket& bucket : larger) {
    if (bucket.item) buckets_[bucketOf(bucket.id)] = bucket;
  }
}

}  // namespace tervo

#include "core/item_map.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

#include "core/instrument.h"

namespace tervo {
namespace {

// Vectors of the FNV reference distribution (test_fnv.c), the four bytes read as a little-endian identifier.
TEST(ItemMap, HashesAsPublished) {
  struct Vector {
    uint32_t id;
    uint64_t hash;
  };
  for (const Vector& vector : {Vector{0x626F6F66, 0xdd120e790c2512af},  // "foob"
                               Vector{0x010000FF, 0x6961196491cc682d}, Vector{0xFF000001, 0xad2bb1774799dfe9},
                               Vector{0x00000000, 0x4d25767f9dce13f5}}) {
    EXPECT_EQ(hashOf(ItemId{vector.id}), vector.hash) << std::hex << vector.id;
  }
}

// Every identifier must stay reachable while others of its run of buckets come and go and the map grows.
TEST(ItemMap, FindsEverythingThroughGrowthAndErasure) {
  Region region;
  ItemMap map;
  std::vector<uint32_t> present;
  const auto insert = [&](uint32_t id) {
    map.insert(ItemId{id}, &region);
    present.push_back(id);
  };
  uint32_t random = 1;
  for (uint32_t id = 0; id < 3000; ++id) {
    insert(id * 0x10001);
    random = random * 1664525 + 1013904223;
    if (random >> 30 != 0) continue;
    const auto victim = present.begin() + static_cast<std::ptrdiff_t>((random >> 8) % present.size());
    map.erase(ItemId{*victim});
    EXPECT_EQ(map.find(ItemId{*victim}), nullptr);
    present.erase(victim);
    map.erase(ItemId{0xDEADBEEF});
  }
  EXPECT_EQ(map.size(), present.size());
  EXPECT_TRUE(
      std::all_of(present.begin(), present.end(), [&](uint32_t id) { return map.find(ItemId{id}) == &region; }));
}

}  // namespace
}  // namespace tervo

#include "core/song.h"

#include "core/item_owner.h"

namespace tervo {

Track& Song::add(std::unique_ptr<Track> track) {
  return ItemOwner::adopt(*this, tracks_, std::move(track));
}

Song* containingSong(ItemId id) {
  return containing<Song>(id);
}

}  // namespace tervo

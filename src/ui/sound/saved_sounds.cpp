#include "ui/sound/saved_sounds.h"

#include "base/last_error.h"
#include "ui/sound/player.h"

namespace tervo::ui {
namespace {

void addSounds(const Collection& collection, std::vector<const Item*>& sounds) {
  for (const auto& each : collection.instruments()) sounds.push_back(each.get());
  for (const auto& each : collection.waveforms()) sounds.push_back(each.get());
  for (const auto& each : collection.songs()) sounds.push_back(each.get());
}

/// Of those with the name the one of that kind, else of that name, else of that kind, else the first.
const Item* bestOf(const std::vector<const Item*>& sounds, TextView name, ItemKind kind) {
  const Item* best = nullptr;
  int most = -1;
  for (const Item* each : sounds) {
    const int fit = (ownNameOf(*each) == name ? 2 : 0) + (each->kind() == kind ? 1 : 0);
    if (fit <= most) continue;
    best = each;
    most = fit;
  }
  return best;
}

const Item* soundSaved(const SavedItems& saved, TextView name) {
  std::vector<const Item*> sounds;
  for (const ItemId id : saved.items) {
    const Item* item = findItem(id);
    if (item && item->kind() == ItemKind::collection)
      addSounds(static_cast<const Collection&>(*item), sounds);
    else if (item)
      sounds.push_back(item);
  }
  return bestOf(sounds, name, ItemKind::instrument);
}

}  // namespace

SavedSounds::SavedSounds(DocumentSession& session, Player& player, SavedItems saved)
    : session_(session), player_(player), saved_(std::move(saved)) {}

SavedSounds::~SavedSounds() {
  const Item* playing = findItem(player_.playing());
  while (playing && playing != result_.get()) playing = playing->parent();
  if (playing) player_.stop();
}

bool SavedSounds::playSource(TextView name) {
  const Item* sound = soundSaved(saved_, name);
  return sound ? player_.play(sound->id()) : fail(u"The item that was saved is gone");
}

bool SavedSounds::playResult(TextView name) {
  if (!result_) {
    ConversionReport unread;
    const auto operation = session_.host().beginOperation();
    auto read = std::make_unique<Collection>();
    if (!OpenFile(*read, saved_.path, RawFallback::refused, {session_.host(), unread, session_.settings()}))
      return false;
    result_ = std::move(read);
  }
  std::vector<const Item*> sounds;
  addSounds(*result_, sounds);
  // The same sort of thing as that which Play Source plays.
  const Item* source = soundSaved(saved_, name);
  const Item* sound =
      bestOf(sounds, source ? ownNameOf(*source) : name, source ? source->kind() : ItemKind::instrument);
  return sound ? player_.play(sound->id()) : fail(u"The file holds nothing that sounds");
}

}  // namespace tervo::ui

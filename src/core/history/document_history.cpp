#include "core/history/document_history.h"

#include "base/memory_guard.h"

namespace tervo {
namespace {

// Nothing is recorded of an item that is gone: the entry is then an empty one.

EditEntry itemEntry(ItemId id) {
  EditEntry entry;
  const Item* item = findItem(id);
  if (!item) return entry;
  entry.item = id;
  entry.image = imageOf(*item);
  return entry;
}

EditEntry markerEntry(ItemId id) {
  EditEntry entry;
  const Waveform* waveform = findItem<Waveform>(id);
  if (!waveform) return entry;
  entry.image = markerImageOf(*waveform);
  entry.item = makeItemId(ItemKind::special, static_cast<uint32_t>(entry.image.body.size()));
  return entry;
}

bool restoreMarkers(const EditEntry& entry) {
  if ((static_cast<uint32_t>(entry.item) & 0x0FFFFFFF) != entry.image.body.size()) return false;
  Waveform* waveform = waveformOfMarkers(entry.image);
  return waveform && markerImageOf(*waveform) != entry.image && applyMarkers(*waveform, entry.image);
}

bool restoreItem(const EditEntry& entry) {
  Item* item = findItem(entry.item);
  return item && imageOf(*item) != entry.image && applyImage(*item, entry.image);
}

}  // namespace

DocumentHistory::DocumentHistory(Collection& document, Host& host, Text folder, OpenStored openStored, Clock clock)
    : document_(document),
      host_(host),
      openStored_(openStored),
      clock_(std::move(clock)),
      states_(std::move(folder), openStored) {}

void DocumentHistory::edit(ItemId item, TextView label, const std::function<void()>& change, const Gesture& gesture) {
  run({item, gesture}, label, change, itemEntry);
}

void DocumentHistory::editMarkers(ItemId waveform, const std::function<void()>& change, const Gesture& gesture,
                                  TextView label) {
  run({waveform, gesture}, label, change, markerEntry);
}

void DocumentHistory::run(const Running& edit, TextView label, const std::function<void()>& change,
                          MakeEntry makeEntry) {
  const auto entry = [&] {
    EditEntry made;
    guardMemory([&] {
      made = makeEntry(edit.item);
      made.label = label;
      return true;
    });
    return made;
  };
  const bool goesOn = edit.gesture.number != 0 && edit == running_;
  EditEntry before = goesOn ? EditEntry() : entry();
  change();
  EditEntry after = entry();
  // What can be redone is lost only to edits that change something.
  if (!goesOn && !before.isBarrier() && after.restoresTheSame(before)) return;
  ++revision_;
  running_ = after.isBarrier() ? Running() : edit;
  if (!before.isBarrier()) edits_.RecordSnapshot(std::move(before));
  if (after.isBarrier()) return;
  if (goesOn) {
    edits_.amendCurrent(std::move(after));
  } else {
    edits_.RecordSnapshot(std::move(after));
  }
}

void DocumentHistory::RecordSnapshot(EditEntry&& entry) {
  running_ = {};
  edits_.RecordSnapshot(std::move(entry));
}

bool DocumentHistory::Undo() {
  return step(&EditRing::Undo);
}
bool DocumentHistory::Redo() {
  return step(&EditRing::Redo);
}

bool DocumentHistory::step(const EditEntry* (EditRing::*go)()) {
  running_ = {};
  while (const EditEntry* entry = (edits_.*go)()) {
    if (!restore(*entry)) continue;
    changed();
    return true;
  }
  return false;
}

bool DocumentHistory::restore(const EditEntry& entry) {
  if (entry.isBarrier()) return false;
  if (entry.storage == StorageCode::stateFile) return readStateFile(document_, entry.statePath, openStored_);
  return guardMemory(
      [&] { return kindOf(entry.item) == ItemKind::special ? restoreMarkers(entry) : restoreItem(entry); });
}

void DocumentHistory::changed() {
  ++revision_;
  if (refreshViews) refreshViews();
}

void DocumentHistory::ClearSnapshots() {
  running_ = {};
  edits_.ClearSnapshots();
}

void DocumentHistory::startSaving(ItemKind kind) {
  constexpr uint8_t barring = kindBit(ItemKind::layer) | kindBit(ItemKind::instrument) | kindBit(ItemKind::song) |
                              kindBit(ItemKind::collection);
  if (!(kindBit(kind) & barring)) return;
  ClearSnapshots();
  edits_.RecordSnapshot(EditEntry());
}

bool DocumentHistory::SaveState() {
  Text name = savedStateName(clock_());
  if (!guardMemory([&] { return states_.SaveState(imageOf(document_), name); })) return false;
  stateRevision_ = revision_;
  host_.showStatus(name);
  return true;
}

bool DocumentHistory::RestoreState(int offset, StateRing::AfterLoading afterLoading) {
  const bool isLatest = offset == 0 && states_.current() == states_.newest();
  if (!states_.RestoreState(document_, offset, afterLoading)) return false;
  if (!isLatest || stateRevision_ != revision_) {
    startSaving(ItemKind::collection);
    ++revision_;
  }
  host_.showStatus(u"Loaded state");
  if (refreshViews) refreshViews();
  return true;
}

bool DocumentHistory::LoadState(TextView path) {
  if (!readStateFile(document_, path, openStored_)) return false;
  startSaving(ItemKind::collection);
  host_.showStatus(u"Loaded state");
  changed();
  return true;
}

}  // namespace tervo

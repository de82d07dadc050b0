#include "core/history/document_history.h"

#include "base/last_error.h"
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

enum class Restored : uint8_t { failed, nothingToChange, changed };

Restored changedWhen(bool done) {
  return done ? Restored::changed : Restored::failed;
}

Restored restoreMarkers(const EditEntry& entry) {
  if ((static_cast<uint32_t>(entry.item) & 0x0FFFFFFF) != entry.image.body.size()) return Restored::failed;
  Waveform* waveform = waveformOfMarkers(entry.image);
  if (!waveform || markerImageOf(*waveform) == entry.image) return Restored::nothingToChange;
  return changedWhen(applyMarkers(*waveform, entry.image));
}

Restored restoreItem(const EditEntry& entry) {
  Item* item = findItem(entry.item);
  if (!item || imageOf(*item) == entry.image) return Restored::nothingToChange;
  return changedWhen(applyImage(*item, entry.image));
}

Restored restore(const EditEntry& entry, Collection& document, OpenStored openStored) {
  if (entry.isBarrier()) return Restored::nothingToChange;
  Restored restored = Restored::failed;
  guardMemory([&] {
    if (entry.storage == StorageCode::stateFile)
      restored = changedWhen(readStateFile(document, entry.statePath, openStored));
    else
      restored = kindOf(entry.item) == ItemKind::special ? restoreMarkers(entry) : restoreItem(entry);
    return true;
  });
  return restored;
}

/// Whether one entry is the state behind the other: an edit lies between them.
bool haveOneTarget(const EditEntry& first, const EditEntry& second) {
  if (first.isBarrier() || second.isBarrier()) return false;
  const bool areMarkers = kindOf(first.item) == ItemKind::special && kindOf(second.item) == ItemKind::special;
  return areMarkers ? waveformOfMarkers(first.image) == waveformOfMarkers(second.image) : first.item == second.item;
}

/// Of the edit between the first two neighbours, from the current entry on in one direction, that belong together.
Text labelOfEdit(const EditRing& ring, int direction) {
  for (int at = 0; const EditEntry* next = ring.entryAt(at + direction); at += direction) {
    const EditEntry& here = *ring.entryAt(at);
    if (haveOneTarget(here, *next)) return direction < 0 ? here.label : next->label;
  }
  return {};
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
  return step(&EditRing::Undo, &EditRing::Redo);
}
bool DocumentHistory::Redo() {
  return step(&EditRing::Redo, &EditRing::Undo);
}

Text DocumentHistory::undoLabel() const {
  return labelOfEdit(edits_, -1);
}
Text DocumentHistory::redoLabel() const {
  return labelOfEdit(edits_, 1);
}

bool DocumentHistory::step(Go go, Go back) {
  running_ = {};
  setLastErrorText({});
  Restored restored = Restored::nothingToChange;
  int entries = 0;
  while (restored == Restored::nothingToChange) {
    const EditEntry* entry = (edits_.*go)();
    if (!entry) return false;
    ++entries;
    restored = restore(*entry, document_, openStored_);
  }
  if (restored == Restored::changed) return changed(), true;
  for (; entries > 0; --entries) (edits_.*back)();
  return false;
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

void DocumentHistory::startNewDocument() {
  ClearSnapshots();
  ++revision_;
  markSaved();
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
  // The newest state is then another one.
  restoredRevision_ = revision_;
  if (afterLoading == StateRing::AfterLoading::deleteFile) stateRevision_.reset(), restoredRevision_.reset();
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

std::optional<Text> DocumentHistory::nameInState(TextView path) const {
  return documentNameIn(path, openStored_);
}

}  // namespace tervo

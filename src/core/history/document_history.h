#pragma once
// Undo, redo and saved states of one document. Every edit goes through edit() or editMarkers(), which record the item
// before and after it. Document thread.

#include <functional>
#include <optional>

#include "core/history/edit_ring.h"
#include "core/history/state_ring.h"
#include "core/host.h"
#include "core/parameter_id.h"

namespace tervo {

/// Changes of the same row of the same item that bear the same number are one step: a drag, a value being typed. 0 is
/// no gesture.
struct Gesture {
  uint64_t number = 0;
  ParameterId row{};

  bool operator==(const Gesture&) const = default;
};

class DocumentHistory {
 public:
  using Clock = std::function<std::chrono::system_clock::time_point()>;
  DocumentHistory(Collection& document, Host& host, Text folder, OpenStored openStored,
                  Clock clock = std::chrono::system_clock::now);

  /// Runs `change`, which may touch the item and everything below it: adding and deleting is an edit of the parent.
  /// When memory is too short for recording, the change is made all the same.
  void edit(ItemId item, TextView label, const std::function<void()>& change, const Gesture& gesture = {});
  /// The same for the markers of a waveform alone.
  void editMarkers(ItemId waveform, const std::function<void()>& change, const Gesture& gesture = {},
                   TextView label = u"Edit markers");
  /// Records an entry of the caller's own.
  void RecordSnapshot(EditEntry&& entry);

  /// One visible step: entries that would change nothing (the item was deleted, or is like that already) are passed
  /// over. False when there is none, or with LastErrorText when it cannot be restored: it can then be tried again.
  bool Undo();
  bool Redo();
  /// What Undo() would take back, and Redo() do again: the label of that step; empty when there is none.
  Text undoLabel() const;
  Text redoLabel() const;
  void ClearSnapshots();
  /// Before the item is saved: no undo step reaches back across the save of an instrument, a song or a collection.
  void startSaving(ItemKind kind);

  /// Writes the document as a new saved state and shows its name. A failure leaves both rings as they were.
  bool SaveState();
  /// Loads the state `offset` entries away (older ones are positive). Undo steps stay only when nothing was edited
  /// since that state was made.
  bool RestoreState(int offset, StateRing::AfterLoading afterLoading = StateRing::AfterLoading::keepFile);
  /// Loads a state that is not of this ring: the last session, one that was recovered. No undo step leads back.
  bool LoadState(TextView path);
  /// The name of the document that LoadState() would load, if it is sound.
  std::optional<Text> nameInState(TextView path) const;

  /// Grows with every change of the document that is made here.
  uint64_t revision() const { return revision_; }
  bool hasUnsavedChanges() const { return revision_ != savedRevision_; }
  void markSaved() { savedRevision_ = revision_; }
  /// Whether a saved state holds the document as it is.
  bool isInSavedState() const { return revision_ == stateRevision_ || revision_ == restoredRevision_; }
  /// After the document became another one, as files hold it: no undo step leads back and there is nothing to save.
  void startNewDocument();

  const EditRing& edits() const { return edits_; }
  const StateRing& states() const { return states_; }
  Collection& document() { return document_; }

  /// Called after undo, redo and a restored state.
  std::function<void()> refreshViews;

 private:
  /// The last edit, as long as its gesture may go on.
  struct Running {
    ItemId item = noItem;
    Gesture gesture;

    bool operator==(const Running&) const = default;
  };
  using MakeEntry = EditEntry (*)(ItemId item);
  using Go = const EditEntry* (EditRing::*)();

  void run(const Running& edit, TextView label, const std::function<void()>& change, MakeEntry makeEntry);
  bool step(Go go, Go back);
  void changed();

  Collection& document_;
  Host& host_;
  OpenStored openStored_;
  Clock clock_;
  EditRing edits_;
  StateRing states_;
  Running running_;
  uint64_t revision_ = 0;
  uint64_t savedRevision_ = 0;
  std::optional<uint64_t> stateRevision_;     ///< of the newest saved state, when it was made here and is there still
  std::optional<uint64_t> restoredRevision_;  ///< after a state was restored that is there still
};

}  // namespace tervo

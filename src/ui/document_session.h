#pragma once
// The document of the window with everything around it: undo, opening and saving, recovery, and who has to look again
// after a change. Document thread.

#include <QObject>
#include <QTimer>
#include <map>
#include <span>
#include <vector>

#include "core/collection.h"
#include "core/history/document_history.h"
#include "core/history/recovery.h"
#include "core/settings.h"
#include "formats/open_flow.h"
#include "formats/save_each.h"
#include "tools/operation.h"
#include "ui/window_host.h"

namespace tervo::ui {

/// The number of a gesture that begins: no other view has one like it.
uint64_t newGesture();

enum class OpenMode : uint8_t { replace, merge, replaceSameName };

/// What went into which file.
struct SavedItems {
  std::vector<ItemId> items;
  Text path;  ///< empty where nothing was saved
};

class DocumentSession final : public QObject {
  Q_OBJECT
 public:
  /// Saved states and recovery states live in `folder`.
  DocumentSession(Settings& settings, WindowHost& host, Text folder);

  Collection& document() { return document_; }
  const Collection& document() const { return document_; }
  Settings& settings() { return settings_; }
  WindowHost& host() { return host_; }
  DocumentHistory& history() { return history_; }
  RecoveryKeeper& recovery() { return recovery_; }
  /// Of the last open, save or operation.
  const ConversionReport& report() const { return report_; }

  /// False with LastErrorText. When the user was asked about raw data and declined, too.
  bool open(TextView path, OpenMode mode, RawFallback fallback = RawFallback::refused);
  /// Whether the last open ended so: nothing is left to tell.
  bool declinedRawData() const { return declinedRawData_; }
  /// Whether files that nobody knows may be read as raw data, when the user says so.
  void setRawDataOffered(bool offered) { isRawDataOffered_ = offered; }
  /// What is written for the items: parts stand for their instrument or song, and the document for all there is.
  std::vector<ItemId> itemsToWrite(std::span<const ItemId> items) const;
  /// What the file read last was taken for.
  FormatIndex sourceFormat() const { return lastDetection_.index; }
  /// Whether what was opened last was read as raw data.
  bool wasReadRaw() const { return lastDetection_.index == 0; }
  /// Several items are saved as a document of their own.
  bool save(std::span<const ItemId> items, FormatIndex row, TextView path, const SaveOptions& options);
  /// Each item into a file of its own; what became of it stands in the list. True when all were saved.
  bool saveEach(std::vector<SavedItem>& items, FormatIndex row, const SaveOptions& options);
  void clear();

  /// One undo step of all the items, whatever `change` does to them.
  void edit(std::span<const ItemId> items, const QString& label, const std::function<void()>& change,
            const Gesture& gesture = {});
  /// Runs an operation on items of its kind, as one undo step. False with LastErrorText.
  bool process(const Operation& operation, std::span<const ItemId> items, const OptionValues& values);
  /// Those that were kept last, else the usual ones.
  OptionValues optionsFor(const Operation& operation) const;
  void keepOptions(const Operation& operation, const OptionValues& values);
  /// What the last operation reported, to a user who asked for it.
  void tellReport(const Operation& operation);
  /// After something else has changed the document through history().
  void announceChange();

  bool undo();
  bool redo();
  bool saveState();
  bool restoreState(int offset);
  /// Writes the document as the state of that name, beside the ring of states.
  bool saveSession(TextView name);

  /// "Unnamed  - Tervo Studio", "Piano - Tervo Studio".
  QString title() const;

 Q_SIGNALS:
  /// Items have come, gone or changed.
  void changed();
  /// The whole document is another one.
  void replaced();
  /// Something was lost, or the user asked for a report; report() tells. `saved` is empty where nothing was saved into
  /// one file.
  void lostSomething(const QString& doing, const SavedItems& saved);

 private:
  bool openOnce(TextView path, OpenMode mode, RawFallback fallback);
  void tellLosses(const QString& doing, const SavedItems& saved = {});

  Settings& settings_;
  WindowHost& host_;
  Collection document_;
  DocumentHistory history_;
  RecoveryKeeper recovery_;
  QTimer recoveryTimer_;
  ConversionReport report_;
  std::map<const Operation*, OptionValues> options_;  ///< that were kept
  RawChoice rawChoice_ = RawChoice::askEachTime;
  bool isRawDataOffered_ = true;
  bool declinedRawData_ = false;
  Detection lastDetection_;
  bool isFromFile_ = false;  ///< even one that holds nothing
};

}  // namespace tervo::ui

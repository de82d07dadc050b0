#pragma once
// The loops that were found for a waveform, of which one is taken: each can be heard.

#include <QDialog>
#include <QStringList>

#include "core/item.h"
#include "core/report.h"

class QListWidget;

namespace tervo::ui {

class DocumentSession;
class Player;

class LoopChooser final : public QDialog {
  Q_OBJECT
 public:
  /// A report of the loop finder on one waveform: a line a loop, the best one first.
  static QStringList loopsIn(const ConversionReport& report);

  /// The session has just found loops for the waveform, and been told to keep the options.
  LoopChooser(DocumentSession& session, Player& player, ItemId waveform, QWidget* parent);

  /// Puts another loop in the place of the one that was taken, in the same undo step.
  void take(int row);
  QListWidget& list() { return *list_; }

 private:
  void play();

  DocumentSession& session_;
  Player& player_;
  ItemId waveform_;
  QListWidget* list_;
  int taken_ = 0;
};

}  // namespace tervo::ui

#pragma once
// The menu entries that copy, paste, rename and make items.

#include <QList>
#include <QObject>
#include <functional>
#include <vector>

#include "core/instrument.h"
#include "core/item.h"
#include "core/parameter_id.h"
#include "ui/clipboard.h"

class QAction;
class QMenu;
class QWidget;

namespace tervo::ui {

class DocumentSession;

class EditCommands final : public QObject {
  Q_OBJECT
 public:
  /// What the commands work on at the moment they are chosen.
  struct Target {
    std::vector<ItemId> items;
    ParameterId row{};  ///< that has the focus
    int marker = -1;    ///< that is chosen in the waveform editor
  };
  EditCommands(DocumentSession& session, QWidget* window, std::function<Target()> target);

  void addTo(QMenu& menu);
  /// Those whose keys are for items alone, after addTo().
  const QList<QAction*>& itemActions() const { return itemActions_; }

  /// Greys what the items do not allow.
  void enableFor(const std::vector<ItemId>& items);

  void cut();
  void copy();
  void paste();
  void remove();
  void copyPart(ClipKind kind);
  void pastePart(ClipKind kind);
  void rename();
  /// A false `name` changes nothing.
  bool renameTo(ItemId item, const QString& name);
  void newInstrument();
  void newLayer();
  /// An instrument with a region for each chosen waveform.
  void newRegions();

 Q_SIGNALS:
  /// Items that have come and should be selected.
  void made(const std::vector<ItemId>& items);

 private:
  void show(const QString& failure);
  Instrument& addInstrument(TextView name);

  DocumentSession& session_;
  QWidget* window_;
  std::function<Target()> target_;
  QList<QAction*> itemActions_;  ///< delete, rename
  QList<QAction*> needItems_;
};

}  // namespace tervo::ui

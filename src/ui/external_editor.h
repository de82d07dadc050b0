#pragma once
// Waveforms and songs in another program: the item is written to a file of its own, the program that the settings name
// opens it, and whatever that saves there becomes the item's content, as an undo step.

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTemporaryDir>
#include <QTimer>
#include <map>
#include <memory>

#include "core/item.h"

namespace tervo::ui {

class DocumentSession;

class ExternalEditor final : public QObject {
  Q_OBJECT
 public:
  ExternalEditor(DocumentSession& session, QObject* parent);

  /// A waveform or a song; a track stands for its song, a region for its waveform. False with LastErrorText.
  bool open(ItemId item);

 private:
  /// What a file was like when it was written or taken back last.
  struct Stand {
    ItemId item = noItem;
    QDateTime changed;
    qint64 size = 0;
  };
  bool write(ItemId item, const QString& path);
  void takeChanged();
  void takeBack(const QString& path, ItemId item);

  DocumentSession& session_;
  QTemporaryDir folder_;  ///< files are gone with the window
  QFileSystemWatcher watcher_;
  QTimer calm_;
  std::map<QString, Stand> files_;
};

}  // namespace tervo::ui

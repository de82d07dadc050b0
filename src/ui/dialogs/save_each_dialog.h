#pragma once
// Saves several items, each into a file of its own: in which format, where, and what became of each.

#include <QDialog>
#include <set>
#include <vector>

#include "core/item.h"
#include "formats/format_table.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QTableWidget;

namespace tervo::ui {

class DocumentSession;

class SaveEachDialog final : public QDialog {
  Q_OBJECT
 public:
  /// `items` is what is selected; without any all instruments, waveforms or songs are offered.
  SaveEachDialog(DocumentSession& session, std::vector<ItemId> items, QWidget* parent);

  void setFolder(const QString& folder);
  void setRow(FormatIndex row);
  /// Saves; stays open to show what failed.
  void accept() override;
  QTableWidget& table() { return *table_; }

 private:
  FormatIndex row() const;
  void showPlan();
  void chooseFolder();

  DocumentSession& session_;
  std::vector<ItemId> items_;
  std::set<Text> saved_;  ///< paths that were written here
  QComboBox* format_;
  QLineEdit* folder_;
  QCheckBox* subFolders_;
  QTableWidget* table_;
  QPushButton* save_;
};

}  // namespace tervo::ui

#pragma once
// The processing wizard: what to do to which items, with which options.

#include <QDialog>
#include <span>

#include "core/item.h"
#include "tools/operation.h"

class QComboBox;
class QLabel;
class QScrollArea;

namespace tervo::ui {

class DocumentSession;
class OptionForm;

class OperationDialog final : public QDialog {
  Q_OBJECT
 public:
  /// `items` is what is selected; the operations of their kinds are offered, with `first` chosen.
  OperationDialog(DocumentSession& session, std::vector<ItemId> items, const Operation* first, QWidget* parent);

  /// Runs what is chosen; stays open when that fails.
  void accept() override;
  OptionForm* form() { return form_; }
  /// After it was accepted: the waveform for which several loops were found.
  ItemId withLoops() const { return withLoops_; }

 private:
  void choose(int index);
  void showCrossfadeLength(std::span<const ItemId> items);
  /// Of the operation's kind: those that are selected, or all.
  std::vector<ItemId> itemsOf(const Operation& operation) const;

  DocumentSession& session_;
  std::vector<ItemId> items_;
  std::vector<const Operation*> operations_;
  QComboBox* list_;
  QLabel* text_;
  QLabel* failure_;
  QScrollArea* area_;
  OptionForm* form_ = nullptr;
  ItemId withLoops_ = noItem;
};

}  // namespace tervo::ui

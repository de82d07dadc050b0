#pragma once
// What a long operation is doing, how far it is, and Cancel.

#include <QDialog>
#include <functional>

class QLabel;
class QProgressBar;
class QPushButton;

namespace tervo::ui {

class ProgressWindow final : public QDialog {
  Q_OBJECT
 public:
  /// `cancel` says whether the operation is really to stop.
  ProgressWindow(QWidget* parent, std::function<bool()> cancel);

  void setText(const QString& text);
  void setFraction(double fraction);
  /// Escape and closing the window are Cancel, too; the window stays until the operation has ended.
  void reject() override;

 private:
  QLabel* text_;
  QProgressBar* bar_;
  QPushButton* button_;
  std::function<bool()> cancel_;
};

}  // namespace tervo::ui

#include "ui/progress_window.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace tervo::ui {

ProgressWindow::ProgressWindow(QWidget* parent, std::function<bool()> cancel)
    : QDialog(parent), cancel_(std::move(cancel)) {
  setWindowTitle(QStringLiteral("Tervo Studio"));
  setModal(true);
  text_ = new QLabel(tr("Working..."), this);
  text_->setTextFormat(Qt::PlainText);
  bar_ = new QProgressBar(this);
  bar_->setRange(0, 1000);
  bar_->setAccessibleName(tr("Progress"));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
  button_ = buttons->button(QDialogButtonBox::Cancel);
  connect(buttons, &QDialogButtonBox::rejected, this, &ProgressWindow::reject);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(text_);
  layout->addWidget(bar_);
  layout->addWidget(buttons);
  setMinimumWidth(420);
}

void ProgressWindow::setText(const QString& text) {
  if (!text.isEmpty() && button_->isEnabled()) text_->setText(text);
}

void ProgressWindow::setFraction(double fraction) {
  bar_->setValue(static_cast<int>(fraction * 1000));
}

void ProgressWindow::reject() {
  if (!cancel_()) return;
  button_->setEnabled(false);
  text_->setText(QStringLiteral("Aborting, please wait..."));
}

}  // namespace tervo::ui

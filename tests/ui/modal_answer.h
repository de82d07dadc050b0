#pragma once
// Answers the message box or file dialog that something is about to open, and tells what it said.

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QTimer>

#include "ui/progress_window.h"

namespace tervo::ui {

struct Modal {
  QString title, text;
  QStringList buttons, labels;
  bool wasShown = false;
};

/// Runs `run`, in which a dialog opens (a progress window is cancelled), and presses its button of that text; without a
/// text it is dismissed.
template <typename Run>
Modal answering(const QString& button, Run run) {
  Modal seen;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog || seen.wasShown) return;
    // Cancels what runs; the question whether that is meant comes from there.
    // A timer does not fire again within what it called, so that is left to the loop.
    if (qobject_cast<ProgressWindow*>(dialog)) {
      QMetaObject::invokeMethod(
          dialog, [dialog] { dialog->reject(); }, Qt::QueuedConnection);
      return;
    }
    seen.wasShown = true;
    seen.title = dialog->windowTitle();
    for (const auto* label : dialog->findChildren<QLabel*>()) seen.labels << label->text();
    QAbstractButton* pressed = nullptr;
    if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
      seen.text = box->text();
      for (QAbstractButton* each : box->buttons()) {
        seen.buttons << each->text();
        if (each->text() == button) pressed = each;
      }
    }
    pressed ? pressed->click() : dialog->reject();
  });
  timer.start(10);
  run();
  return seen;
}

}  // namespace tervo::ui

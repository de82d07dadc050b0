// How files come into the window and leave it.

#include <QApplication>
#include <QCloseEvent>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <QUrl>
#include <algorithm>

#include "base/last_error.h"
#include "ui/file_dialogs.h"
#include "ui/main_window.h"
#include "ui/qt_text.h"
#include "ui/wave/source_pane.h"
#include "ui/waveform_list.h"

namespace tervo::ui {

bool MainWindow::confirmDiscarding(Confirming when) {
  if (!session_.history().hasUnsavedChanges()) return true;
  // Who wants no questions can still come back; where that fails, one is asked after all.
  const bool isSilent = when == Confirming::asSet && !session_.settings().load.confirm;
  if (isSilent && (session_.history().isInSavedState() || session_.saveState())) return true;
  if (!messageBoxesAllowed_) return session_.host().showStatus(u"There are unsaved changes"), false;
  const QString text = QStringLiteral(
      "This will discard any changes made to the loaded data!\n\nAre you sure that you want to proceed?");
  return QMessageBox::warning(this, QStringLiteral("Warning: Discarding changes!"), text,
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
}

void MainWindow::openFiles(const std::vector<Text>& paths, OpenMode mode, RawFallback fallback) {
  if (mode == OpenMode::replace && !confirmDiscarding()) return;
  for (const Text& path : paths) {
    const bool opened = session_.open(path, mode, fallback);
    if (!opened && !session_.declinedRawData()) showFailure(qt(path));
    if (session_.host().cancelled()) break;
    if (opened && session_.wasReadRaw()) showSource();
    if (opened && mode == OpenMode::replace) mode = OpenMode::merge;
  }
}

void MainWindow::importRaw() {
  const auto mode = session_.settings().rawio.replaceColl ? OpenMode::replace : OpenMode::merge;
  const auto paths = chooseFilesToOpen(this, tr("Import raw data"), session_.settings());
  if (!paths.empty()) openFiles(paths, mode, RawFallback::forced);
}

void MainWindow::selectNewest() {
  const auto& all = session_.document().waveforms();
  if (all.empty()) return;
  // Serial numbers grow.
  const auto newest =
      std::max_element(all.begin(), all.end(), [](const auto& a, const auto& b) { return a->id() < b->id(); });
  list_->select({(*newest)->id()});
}

void MainWindow::showSource() {
  selectNewest();
  if (!session_.document().waveforms().empty()) tabs_->setCurrentWidget(source_);
}

void MainWindow::openChosen(OpenMode mode, const QString& title) {
  openFiles(chooseFilesToOpen(this, title, session_.settings()), mode);
}

void MainWindow::save(const std::vector<ItemId>& items) {
  const auto whole = session_.itemsToWrite(items);
  if (whole.empty()) return session_.host().showStatus(u"No item selected");
  const Item& named = whole.size() == 1 ? *findItem(whole[0]) : session_.document();
  const auto choice = chooseFileToSave(this, tr("Save As"), named.kind(), qt(ownNameOf(named)), session_.settings(),
                                       session_.sourceFormat());
  if (!choice) return;
  if (!session_.save(whole, choice->row, choice->path, {})) showFailure(qt(choice->path));
  refreshState();
}

void MainWindow::closeEvent(QCloseEvent* event) {
  // What is being typed is taken over when its field loses the focus.
  if (QWidget* focus = focusWidget()) focus->clearFocus();
  // The operation that runs would come back to a window that is gone.
  const bool isBusy = session_.host().isBusy();
  if (isBusy) session_.host().showStatus(u"Cancel what is running first");
  const Settings& settings = session_.settings();
  const bool isKept = settings.app.persistentState && !settings.load.confirm;
  if (isBusy || (!isKept && !confirmDiscarding())) return event->ignore();
  rememberGeometry();
  event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
  std::vector<Text> paths;
  for (const QUrl& url : event->mimeData()->urls()) {
    if (url.isLocalFile()) paths.push_back(pathOf(url.toLocalFile()));
  }
  if (paths.empty()) return;
  // Never a move, after which the sender would delete them.
  event->setDropAction(Qt::CopyAction);
  event->accept();
  // Later: the sender stands still until this returns.
  QMetaObject::invokeMethod(
      this, [this, paths] { openAsUserWants(paths); }, Qt::QueuedConnection);
}

void MainWindow::takeFiles(const std::vector<Text>& paths) {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  QWidget* front = QApplication::activeModalWidget();
  if (!front) front = this;
  front->raise();
  front->activateWindow();
  openWhenFree(paths);
}

void MainWindow::openWhenFree(const std::vector<Text>& paths) {
  if (paths.empty()) return;
  constexpr int momentMs = 200;
  const bool isBusy = session_.host().isBusy() || QApplication::activeModalWidget();
  if (isBusy) return QTimer::singleShot(momentMs, this, [this, paths] { openWhenFree(paths); });
  openAsUserWants(paths);
}

void MainWindow::openAsUserWants(const std::vector<Text>& paths) {
  if (!session_.document().holdsData()) return openFiles(paths, OpenMode::replace);
  // Nothing is lost when nobody can be asked.
  if (!messageBoxesAllowed_) return openFiles(paths, OpenMode::merge);
  QMessageBox box(QMessageBox::Question, QStringLiteral("Tervo Studio"),
                  QStringLiteral("How would you like to open the file?"), QMessageBox::NoButton, this);
  const QAbstractButton* merge = box.addButton(QStringLiteral("&Merge w current"), QMessageBox::AcceptRole);
  const QAbstractButton* replace = box.addButton(QStringLiteral("&Replace current"), QMessageBox::AcceptRole);
  box.setEscapeButton(box.addButton(QStringLiteral("&Cancel"), QMessageBox::RejectRole));
  box.exec();
  if (box.clickedButton() == replace) openFiles(paths, OpenMode::replace);
  if (box.clickedButton() == merge) openFiles(paths, OpenMode::merge);
}

}  // namespace tervo::ui

#include "ui/window_host.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QScopeGuard>
#include <QThread>
#include <algorithm>

#include "ui/progress_window.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

// What is over within a moment needs no window, and one that shows is drawn a few times a second.
constexpr int momentMs = 400, drawMs = 40;

}  // namespace

WindowHost::WindowHost() = default;
WindowHost::~WindowHost() = default;

WindowHost::Operation WindowHost::beginOperation() {
  if (operations_ == 0) {
    cancelled_ = false;
    sinceBegin_.start();
    sinceShown_.start();
    status_.clear();
  }
  return Operation(*this);
}

void WindowHost::endOperation() {
  if (--operations_ > 0) return;
  progressWindow_.reset();
}

void WindowHost::showStatus(TextView text) {
  status_ = qt(text);
  if (progressWindow_) progressWindow_->setText(status_);
  Q_EMIT statusShown(status_);
}

bool WindowHost::progress(double fraction) {
  const bool ownThread = QThread::currentThread() == thread();
  if (ownThread && operations_ > 0) showProgress(fraction);
  return operations_ == 0 || !cancelled_;
}

void WindowHost::showProgress(double fraction) {
  if (!progressWindow_ && sinceBegin_.elapsed() >= momentMs) {
    progressWindow_ = std::make_unique<ProgressWindow>(window_, [this] { return cancel(); });
    progressWindow_->setText(status_);
    progressWindow_->show();
  }
  if (!progressWindow_ || sinceShown_.elapsed() < drawMs) return;
  sinceShown_.restart();
  progressWindow_->setFraction(fraction);
  // The progress window is modal: nothing else gets at the document from here.
  QApplication::processEvents();
}

bool WindowHost::cancel() {
  const auto isMeant = [this] {
    return QMessageBox::question(progressWindow_.get(), QStringLiteral("Tervo Studio"),
                                 QStringLiteral("Abort rendering?"), QMessageBox::Yes | QMessageBox::No,
                                 QMessageBox::No) == QMessageBox::Yes;
  };
  if (isRendering_ && !isMeant()) return false;
  return cancelled_ = true;
}

std::size_t WindowHost::ask(const Question& question) {
  if (isQuiet_) return question.safeButton;
  QMessageBox box(QMessageBox::Question, QStringLiteral("Tervo Studio"), qt(question.text), QMessageBox::NoButton,
                  window_);
  box.setTextFormat(Qt::PlainText);
  std::vector<QAbstractButton*> buttons;
  for (std::size_t i = 0; i < question.buttons.size(); ++i) {
    QPushButton* button = box.addButton(qt(question.buttons[i]), QMessageBox::ActionRole);
    buttons.push_back(button);
    if (i == question.safeButton) {
      box.setDefaultButton(button);
      box.setEscapeButton(button);
    }
  }
  box.exec();
  const auto clicked = std::find(buttons.begin(), buttons.end(), box.clickedButton());
  return clicked == buttons.end() ? question.safeButton : static_cast<std::size_t>(clicked - buttons.begin());
}

std::optional<Text> WindowHost::locateFile(const FileRequest& request) {
  if (isQuiet_) return std::nullopt;
  const QString wanted = tr("What is missing (%1)").arg(qt(request.pattern)), all = tr("All files (*)");
  // Opening moves to the folder of the file, which names the missing one.
  const QString path =
      QFileDialog::getOpenFileName(window_, qt(request.title), QDir::currentPath(), wanted + ";;" + all);
  return path.isEmpty() ? std::nullopt : std::optional(pathOf(path));
}

std::vector<std::unique_ptr<Waveform>> WindowHost::render(const Item& item) {
  if (!renderer_) return Host::render(item);
  std::vector<std::unique_ptr<Waveform>> waveforms;
  renderStoppably([&] { waveforms = renderer_(item); });
  return waveforms;
}

void WindowHost::renderStoppably(const std::function<void()>& run) {
  const auto operation = beginOperation();
  isRendering_ = true;
  const auto end = qScopeGuard([this] { isRendering_ = false; });
  run();
}

}  // namespace tervo::ui

// Tervo Studio: the order in which the desktop program starts and ends.

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <cstdlib>
#include <functional>
#include <new>
#include <stdexcept>
#include <thread>

#include "app/start_arguments.h"
#include "base/last_error.h"
#include "core/history/recovery.h"
#include "core/history/state_ring.h"
#include "core/settings.h"
#include "platform/path.h"
#include "platform/program.h"
#include "platform/running_instance.h"
#include "platform/settings_backend.h"
#include "ui/batch/batch_wizard.h"
#include "ui/main_window.h"
#include "ui/qt_text.h"
#include "ui/sound/player.h"
#include "ui/theme/theme.h"

namespace {

using namespace tervo;

bool isFile(TextView path) {
  return QFileInfo(ui::qt(path)).isFile();
}

constexpr TextView lastSession = u"Last session";

void restoreLastSession(ui::MainWindow& window, const Settings& settings) {
  ui::DocumentSession& session = window.session();
  // What a crash left behind is worth more than what the last clean exit saved.
  if (auto taken = offerLostStates(session.history(), session.host(), stateFolder()))
    return session.recovery().replaces(std::move(*taken));
  if (!settings.app.persistentState) return;
  const Text path = session.history().states().pathOf(lastSession);
  if (!isFile(path) || session.history().LoadState(path)) return;
  session.host().showStatus(LastErrorText());
  // The exit writes another of that name.
  const QString kept = ui::qt(session.history().states().pathOf(u"Last session (not loaded)"));
  QFile::remove(kept);
  QFile::rename(ui::qt(path), kept);
}

[[noreturn]] void endOutOfMemory() {
  try {
    QMessageBox::critical(nullptr, QStringLiteral("Fatal error!"),
                          QStringLiteral("Out of memory - Tervo Studio will terminate"));
  } catch (const std::exception&) {
    // There is not even enough for saying so.
  }
  std::_Exit(1);  // leaves what recovery has written
}

/// Where something fails in the middle of what nobody guards.
class Application final : public QApplication {
 public:
  using QApplication::QApplication;
  bool notify(QObject* receiver, QEvent* event) override {
    try {
      return QApplication::notify(receiver, event);
    } catch (const std::bad_alloc&) {
      endOutOfMemory();
    } catch (const std::length_error&) {
      endOutOfMemory();
    } catch (const std::exception& problem) {
      // Too few threads, a folder that vanished: what the user wanted is not done, and the rest goes on.
      QMessageBox::warning(nullptr, QStringLiteral("Error!"), QString::fromLocal8Bit(problem.what()));
      return true;
    }
  }
};

enum class Ending { saved, discarded, goBack };

/// Tries again as long as the user wants: a full disk can be helped, and what is open be saved elsewhere.
Ending saveUntilDone(TextView what, QMessageBox::StandardButtons also, const std::function<bool()>& save) {
  while (!save()) {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Error!"), ui::qt(LastErrorText()),
                    QMessageBox::Retry | QMessageBox::Discard | also);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(ui::qt(Text(what) + u" could not be saved."));
    const int answer = box.exec();
    if (answer == QMessageBox::Cancel) return Ending::goBack;
    if (answer != QMessageBox::Retry) return Ending::discarded;
  }
  return Ending::saved;
}

void showFatal(TextView title) {
  QMessageBox(QMessageBox::Warning, ui::qt(title), ui::qt(LastErrorText())).exec();
}

/// Neither settings nor a session are saved, so nothing but the wizard is made.
int runBatch(const std::vector<Text>& files, const Settings& settings, bool showsBoxes) {
  if (!ui::runBatchWizard(files, ui::qt(settings.app.lastPathOut)) && showsBoxes) showFatal(u"Error!");
  return 0;
}

/// What further starts of the program hand over, for the window once there is one.
class HandedOver {
 public:
  /// From now on a further start finds this copy. False where another one was faster.
  bool announce() {
    const auto take = [this](std::vector<Text> paths) {
      // Later: whoever hands them over waits for an answer, not for the user.
      const auto open = [this, paths = std::move(paths)] {
        if (window_) window_->takeFiles(paths);
      };
      QMetaObject::invokeMethod(qApp, open, Qt::QueuedConnection);
    };
    instance_ = platform::RunningInstance::announce(u"Tervo Studio", take);
    return instance_ != nullptr;
  }
  void setWindow(ui::MainWindow* window) { window_ = window; }

 private:
  ui::MainWindow* window_ = nullptr;
  std::unique_ptr<platform::RunningInstance> instance_;
};

/// Whether another copy has the files. This one is announced before its window is made, which takes a while, so that
/// of two that start at once one finds the other.
bool isTakenByAnother(const StartArguments& start, const std::vector<Text>& files, HandedOver& handedOver) {
  constexpr int tries = 40;
  constexpr auto pause = std::chrono::milliseconds(50);
  for (int i = 0; i < tries; ++i) {
    if (!start.wantsNewWindow && platform::handOver(files)) return true;
    if (handedOver.announce()) return false;
    if (LastErrorText() == u"RegisterClassEx failed") showFatal(u"Fatal error!");
    if (start.wantsNewWindow || LastErrorText() != platform::anotherCopyRuns) return false;
    std::this_thread::sleep_for(pause);
  }
  return false;  // it does not answer: this one is a copy of its own
}

int run(int argc, char** argv) {
  Application application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tervo Studio"));
  QApplication::setApplicationVersion(QStringLiteral("12.9"));
  QApplication::setDesktopFileName(QStringLiteral("tervo-studio"));
  const StartArguments start = readArguments(platform::programArguments(argc, argv), isFile);
  std::vector<Text> files;
  // Opening a file moves to its folder.
  for (const Text& file : start.files) files.push_back(platform::absolute(file));
  const ui::Theme theme;
  const auto backend = platform::openUserSettings();
  Settings settings;
  if (start.runsBatch) {
    ReadSettings(settings, *backend);
    return runBatch(files, settings, start.showsBoxes);
  }
  LoadSettings(settings, *backend);
  HandedOver handedOver;
  if (isTakenByAnother(start, files, handedOver)) return 0;

  ui::WindowHost host;
  ui::DocumentSession session(settings, host, stateFolder());
  ui::Player player(session);
  ui::MainWindow window(session, player);
  window.setMessageBoxesAllowed(start.showsBoxes);
  session.setRawDataOffered(false);
  window.show();
  handedOver.setWindow(&window);
  restoreLastSession(window, settings);
  if (!files.empty()) window.takeFiles(files);  // asks where something was restored
  session.setRawDataOffered(true);
  window.setMessageBoxesAllowed(true);
  window.refreshState();

  // Where the desktop ends, nothing behind the loop is sure to be reached.
  QObject::connect(&application, &QGuiApplication::commitDataRequest, [&] {
    if (settings.app.persistentState) session.saveSession(lastSession);
    SaveSettings(settings, *backend);
  });
  int status = 0;
  Ending ending = Ending::goBack;
  while (ending == Ending::goBack) {
    window.show();
    status = QApplication::exec();
    player.stop();
    ending = saveUntilDone(u"The session", QMessageBox::Cancel,
                           [&] { return !settings.app.persistentState || session.saveSession(lastSession); });
  }
  handedOver.setWindow(nullptr);
  saveUntilDone(u"The settings", QMessageBox::NoButton, [&] { return SaveSettings(settings, *backend); });
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::bad_alloc&) {
    endOutOfMemory();
  }
}

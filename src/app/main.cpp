// Tervo Studio: the order in which the desktop program starts and ends.

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>

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

namespace {

using namespace tervo;

bool isFile(TextView path) {
  return QFileInfo(ui::qt(path)).isFile();
}

constexpr TextView lastSession = u"Last session";

void restoreLastSession(ui::MainWindow& window, const Settings& settings) {
  ui::DocumentSession& session = window.session();
  // What a crash left behind is worth more than what the last clean exit saved.
  if (offerLostStates(session.history(), session.host(), stateFolder())) return;
  if (!settings.app.persistentState) return;
  const Text path = session.history().states().pathOf(lastSession);
  if (isFile(path) && !session.history().LoadState(path)) session.host().showStatus(LastErrorText());
}

void showFatal(TextView title) {
  QMessageBox(QMessageBox::Warning, ui::qt(title), ui::qt(LastErrorText())).exec();
}

/// Neither settings nor a session are saved, so nothing but the wizard is made.
int runBatch(const std::vector<Text>& files, const Settings& settings, bool showsBoxes) {
  if (!ui::runBatchWizard(files, ui::qt(settings.app.lastPathOut)) && showsBoxes) showFatal(u"Error!");
  return 0;
}

/// From now on a further start finds this copy. Null where that does not work: it then is a copy of its own.
std::unique_ptr<platform::RunningInstance> announce(ui::MainWindow& window) {
  const auto take = [&window](std::vector<Text> paths) {
    // Later: whoever hands them over waits for an answer, not for the user.
    const auto open = [&window, paths = std::move(paths)] { window.takeFiles(paths); };
    QMetaObject::invokeMethod(&window, open, Qt::QueuedConnection);
  };
  auto instance = platform::RunningInstance::announce(u"Tervo Studio", take);
  if (!instance && LastErrorText() == u"RegisterClassEx failed") showFatal(u"Fatal error!");
  return instance;
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tervo Studio"));
  QApplication::setApplicationVersion(QStringLiteral("12.9"));
  QApplication::setDesktopFileName(QStringLiteral("tervo-studio"));
  const StartArguments start = readArguments(platform::programArguments(argc, argv), isFile);
  std::vector<Text> files;
  // Opening a file moves to its folder.
  for (const Text& file : start.files) files.push_back(platform::absolute(file));
  const auto backend = platform::openUserSettings();
  Settings settings;
  LoadSettings(settings, *backend);
  if (start.runsBatch) return runBatch(files, settings, start.showsBoxes);
  if (!start.wantsNewWindow && platform::handOver(files)) return 0;

  ui::WindowHost host;
  ui::DocumentSession session(settings, host, stateFolder());
  ui::Player player(session);
  ui::MainWindow window(session, player);
  window.setMessageBoxesAllowed(start.showsBoxes);
  window.show();
  const auto instance = announce(window);
  restoreLastSession(window, settings);
  if (!files.empty()) window.openFiles(files, ui::OpenMode::replace);
  window.setMessageBoxesAllowed(true);
  window.refreshState();

  const int status = QApplication::exec();
  player.stop();
  if (settings.app.persistentState) session.saveSession(lastSession);
  SaveSettings(settings, *backend);
  return status;
}

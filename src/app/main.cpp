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

/// Neither settings nor a session are saved, so nothing but the wizard is made.
int runBatch(const std::vector<Text>& files, const Settings& settings, bool showsBoxes) {
  if (!ui::runBatchWizard(files, ui::qt(settings.app.lastPathOut)) && showsBoxes)
    QMessageBox::warning(nullptr, QStringLiteral("Error!"), ui::qt(LastErrorText()));
  return 0;
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
  ui::WindowHost host;
  ui::DocumentSession session(settings, host, stateFolder());
  ui::Player player(session);
  ui::MainWindow window(session, player);
  window.setMessageBoxesAllowed(start.showsBoxes);
  window.show();
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

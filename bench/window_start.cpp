// The CPU time from the start of a process to a painted, empty window, in the order of the desktop program:
// QT_QPA_PLATFORM=offscreen window_start

#include <sys/resource.h>

#include <QApplication>
#include <QTemporaryDir>
#include <cstdio>

#include "ui/main_window.h"
#include "ui/qt_text.h"
#include "ui/sound/player.h"

int main(int argc, char** argv) {
  using namespace tervo;
  QApplication application(argc, argv);
  QTemporaryDir dir;
  Settings settings;
  ui::WindowHost host;
  ui::DocumentSession session(settings, host, ui::textOf(dir.path()));
  ui::Player player(session);
  ui::MainWindow window(session, player);
  window.show();
  QApplication::processEvents();
  window.repaint();
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
  };
  std::printf("painted after %.0f ms of CPU\n", milliseconds(used.ru_utime) + milliseconds(used.ru_stime));
}

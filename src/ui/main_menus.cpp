// The main window's menus.

#include <QApplication>
#include <QFileInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QStyle>
#include <QTabWidget>
#include <QToolBar>

#include "base/last_error.h"
#include "ui/batch/batch_wizard.h"
#include "ui/collection_tree.h"
#include "ui/dialogs/save_each_dialog.h"
#include "ui/edit_commands.h"
#include "ui/external_editor.h"
#include "ui/help_window.h"
#include "ui/main_window.h"
#include "ui/property_pane.h"
#include "ui/qt_text.h"
#include "ui/sound/keyboard_view.h"
#include "ui/sound/player.h"
#include "ui/wave/waveform_pane.h"
#include "ui/waveform_list.h"

namespace tervo::ui {

void MainWindow::buildMenus() {
  buildFileMenu();
  buildEditMenu();
  buildWaveformMenu();
  buildProcessMenu();
  buildSoundMenu();
  buildHelpMenu();
  buildToolBar();
}

void MainWindow::buildProcessMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Process"));
  menu->addAction(tr("&Wizard..."), QKeySequence(tr("Ctrl+P")), this, [this] { process(nullptr); });
  menu->addSeparator();
  QMenu* waves = menu->addMenu(tr("Wa&veforms"));
  QMenu* songs = menu->addMenu(tr("&Songs"));
  for (const Operation& operation : Operations()) {
    QMenu* place = operation.kind == ItemKind::song ? songs : waves;
    place
        ->addAction(qt(operation.title) + (operation.options.empty() ? QString() : QStringLiteral("...")), this,
                    [this, &operation] { process(&operation); })
        ->setStatusTip(qt(operation.text));
  }
  songs->addSeparator();
  songs->addAction(tr("Render to &Waveform"), this, &MainWindow::renderSong);
}

void MainWindow::buildWaveformMenu() {
  QMenu* menu = menuBar()->addMenu(tr("Wa&veform"));
  menu->addActions(waveform_->toolActions());
  // What it does is to be seen.
  connect(menu, &QMenu::triggered, this, [this] { tabs_->setCurrentWidget(waveform_); });
}

void MainWindow::buildHelpMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Help"));
  // The key itself is looked out for by HelpKey, which works in dialogs too.
  menu->addAction(tr("&Manual") + QStringLiteral("\tF1"), this, [this] {
    if (!help_->show(QStringLiteral("index"))) session_.host().showStatus(u"The manual is not installed");
  });
  menu->addAction(tr("&About Tervo Studio"), this, [this] {
    const QString text = tr("Opens, edits and converts audio files, sampler instruments and MIDI songs.");
    QMessageBox::about(this, QStringLiteral("Tervo Studio"),
                       QStringLiteral("Tervo Studio ") + QApplication::applicationVersion() + u'\n' + text);
  });
}

void MainWindow::buildSoundMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Sound"));
  play_ = menu->addAction(tr("&Play"), QKeySequence(Qt::Key_Space), this, &MainWindow::playOrStop);
  menu->addAction(tr("&Send Song to MIDI Output"), this, &MainWindow::sendSong);
  audition_ = menu->addAction(QStringLiteral("Auditioning: Off"));
  audition_->setCheckable(true);
  connect(audition_, &QAction::triggered, this, [this](bool on) {
    session_.settings().aio.enable = on;
    refreshState();
  });
  QAction* keyboard = menu->addAction(tr("Virtual &Keyboard"));
  keyboard->setCheckable(true);
  keyboard->setChecked(session_.settings().aio.vKeyboard != 0);
  connect(menu, &QMenu::aboutToShow, this,
          [this, keyboard] { keyboard->setChecked(session_.settings().aio.vKeyboard != 0); });
  connect(keyboard, &QAction::toggled, this, [this](bool on) {
    session_.settings().aio.vKeyboard = on;
    keyboard_->setVisible(on);
  });
}

void MainWindow::buildToolBar() {
  auto* bar = addToolBar(tr("Main tool bar"));
  bar->setObjectName(QStringLiteral("mainToolBar"));
  bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  open_->setIcon(style()->standardIcon(QStyle::SP_DialogOpenButton));
  save_->setIcon(style()->standardIcon(QStyle::SP_DialogSaveButton));
  undo_->setIcon(style()->standardIcon(QStyle::SP_ArrowBack));
  redo_->setIcon(style()->standardIcon(QStyle::SP_ArrowForward));
  save_->setIconText(tr("Save"));
  undo_->setIconText(tr("Undo"));
  redo_->setIconText(tr("Redo"));
  bar->addActions({open_, save_});
  bar->addSeparator();
  bar->addActions({undo_, redo_});
  bar->addSeparator();
  bar->addActions({play_, audition_});
}

void MainWindow::buildFileMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&File"));
  const auto add = [&](const QString& text, const QKeySequence& keys, auto run) {
    QAction* action = menu->addAction(text);
    action->setShortcut(keys);
    connect(action, &QAction::triggered, this, run);
    return action;
  };
  add(tr("&New"), QKeySequence::New, [this] {
    if (confirmDiscarding()) session_.clear();
  });
  open_ = add(tr("&Open..."), QKeySequence::Open,
              [this] { openChosen(OpenMode::replace, tr("Open files - Tervo Studio")); });
  add(tr("&Merge..."), tr("Ctrl+M"),
      [this] { openChosen(OpenMode::merge, QStringLiteral("Open files to merge with - Tervo Studio")); });
  add(tr("Replace &Waveforms of the Same Name..."), {}, [this] {
    openChosen(OpenMode::replaceSameName, QStringLiteral("Select waves to replace current waves of the same name"));
  });
  add(tr("&Import Raw Data..."), tr("Ctrl+I"), [this] { importRaw(); });
  recent_ = menu->addMenu(tr("&Recent Files"));
  connect(recent_, &QMenu::aboutToShow, this, &MainWindow::showRecentFiles);
  menu->addSeparator();
  save_ = add(tr("&Save Collection As..."), QKeySequence::Save, [this] { save({session_.document().id()}); });
  saveSelected_ = add(tr("Save Se&lected As..."), tr("Ctrl+Shift+S"), [this] { save(chosen_); });
  add(tr("Save &Each As..."), QKeySequence(tr("Ctrl+Shift+E")),
      [this] { SaveEachDialog(session_, chosen_, this).exec(); });
  add(tr("&Batch Conversion..."), QKeySequence(tr("Ctrl+B")), [this] {
    BatchWizard wizard(qt(session_.settings().app.lastPathOut), this);
    wizard.exec();
    if (wizard.targets().isComplete()) session_.settings().app.lastPathOut = textOf(wizard.targets().folder());
  });
  menu->addSeparator();
  add(tr("&Quit"), tr("Ctrl+Q"), [this] { close(); });
}

void MainWindow::buildEditMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Edit"));
  undo_ = menu->addAction(tr("&Undo"), QKeySequence::Undo, this, [this] { session_.undo(); });
  redo_ = menu->addAction(tr("&Redo"), this, [this] { session_.redo(); });
  redo_->setShortcuts(QKeySequence::Redo);
  undo_->setEnabled(false);
  redo_->setEnabled(false);
  menu->addSeparator();
  edit_->addTo(*menu);
  // Elsewhere these keys belong to what has the focus: a value, a point, a marker.
  for (QAction* action : edit_->itemActions()) {
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    tree_->addAction(action);
    list_->addAction(action);
  }
  menu->addAction(tr("Open in E&xternal Editor"), QKeySequence(tr("Ctrl+E")), this, [this] {
    if (!external_->open(chosen_.empty() ? noItem : chosen_[0])) session_.host().showStatus(LastErrorText());
  });
  menu->addSeparator();
  menu->addAction(tr("Sa&ve State"), QKeySequence(tr("Ctrl+T")), this, [this] {
    if (!session_.saveState()) showFailure({});
  });
  QMenu* states = menu->addMenu(tr("Saved &States"));
  connect(states, &QMenu::aboutToShow, this, [this, states] { showStates(*states); });
  menu->addSeparator();
  menu->addAction(tr("Pre&ferences..."), QKeySequence(tr("Ctrl+,")), this, &MainWindow::editPreferences);
}

void MainWindow::showRecentFiles() {
  recent_->clear();
  int number = 0;
  for (const Text& path : session_.settings().app.lastFiles) {
    const QFileInfo file(qt(path));
    QString name = file.fileName();
    name.replace(u'&', QStringLiteral("&&"));
    QAction* action =
        recent_->addAction(++number < 10 ? QStringLiteral("&%1 %2").arg(QString::number(number), name) : name, this,
                           [this, path] { openFiles({path}, OpenMode::replace); });
    action->setToolTip(qt(path));
    action->setEnabled(file.exists());
  }
  recent_->setToolTipsVisible(true);
  if (recent_->isEmpty()) recent_->addAction(tr("(none)"))->setEnabled(false);
}

}  // namespace tervo::ui

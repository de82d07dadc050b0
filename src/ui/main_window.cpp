#include "ui/main_window.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

#include "base/last_error.h"
#include "core/levels.h"
#include "ui/collection_tree.h"
#include "ui/dialogs/loop_chooser.h"
#include "ui/dialogs/operation_dialog.h"
#include "ui/dialogs/preferences_dialog.h"
#include "ui/dialogs/report_window.h"
#include "ui/edit_commands.h"
#include "ui/editors/graphic_pane.h"
#include "ui/editors/key_map.h"
#include "ui/editors/song_pane.h"
#include "ui/editors/song_view.h"
#include "ui/external_editor.h"
#include "ui/help_window.h"
#include "ui/progress_window.h"
#include "ui/property_pane.h"
#include "ui/qt_text.h"
#include "ui/sound/keyboard_view.h"
#include "ui/sound/play_icons.h"
#include "ui/sound/player.h"
#include "ui/sound/saved_sounds.h"
#include "ui/wave/source_pane.h"
#include "ui/wave/waveform_pane.h"
#include "ui/waveform_list.h"

namespace tervo::ui {
namespace {

/// What the regions of the items play.
std::vector<ItemId> waveformsPlayedBy(const std::vector<ItemId>& items) {
  std::set<ItemId> played;
  const auto addRegion = [&](const Region& region) { played.insert(region.waveform); };
  const auto addLayer = [&](const Layer& layer) {
    for (const auto& region : layer.regions()) addRegion(*region);
  };
  for (const ItemId id : items) {
    if (const auto* region = findItem<Region>(id)) addRegion(*region);
    if (const auto* layer = findItem<Layer>(id)) addLayer(*layer);
    const auto* instrument = findItem<Instrument>(id);
    for (std::size_t i = 0; instrument && i < instrument->layers().size(); ++i) addLayer(*instrument->layers()[i]);
  }
  return {played.begin(), played.end()};
}

/// The regions that play one of the waveforms.
std::vector<ItemId> regionsThatPlay(const Collection& document, const std::vector<ItemId>& waveforms) {
  const std::set<ItemId> wanted(waveforms.begin(), waveforms.end());
  std::vector<ItemId> regions;
  for (const auto& instrument : document.instruments()) {
    for (const auto& layer : instrument->layers()) {
      for (const auto& region : layer->regions()) {
        if (wanted.contains(region->waveform)) regions.push_back(region->id());
      }
    }
  }
  return regions;
}

/// The first waveform among the items, or the one that the first region plays.
ItemId waveformOf(const std::vector<ItemId>& items) {
  for (const ItemId id : items) {
    if (kindOf(id) == ItemKind::waveform) return id;
    if (const auto* region = findItem<Region>(id)) return region->waveform;
  }
  return noItem;
}

}  // namespace

MainWindow::MainWindow(DocumentSession& session, Player& player) : session_(session), player_(player) {
  setObjectName(QStringLiteral("muiWindow"));
  setWindowTitle(QStringLiteral("Tervo Studio v12.9"));
  setAcceptDrops(true);
  session_.host().setWindow(this);
  help_ = new HelpKey(this);
  buildPanes();
  edit_ = new EditCommands(session_, this, [this] {
    return EditCommands::Target{chosen_, properties_->currentRow(), waveform_->view().chosenMarker()};
  });
  external_ = new ExternalEditor(session_, this);
  buildMenus();
  showPlaying(false);
  connectSession();
  restoreGeometryFromSettings();
}

MainWindow::~MainWindow() {
  // Closing moves the focus once more, when this is no main window any more.
  disconnect(qApp, nullptr, this, nullptr);
}

void MainWindow::buildPanes() {
  across_ = new QSplitter(Qt::Horizontal, this);
  tree_ = new CollectionTree(session_, across_);
  auto* right = new QSplitter(Qt::Vertical, across_);
  list_ = new WaveformList(session_, right);
  tabs_ = new QTabWidget(right);
  tabs_->setAccessibleName(tr("Views"));
  auto* parameters = new QSplitter(Qt::Horizontal, tabs_);
  properties_ = new PropertyPane(session_, parameters);
  graphics_ = new GraphicPane(session_, properties_->model(), parameters);
  parameters->setSizes({420, 480});
  tabs_->addTab(parameters, tr("P&arameters"));
  waveform_ = new WaveformPane(session_, tabs_);
  tabs_->addTab(waveform_, tr("&Waveform"));
  song_ = new SongPane(tabs_);
  tabs_->addTab(song_, tr("Son&g"));
  source_ = new SourcePane(session_, tabs_);
  tabs_->addTab(source_, tr("So&urce"));
  right->setSizes({200, 480});
  across_->setStretchFactor(1, 1);
  keyboard_ = new KeyboardView(player_, session_.settings(), this);
  keyboard_->setVisible(session_.settings().aio.vKeyboard != 0);
  auto* centre = new QWidget(this);
  auto* layout = new QVBoxLayout(centre);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(across_, 1);
  layout->addWidget(keyboard_);
  setCentralWidget(centre);
  const std::pair<QWidget*, const char*> pages[] = {
      {tree_, "collection"},   {list_, "waveforms"}, {properties_, "parameters"}, {graphics_, "editors"},
      {waveform_, "waveform"}, {song_, "song"},      {source_, "source"},         {keyboard_, "sound"}};
  for (const auto& [pane, page] : pages) setHelpPage(*pane, page);
  status_ = new QLabel(this);
  status_->setTextFormat(Qt::PlainText);
  statusBar()->addWidget(status_, 1);
  engineStatus_ = new QLabel(this);
  engineStatus_->setTextFormat(Qt::PlainText);
  statusBar()->addPermanentWidget(engineStatus_);
}

void MainWindow::connectSession() {
  connect(&session_, &DocumentSession::replaced, this, [this] {
    tree_->rebuild();
    list_->rebuild();
    player_.reload();
    choose(activeList_ ? list_->selectedItems() : tree_->selectedItems());
    refreshState();
  });
  connect(&session_, &DocumentSession::changed, this, [this] {
    tree_->refresh();
    list_->refresh();
    properties_->refresh();
    graphics_->refresh();
    song_->refresh();
    player_.reload();
    showPlayableKeys();
    waveform_->refresh();
    source_->refresh();
    refreshState();
  });
  connect(&session_.host(), &WindowHost::statusShown, status_, &QLabel::setText);
  connect(&session_, &DocumentSession::lostSomething, this, [this](const QString& doing, const SavedItems& saved) {
    if (!messageBoxesAllowed_) return;
    auto* report = new ReportWindow(doing, session_.report(), this);
    if (!saved.path.empty()) report->offerSounds(std::make_unique<SavedSounds>(session_, player_, saved));
    showReport(report);
  });
  connect(properties_, &PropertyPane::rowChosen, graphics_, &GraphicPane::showRow);
  connect(graphics_, &GraphicPane::itemsChosen, tree_, &CollectionTree::select);
  connect(&player_, &Player::keySounded, &graphics_->keys(), &KeyMap::showKey);
  connect(&player_, &Player::statusShown, engineStatus_, &QLabel::setText);
  connect(&player_, &Player::playingChanged, this, &MainWindow::showPlaying);
  connect(&player_, &Player::positionChanged, this, [this] {
    const Waveform* shown = waveform_->view().waveform();
    const ItemId playing = player_.playing();
    waveform_->view().setPlayPosition(shown && shown->id() == playing ? player_.position() : std::nullopt);
    source_->view().setPlayPosition(source_->waveform() == playing ? player_.position() : std::nullopt);
    song_->view().setPlayPosition(song_->song() == playing ? player_.songSeconds() : std::nullopt);
  });
  connect(&song_->view(), &SongView::placeChosen, this, [this](double seconds) {
    const Song* song = player_.isSending() ? findItem<Song>(song_->song()) : nullptr;
    if (song)
      player_.send(*song, seconds);
    else if (player_.songSeconds())
      player_.play(song_->song(), seconds);
  });
  connect(qApp, &QApplication::focusChanged, this, [this](QWidget* before, QWidget* now) {
    keyboard_->releaseAll();
    // Nobody chose anything when the whole window comes back.
    if (before) followFocus(now);
  });
  connect(source_, &SourcePane::playWanted, this, &MainWindow::playOrStop);
  connect(source_, &SourcePane::layoutChanged, this, [this] {
    if (player_.position()) player_.play(source_->waveform());
  });
  connect(edit_, &EditCommands::made, this, &MainWindow::selectItems);
  connect(tree_, &CollectionTree::selectedItemsChanged, this, [this] {
    activeList_ = false;
    choose(tree_->selectedItems());
    const QSignalBlocker quiet(list_);
    if (session_.settings().app.autoSelWaveforms) list_->select(waveformsPlayedBy(chosen_));
    if (chosen_.size() == 1) player_.audition(chosen_[0]);
  });
  connect(list_, &WaveformList::selectedItemsChanged, this, [this] {
    activeList_ = true;
    choose(list_->selectedItems());
    const QSignalBlocker quiet(tree_);
    if (session_.settings().app.autoSelCollItems) tree_->select(regionsThatPlay(session_.document(), chosen_));
    if (chosen_.size() == 1) player_.audition(chosen_[0]);
  });
}

void MainWindow::showReport(QDialog* report) {
  // Beside a modal dialog it could not be used: it comes after it.
  for (QDialog* dialog : findChildren<QDialog*>()) {
    const bool isInFront = dialog->isModal() && dialog->isVisible() && !qobject_cast<ProgressWindow*>(dialog);
    if (isInFront) return void(connect(dialog, &QDialog::finished, report, &QWidget::show));
  }
  report->show();
}

void MainWindow::followFocus(const QWidget* focus) {
  const bool inTree = focus == tree_ && activeList_;
  const bool inList = focus == list_ && !activeList_ && !list_->selectedItems().empty();
  if (!inTree && !inList) return;
  activeList_ = inList;
  choose(inList ? list_->selectedItems() : tree_->selectedItems());
}

void MainWindow::selectItems(const std::vector<ItemId>& items) {
  const bool areWaveforms = !items.empty() && kindOf(items[0]) == ItemKind::waveform;
  areWaveforms ? list_->select(items) : tree_->select(items);
}

void MainWindow::choose(const std::vector<ItemId>& items) {
  chosen_ = items;
  properties_->setItems(chosen_);
  graphics_->setItems(chosen_);
  song_->setItems(chosen_);
  waveform_->setWaveform(waveformOf(chosen_));
  source_->setWaveform(waveformOf(chosen_));
  player_.setPlayed(chosen_.empty() ? noItem : chosen_[0]);
  showPlayableKeys();
  edit_->enableFor(chosen_);
  saveSelected_->setEnabled(!chosen_.empty());
  showActiveList();
}

void MainWindow::showActiveList() {
  for (QWidget* each : {static_cast<QWidget*>(tree_), static_cast<QWidget*>(list_)}) {
    QPalette colours = palette();
    const bool isActive = (each == list_) == activeList_;
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
      if (isActive) break;
      QColor pale = colours.color(group, QPalette::Highlight);
      pale.setAlphaF(0.3F);
      colours.setColor(group, QPalette::Highlight, pale);
      colours.setColor(group, QPalette::HighlightedText, colours.color(group, QPalette::Text));
    }
    each->setPalette(colours);
  }
}

void MainWindow::showPlayableKeys() {
  std::array<bool, 128> playable{};
  const Instrument* instrument = chosen_.empty() ? nullptr : containingInstrument(chosen_[0]);
  if (!instrument) playable.fill(true);
  for (std::size_t i = 0; instrument && i < instrument->layers().size(); ++i) {
    for (const auto& region : instrument->layers()[i]->regions()) {
      const Range keys = keyRange(*region);
      for (int key = keys.low; key <= std::min<int>(keys.high, 127); ++key)
        playable[static_cast<std::size_t>(key)] = true;
    }
  }
  keyboard_->setPlayableKeys(playable);
}

bool MainWindow::event(QEvent* event) {
  // Space presses what has the focus, where that can be pressed, before it plays.
  if (event->type() == QEvent::ShortcutOverride) {
    const auto* key = static_cast<QKeyEvent*>(event);
    const QWidget* focus = QApplication::focusWidget();
    const bool isPressed = qobject_cast<const QAbstractButton*>(focus) || qobject_cast<const QComboBox*>(focus);
    if (isPressed && key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier) event->accept();
  }
  return QMainWindow::event(event);
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
  if (keyboard_->isHidden() || !keyboard_->handleKey(*event)) QMainWindow::keyPressEvent(event);
}

void MainWindow::keyReleaseEvent(QKeyEvent* event) {
  if (keyboard_->isHidden() || !keyboard_->handleKey(*event)) QMainWindow::keyReleaseEvent(event);
}

void MainWindow::playOrStop() {
  if (player_.isPlaying()) return player_.stop();
  ItemId item = chosen_.empty() ? noItem : chosen_[0];
  double start = 0;
  if (tabs_->currentWidget() == waveform_ && waveform_->view().waveform()) {
    item = waveform_->view().waveform()->id();
    start = waveform_->view().cursor();
  } else if (tabs_->currentWidget() == source_ && findItem(source_->waveform())) {
    item = source_->waveform();
  } else if (tabs_->currentWidget() == song_ && findItem(song_->song())) {
    item = song_->song();
    start = song_->view().place();
  }
  if (!player_.play(item, start)) session_.host().showStatus(LastErrorText());
}

void MainWindow::process(const Operation* operation) {
  const Collection& document = session_.document();
  const bool hasWaveforms = !document.waveforms().empty(), hasSongs = !document.songs().empty();
  if (operation && !(operation->kind == ItemKind::song ? hasSongs : hasWaveforms))
    return session_.host().showStatus(u"There is no " + Text(nameOf(operation->kind)) + u" to process");
  if (!hasWaveforms && !hasSongs) return session_.host().showStatus(u"There is nothing to process");
  // Of what plays waveforms, those are meant.
  std::vector<ItemId> items = chosen_;
  for (const ItemId id : waveformsPlayedBy(chosen_)) items.push_back(id);
  OperationDialog dialog(session_, std::move(items), operation, this);
  dialog.exec();
  if (dialog.withLoops() != noItem) LoopChooser(session_, player_, dialog.withLoops(), this).exec();
}

void MainWindow::editPreferences() {
  if (PreferencesDialog(session_.settings(), this, player_.formatInUse()).exec() != QDialog::Accepted) return;
  player_.restart();
  keyboard_->setVisible(session_.settings().aio.vKeyboard != 0);
  session_.announceChange();
}

void MainWindow::showStates(QMenu& menu) {
  menu.clear();
  const StateRing& states = session_.history().states();
  if (states.oldest() < 0) return menu.addAction(tr("(none)"))->setEnabled(false);
  const int count = (states.newest() - states.oldest() + StateRing::capacity) % StateRing::capacity + 1;
  for (int i = 0; i < count; ++i) {
    const int index = (states.newest() - i + StateRing::capacity) % StateRing::capacity;
    // Older entries are positive.
    const int offset = (states.current() - index + StateRing::capacity) % StateRing::capacity;
    const bool isNewer = (index - states.oldest() + StateRing::capacity) % StateRing::capacity >
                         (states.current() - states.oldest() + StateRing::capacity) % StateRing::capacity;
    QString name = qt(states.name(index));
    QAction* action = menu.addAction(name.replace(u'&', QStringLiteral("&&")), this, [this, offset, isNewer] {
      if (!session_.history().isInSavedState() && !confirmDiscarding(Confirming::always)) return;
      if (!session_.restoreState(isNewer ? offset - StateRing::capacity : offset)) showFailure({});
    });
    action->setCheckable(true);
    action->setChecked(index == states.current());
  }
}

void MainWindow::showPlaying(bool playing) {
  play_->setText(playing ? tr("&Stop") : tr("&Play"));
  play_->setIcon(playing ? stopIcon(palette()) : playIcon(palette()));
}

void MainWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  // Who comes forward now hears of keys that are let go.
  if (event->type() == QEvent::ActivationChange && keyboard_ && !isActiveWindow()) keyboard_->releaseAll();
  if (event->type() != QEvent::PaletteChange || !play_) return;
  showPlaying(player_.isPlaying());
  showActiveList();
}

void MainWindow::refreshState() {
  setWindowTitle(session_.title());
  const EditRing& edits = session_.history().edits();
  undo_->setEnabled(edits.canUndo());
  redo_->setEnabled(edits.canRedo());
  // The tool bar has no room for names.
  const auto name = [](QAction& action, const QString& verb, const QString& step) {
    QString escaped = step;
    action.setText(step.isEmpty() ? verb : verb + u' ' + escaped.replace(u'&', QStringLiteral("&&")));
    action.setToolTip(QStringLiteral("%1 %2 (%3)").arg(action.iconText(), step, action.shortcut().toString()));
  };
  name(*undo_, tr("&Undo"), qt(session_.history().undoLabel()));
  name(*redo_, tr("&Redo"), qt(session_.history().redoLabel()));
  const bool on = session_.settings().aio.enable != 0;
  audition_->setText(on ? QStringLiteral("Auditioning: On") : QStringLiteral("Auditioning: Off"));
  audition_->setChecked(on);
}

void MainWindow::setMessageBoxesAllowed(bool allowed) {
  messageBoxesAllowed_ = allowed;
  session_.host().setQuiet(!allowed);
}

void MainWindow::showFailure(const QString& what) {
  // Whoever cancelled knows why.
  if (session_.host().cancelled() || !messageBoxesAllowed_) return session_.host().showStatus(LastErrorText());
  const Text why = LastErrorText();
  QMessageBox box(QMessageBox::Warning, QStringLiteral("Error!"), qt(why), QMessageBox::Ok, this);
  box.setTextFormat(Qt::PlainText);
  box.setInformativeText(what);
  box.exec();
  session_.host().showStatus(why);
}

void MainWindow::restoreGeometryFromSettings() {
  const Settings::App& app = session_.settings().app;
  resize(app.lastSize[0] > 0 ? app.lastSize[0] : 1180, app.lastSize[1] > 0 ? app.lastSize[1] : 760);
  const QPoint place(app.lastPos[0], app.lastPos[1]);
  // The screen that it stood on may be gone.
  if (app.lastSize[0] > 0 && QGuiApplication::screenAt(place + QPoint(width() / 2, 0))) move(place);
  int tree = app.paneSplitL;
  // Until somebody moves it, the names of instruments and what they hold fit, whatever the font.
  if (tree == Settings{}.app.paneSplitL) tree = std::max(tree, 58 * tree_->fontMetrics().averageCharWidth());
  across_->setSizes({tree, std::max(width() - tree, 100)});
}

void MainWindow::rememberGeometry() {
  Settings::App& app = session_.settings().app;
  app.lastPos = {pos().x(), pos().y()};
  app.lastSize = {width(), height()};
  app.paneSplitL = across_->sizes().value(0);
  list_->rememberWidths();
}

void MainWindow::renderSong() {
  const Song* song = chosen_.empty() ? nullptr : containingSong(chosen_[0]);
  if (!song) song = findItem<Song>(song_->song());
  if (!song) return session_.host().showStatus(u"No item selected");
  if (!player_.bank().renderIntoDocument(*song)) return session_.host().showStatus(LastErrorText());
  selectNewest();
}

void MainWindow::sendSong() {
  const Song* song = chosen_.empty() ? nullptr : containingSong(chosen_[0]);
  if (!song) song = findItem<Song>(song_->song());
  if (!song) return session_.host().showStatus(u"No item selected");
  if (!player_.send(*song)) session_.host().showStatus(LastErrorText());
}

}  // namespace tervo::ui

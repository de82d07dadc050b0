#include "ui/wave/waveform_pane.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>
#include <QSplitter>
#include <QTableView>
#include <QToolBar>
#include <QVBoxLayout>
#include <cmath>

#include "base/last_error.h"
#include "ui/document_session.h"
#include "ui/property_delegate.h"
#include "ui/qt_text.h"
#include "ui/wave/loop_seam_view.h"
#include "ui/wave/marker_model.h"
#include "ui/wave/spectrum_view.h"
#include "ui/waveform_list_model.h"

namespace tervo::ui {
namespace {

// The scroll bar counts in steps, as its range is that of an int.
constexpr double scrollSteps = 1 << 24;

}  // namespace

WaveformPane::WaveformPane(DocumentSession& session, QWidget* parent) : QWidget(parent), session_(session) {
  view_ = new WaveformView(session, this);
  scroll_ = new QScrollBar(Qt::Horizontal, this);
  scroll_->setAccessibleName(tr("Place in the waveform"));
  info_ = new QLabel(this);
  info_->setTextFormat(Qt::PlainText);
  model_ = new MarkerModel(session, this);
  table_ = new QTableView(this);
  table_->setModel(model_);
  table_->setItemDelegate(new PropertyDelegate(table_));
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                          QAbstractItemView::AnyKeyPressed);
  table_->verticalHeader()->setDefaultSectionSize(22);
  table_->setAccessibleName(tr("Markers and loops"));
  table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  const int digits = table_->fontMetrics().averageCharWidth();
  const int widths[MarkerModel::columns] = {16, 10, 11, 11, 18, 13, 8};
  for (int column = 0; column < MarkerModel::columns; ++column) table_->setColumnWidth(column, widths[column] * digits);
  seam_ = new LoopSeamView(this);
  spectrum_ = new SpectrumView(this);
  buildToolBar();

  auto* below = new QSplitter(Qt::Horizontal, this);
  below->addWidget(table_);
  below->addWidget(seam_);
  below->addWidget(spectrum_);
  below->setSizes({620, 200, 260});
  auto* picture = new QWidget(this);
  auto* pictureLayout = new QVBoxLayout(picture);
  pictureLayout->setContentsMargins(0, 0, 0, 0);
  pictureLayout->setSpacing(0);
  pictureLayout->addWidget(view_, 1);
  pictureLayout->addWidget(scroll_);
  auto* down = new QSplitter(Qt::Vertical, this);
  down->addWidget(picture);
  down->addWidget(below);
  down->setStretchFactor(0, 3);
  down->setStretchFactor(1, 1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(tools_);
  layout->addWidget(down, 1);
  layout->addWidget(info_);
  spectrum_->setVisible(session.settings().viz.spectrum != 0);

  connect(view_, &WaveformView::scaleChanged, this, &WaveformPane::updateScrollBar);
  connect(view_, &WaveformView::selectionChanged, this, [this] {
    updateSide();
    updateInfo();
  });
  connect(view_, &WaveformView::markerChosen, this, [this](int index) {
    if (index >= 0) table_->selectRow(index);
    updateSide();
  });
  connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
          [this](const QModelIndex& now) { view_->chooseMarker(now.row()); });
  connect(scroll_, &QScrollBar::valueChanged, this, [this](int value) {
    if (isScrolling_ || !view_->waveform()) return;
    WaveScale scale = view_->scale();
    scale.first = value / scrollSteps * static_cast<double>(view_->waveform()->frames());
    view_->setScale(scale);
  });
}

void WaveformPane::buildToolBar() {
  tools_ = new QToolBar(this);
  const auto add = [this](const QString& text, const QString& tip, auto run) {
    QAction* action = tools_->addAction(text, this, run);
    action->setToolTip(tip);
    return action;
  };
  const auto addDisplay = [this](const QString& text, uint8_t Settings::Viz::*flag) {
    QAction* action = tools_->addAction(text);
    action->setCheckable(true);
    action->setChecked(session_.settings().viz.*flag != 0);
    connect(action, &QAction::toggled, this, [this, flag](bool on) { setDisplay(flag, on); });
    displays_.emplace_back(action, flag);
  };
  add(tr("Zoom in"), tr("Zoom in (+)"), [this] { view_->zoom(0.5); });
  add(tr("Zoom out"), tr("Zoom out (-)"), [this] { view_->zoom(2); });
  add(tr("All"), tr("Show the whole waveform"), [this] { view_->showAll(); });
  add(tr("Selection"), tr("Show what is selected"), [this] { view_->showSelection(); });
  tools_->addSeparator();
  add(tr("Add loop"), tr("A loop over what is selected"), [this] { addMarker(MarkerType::loop); });
  add(tr("Add section"), tr("A section over what is selected"), [this] { addMarker(MarkerType::section); });
  add(tr("Add position"), tr("A marker at the cursor"), [this] { addMarker(MarkerType::position); });
  add(tr("Remove"), tr("Remove the chosen marker"), [this] { removeMarker(); });
  auto* remove = new QAction(this);
  remove->setShortcut(QKeySequence::Delete);
  remove->setShortcutContext(Qt::WidgetWithChildrenShortcut);
  connect(remove, &QAction::triggered, this, &WaveformPane::removeMarker);
  addAction(remove);
  add(tr("Snap to zero"), tr("Move the ends of loops to the nearest zero crossings"), [this] { snapToZero(); });
  tools_->addSeparator();
  addDisplay(tr("Filled"), &Settings::Viz::waveDispFill);
  addDisplay(tr("Split"), &Settings::Viz::waveDispSplit);
  addDisplay(tr("Follow"), &Settings::Viz::trackInEditor);
  addDisplay(tr("Spectrum"), &Settings::Viz::spectrum);
}

QList<QAction*> WaveformPane::toolActions() const {
  return tools_->actions();
}

void WaveformPane::setDisplay(uint8_t Settings::Viz::*flag, bool on) {
  session_.settings().viz.*flag = on;
  spectrum_->setVisible(session_.settings().viz.spectrum != 0);
  updateSide();
  view_->update();
}

void WaveformPane::setWaveform(ItemId id) {
  const bool isOther = id != waveform_;
  waveform_ = id;
  view_->setWaveform(id);
  if (isOther) model_->setWaveform(id);
  refresh();
}

void WaveformPane::refresh() {
  // The preferences change them as well.
  for (const auto& [action, flag] : displays_) action->setChecked(session_.settings().viz.*flag != 0);
  view_->setWaveform(findItem(waveform_) ? waveform_ : noItem);
  model_->refresh();
  updateSide();
  updateInfo();
}

void WaveformPane::updateScrollBar() {
  const Waveform* waveform = view_->waveform();
  const double frames = waveform ? std::max<double>(static_cast<double>(waveform->frames()), 1) : 1;
  const double shown = std::min(view_->width() * view_->scale().framesPerPixel / frames, 1.0);
  isScrolling_ = true;
  scroll_->setRange(0, static_cast<int>((1 - shown) * scrollSteps));
  scroll_->setPageStep(std::max(static_cast<int>(shown * scrollSteps), 1));
  scroll_->setSingleStep(std::max(scroll_->pageStep() / 20, 1));
  scroll_->setValue(static_cast<int>(view_->scale().first / frames * scrollSteps));
  isScrolling_ = false;
}

void WaveformPane::updateSide() {
  const Waveform* waveform = view_->waveform();
  int marker = view_->chosenMarker();
  const Marker* main = waveform ? mainLoop(*waveform) : nullptr;
  if (marker < 0 && main) marker = static_cast<int>(main - waveform->markers.data());
  seam_->show(waveform_, marker);
  if (!spectrum_->isHidden()) spectrum_->show(waveform, view_->selection().start, view_->selection().end);
}

void WaveformPane::updateInfo() {
  const Waveform* waveform = view_->waveform();
  if (!waveform) return info_->clear();
  const auto& selection = view_->selection();
  const double rate = std::max(waveform->sampleRate, 1.0);
  QString text = tr("%1 frames, %2, %3 Hz")
                     .arg(waveform->frames())
                     .arg(durationText(static_cast<double>(waveform->frames()) / rate))
                     .arg(waveform->sampleRate);
  if (!selection.isEmpty()) {
    text += tr("  |  selected %1 to %2 (%3)")
                .arg(std::round(selection.start))
                .arg(std::round(selection.end))
                .arg(durationText((selection.end - selection.start) / rate));
  }
  info_->setText(text);
}

void WaveformPane::addMarker(MarkerType type) {
  auto* waveform = findItem<Waveform>(waveform_);
  if (!waveform || waveform->frames() == 0) return;
  const auto frames = static_cast<double>(waveform->frames());
  const auto& selection = view_->selection();
  Marker marker{.type = type};
  marker.start = std::min(std::round(selection.isEmpty() ? view_->cursor() : selection.start), frames - 1);
  marker.end = selection.isEmpty() ? frames : std::round(selection.end);
  if (type == MarkerType::position) marker.end = marker.start + 1;
  marker.end = std::max(marker.end, marker.start + 1);
  if (type == MarkerType::loop) marker.loopType = LoopType::forward;
  session_.history().editMarkers(waveform_, [&] { waveform->markers.push_back(marker); });
  session_.announceChange();
  view_->chooseMarker(static_cast<int>(waveform->markers.size()) - 1);
}

void WaveformPane::removeMarker() {
  auto* waveform = findItem<Waveform>(waveform_);
  const int index = view_->chosenMarker();
  if (!waveform || index < 0) return;
  view_->chooseMarker(-1);
  session_.history().editMarkers(waveform_, [&] { waveform->markers.erase(waveform->markers.begin() + index); });
  session_.announceChange();
}

void WaveformPane::snapToZero() {
  const Operation* operation = findOperation(u"snap-loops");
  if (!session_.process(*operation, std::vector{waveform_}, OptionValues(operation->options)))
    session_.host().showStatus(LastErrorText());
}

}  // namespace tervo::ui

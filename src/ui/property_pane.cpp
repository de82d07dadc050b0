#include "ui/property_pane.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QSortFilterProxyModel>
#include <QVBoxLayout>

#include "core/labels.h"
#include "core/parameter_lists.h"
#include "formats/save_each.h"
#include "ui/dialogs/capability_dialog.h"
#include "ui/property_delegate.h"
#include "ui/property_model.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

// How far the mouse moves for one step of a value.
constexpr int pixelsPerStep = 4;

bool isSteppable(ParameterId row) {
  const ParameterRow& facts = rowOf(row);
  return !facts.has(ParameterFlags::Textual) && choicesOf(facts.editor).empty();
}

}  // namespace

PropertyView::PropertyView(PropertyModel& model, QWidget* parent) : QTreeView(parent), model_(model) {
  setUniformRowHeights(true);
  setAlternatingRowColors(true);
  setEditTriggers(DoubleClicked | SelectedClicked | EditKeyPressed | AnyKeyPressed);
  setSelectionBehavior(SelectItems);
  setRootIsDecorated(true);
  setAccessibleName(tr("Parameters"));
}

std::optional<ParameterId> PropertyView::numberRowAt(const QPoint& position) const {
  const QModelIndex index = indexAt(position);
  if (!index.isValid() || !index.parent().isValid() || index.column() != PropertyModel::value) return std::nullopt;
  if (!(index.flags() & Qt::ItemIsEnabled)) return std::nullopt;
  const auto row = static_cast<ParameterId>(index.data(PropertyModel::rowRole).toInt());
  return isSteppable(row) ? std::optional(row) : std::nullopt;
}

void PropertyView::keyPressEvent(QKeyEvent* event) {
  const QModelIndex index = currentIndex();
  const bool isRow = index.isValid() && index.parent().isValid();
  const auto row = static_cast<ParameterId>(index.data(PropertyModel::rowRole).toInt());
  if (isRow && event->key() == Qt::Key_Delete) return model_.resetToDefault(row);
  const bool withControl = event->modifiers() & Qt::ControlModifier;
  if (isRow && withControl && isSteppable(row) && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)) {
    if (!event->isAutoRepeat()) gesture_ = newGesture();
    const double step = event->modifiers() & Qt::ShiftModifier ? 10 : 1;
    return model_.stepBy(row, event->key() == Qt::Key_Up ? step : -step, gesture_);
  }
  QTreeView::keyPressEvent(event);
}

void PropertyView::wheelEvent(QWheelEvent* event) {
  const auto row = numberRowAt(event->position().toPoint());
  if (!row || !(event->modifiers() & Qt::ControlModifier)) return QTreeView::wheelEvent(event);
  model_.stepBy(*row, event->angleDelta().y() / 120.0, newGesture());
  event->accept();
}

void PropertyView::mousePressEvent(QMouseEvent* event) {
  QTreeView::mousePressEvent(event);
  if (event->button() != Qt::LeftButton) return;
  draggedRow_ = numberRowAt(event->position().toPoint());
  dragged_ = event->position().toPoint();
  isDragging_ = false;
}

void PropertyView::mouseMoveEvent(QMouseEvent* event) {
  if (!draggedRow_ || !(event->buttons() & Qt::LeftButton)) return QTreeView::mouseMoveEvent(event);
  const int steps = (dragged_.y() - event->position().toPoint().y()) / pixelsPerStep;
  if (steps == 0) return;
  if (!isDragging_) gesture_ = newGesture();
  isDragging_ = true;
  dragged_.ry() -= steps * pixelsPerStep;
  const bool isFine = event->modifiers() & Qt::ShiftModifier;
  model_.stepBy(*draggedRow_, isFine ? steps / 10.0 : steps, gesture_);
}

void PropertyView::mouseReleaseEvent(QMouseEvent* event) {
  draggedRow_.reset();
  if (isDragging_) return event->accept();
  QTreeView::mouseReleaseEvent(event);
}

PropertyPane::PropertyPane(DocumentSession& session, QWidget* parent) : QWidget(parent), session_(session) {
  model_ = new PropertyModel(session, this);
  filter_ = new QSortFilterProxyModel(this);
  filter_->setSourceModel(model_);
  filter_->setRecursiveFilteringEnabled(true);
  filter_->setFilterCaseSensitivity(Qt::CaseInsensitive);
  view_ = new PropertyView(*model_, this);
  view_->setModel(filter_);
  view_->setItemDelegate(new PropertyDelegate(view_));
  view_->header()->resizeSection(PropertyModel::name, 260);
  search_ = new QLineEdit(this);
  search_->setPlaceholderText(tr("Find a parameter"));
  search_->setAccessibleName(search_->placeholderText());
  search_->setClearButtonEnabled(true);
  connect(search_, &QLineEdit::textChanged, this, [this](const QString& text) {
    filter_->setFilterFixedString(text);
    if (!text.isEmpty()) view_->expandAll();
  });
  target_ = new QComboBox(this);
  target_->setAccessibleName(tr("What the parameters are meant for"));
  target_->setToolTip(tr("Greys the parameters that a synthesizer or its file format cannot hold"));
  for (const CapabilityProfile& profile : CapabilityProfiles) target_->addItem(qt(profile.name));
  target_->addItem(qt(customProfileName));
  connect(target_, &QComboBox::currentIndexChanged, this, [this](int index) {
    const auto place = static_cast<std::size_t>(index);
    model_->setTarget(place < CapabilityProfiles.size() ? CapabilityProfiles[place].capabilities : custom_);
  });
  // Chosen again, the own set is edited again.
  connect(target_, &QComboBox::activated, this, [this](int index) {
    if (index == target_->count() - 1 && editCapabilities(custom_, this)) model_->setTarget(custom_);
  });
  heading_ = new QLabel(this);
  heading_->setTextFormat(Qt::PlainText);
  // A long name is not to widen the pane.
  heading_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  heading_->setMinimumWidth(10 * heading_->fontMetrics().averageCharWidth());
  connect(view_->selectionModel(), &QItemSelectionModel::currentChanged, this, [this](const QModelIndex& now) {
    if (const auto row = model_->rowAt(filter_->mapToSource(now))) Q_EMIT rowChosen(row_ = *row);
  });

  auto* top = new QHBoxLayout;
  top->addWidget(heading_, 1);
  top->addWidget(search_);
  top->addWidget(target_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addLayout(top);
  layout->addWidget(view_);
}

/// The name of a single item; of several how many they are, and what format waveforms have.
QString PropertyPane::headingOf(const std::vector<ItemId>& items) {
  if (items.empty()) return tr("Nothing is selected");
  const Item* first = findItem(items[0]);
  if (items.size() == 1) return first ? qt(ownNameOf(*first)) : QString();
  std::vector<const Waveform*> waveforms;
  for (const ItemId id : items) {
    if (const auto* waveform = findItem<Waveform>(id)) waveforms.push_back(waveform);
  }
  const QString count = tr("%1 items").arg(items.size());
  return waveforms.size() == items.size() ? count + QStringLiteral(", ") + qt(sampleFormatLabel(waveforms)) : count;
}

void PropertyPane::rememberExpanded() {
  for (int i = 0; i < filter_->rowCount(); ++i) {
    const QModelIndex group = filter_->index(i, 0);
    const QString title = group.data().toString();
    collapsed_.removeAll(title);
    if (!view_->isExpanded(group)) collapsed_.push_back(title);
  }
}

void PropertyPane::restoreExpanded() {
  for (int i = 0; i < filter_->rowCount(); ++i) {
    const QModelIndex group = filter_->index(i, 0);
    view_->setFirstColumnSpanned(i, {}, true);
    view_->setExpanded(group, !collapsed_.contains(group.data().toString()));
  }
}

void PropertyPane::setItems(std::vector<ItemId> items) {
  rememberExpanded();
  heading_->setText(headingOf(items));
  heading_->setToolTip(heading_->text());
  model_->setItems(std::move(items));
  restoreExpanded();
}

void PropertyPane::refresh() {
  model_->refresh();
}

}  // namespace tervo::ui

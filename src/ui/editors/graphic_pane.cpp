#include "ui/editors/graphic_pane.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>
#include <algorithm>

#include "core/parameter_lists.h"
#include "ui/editors/envelope_editor.h"
#include "ui/editors/eq_view.h"
#include "ui/editors/filter_view.h"
#include "ui/editors/key_map.h"
#include "ui/editors/lfo_view.h"
#include "ui/editors/tag_pane.h"
#include "ui/property_model.h"
#include "ui/property_rows.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

using P = ParameterId;

enum class Editor : uint8_t { keys, filter, eq, lfo, envelope, tags };

struct Page {
  const char* title;
  Editor editor;
  Modulator modulator;
  P first, last;  ///< the rows that it shows
};
// clang-format off
constexpr Page pages[] = {
    {QT_TRANSLATE_NOOP("GraphicPane", "Keys"),   Editor::keys,     Modulator::volume, P::triggerType,      P::noteExclusionMode},
    {QT_TRANSLATE_NOOP("GraphicPane", "Filter"), Editor::filter,   Modulator::filter, P::filterType,       P::aftertouchToResonance},
    {QT_TRANSLATE_NOOP("GraphicPane", "EQ"),     Editor::eq,       Modulator::volume, P::eq1Mode,          P::eq3Q},
    {QT_TRANSLATE_NOOP("GraphicPane", "V-ENV"),  Editor::envelope, Modulator::volume, P::vEnvInitialLevel, P::vEnvReleaseMode},
    {QT_TRANSLATE_NOOP("GraphicPane", "P-ENV"),  Editor::envelope, Modulator::pitch,  P::pEnvInitialLevel, P::pEnvReleaseMode},
    {QT_TRANSLATE_NOOP("GraphicPane", "F-ENV"),  Editor::envelope, Modulator::filter, P::fEnvInitialLevel, P::fEnvReleaseMode},
    {QT_TRANSLATE_NOOP("GraphicPane", "X-ENV"),  Editor::envelope, Modulator::extra,  P::xEnvInitialLevel, P::xEnvReleaseMode},
    {QT_TRANSLATE_NOOP("GraphicPane", "V-LFO"),  Editor::lfo,      Modulator::volume, P::vLfoShape,        P::vLfoRamp},
    {QT_TRANSLATE_NOOP("GraphicPane", "P-LFO"),  Editor::lfo,      Modulator::pitch,  P::pLfoShape,        P::pLfoRamp},
    {QT_TRANSLATE_NOOP("GraphicPane", "F-LFO"),  Editor::lfo,      Modulator::filter, P::fLfoShape,        P::fLfoRamp},
    {QT_TRANSLATE_NOOP("GraphicPane", "X-LFO"),  Editor::lfo,      Modulator::extra,  P::xLfoShape,        P::xLfoRamp},
    {QT_TRANSLATE_NOOP("GraphicPane", "Info"),   Editor::tags,     Modulator::volume, P::tagName,          P::tagImage},
};
// clang-format on

const Page& pageAt(int index) {
  return pages[static_cast<std::size_t>(index)];
}

}  // namespace

GraphicPane::GraphicPane(DocumentSession& session, PropertyModel& model, QWidget* parent)
    : QWidget(parent), session_(session), model_(model) {
  bar_ = new QTabBar(this);
  bar_->setExpanding(false);
  bar_->setDrawBase(false);
  bar_->setAccessibleName(tr("Graphic editors"));
  stack_ = new QStackedWidget(this);
  stack_->addWidget(keys_ = new KeyMap(session, stack_));
  stack_->addWidget(filter_ = new FilterView(session, model, stack_));
  stack_->addWidget(eq_ = new EqView(session, model, stack_));
  stack_->addWidget(lfo_ = new LfoView(session, model, stack_));
  stack_->addWidget(envelope_ = new EnvelopeEditor(session, model, stack_));
  stack_->addWidget(tags_ = new TagPane(session, stack_));
  choiceRow_ = new QHBoxLayout;
  choiceRow_->addStretch(1);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(bar_);
  // Beside the tabs they would take the room that those need.
  layout->addLayout(choiceRow_);
  layout->addWidget(stack_, 1);
  connect(bar_, &QTabBar::currentChanged, this, [this](int tab) {
    wanted_ = pageOf(tab);
    showPage(wanted_);
  });
  connect(keys_, &KeyMap::regionsChosen, this, &GraphicPane::itemsChosen);
  setItems({});
}

void GraphicPane::setItems(const std::vector<ItemId>& items) {
  const QSignalBlocker quiet(bar_);
  std::vector<int> wanted;
  for (int page = 0; page < static_cast<int>(std::size(pages)); ++page) {
    const auto hasPage = [page](ItemId id) {
      const bool isMap = pageAt(page).editor == Editor::keys && kindOf(id) == ItemKind::instrument;
      return isMap || hasRow(kindOf(id), pageAt(page).first);
    };
    if (std::any_of(items.begin(), items.end(), hasPage)) wanted.push_back(page);
  }
  setTabs(wanted);
  setVisible(!wanted.empty());
  // Where there were no tabs there was no height.
  bar_->updateGeometry();
  layout()->activate();
  keys_->setItems(items);
  tags_->setItems(items);
  if (wanted.empty()) return;
  const int tab = std::max(tabOf(wanted_), 0);
  bar_->setCurrentIndex(tab);
  showPage(pageOf(tab));
}

void GraphicPane::setTabs(const std::vector<int>& wanted) {
  std::vector<int> now;
  for (int tab = 0; tab < bar_->count(); ++tab) now.push_back(pageOf(tab));
  if (now == wanted) return;
  // Hidden ones would be in the way: Qt 6.4 scrolls to tabs as if they took room.
  while (bar_->count() > 0) bar_->removeTab(0);
  for (const int page : wanted) bar_->setTabData(bar_->addTab(tr(pageAt(page).title)), page);
}

int GraphicPane::pageOf(int tab) const {
  return tab < 0 ? -1 : bar_->tabData(tab).toInt();
}

int GraphicPane::tabOf(int page) const {
  for (int tab = 0; tab < bar_->count(); ++tab) {
    if (pageOf(tab) == page) return tab;
  }
  return -1;
}

HandleView* GraphicPane::handleView() const {
  return qobject_cast<HandleView*>(stack_->currentWidget());
}

void GraphicPane::refresh() {
  keys_->refresh();
  tags_->refresh();
  if (HandleView* view = handleView()) view->refresh();
  refreshChoices();
}

void GraphicPane::showRow(ParameterId row) {
  for (int tab = 0; tab < bar_->count(); ++tab) {
    const Page& page = pageAt(pageOf(tab));
    if (row >= page.first && row <= page.last) bar_->setCurrentIndex(tab);
  }
}

bool GraphicPane::showPage(const QString& title) {
  for (int i = 0; i < bar_->count(); ++i) {
    if (bar_->tabText(i) != title) continue;
    bar_->setCurrentIndex(i);
    return true;
  }
  return false;
}

void GraphicPane::showPage(int index) {
  if (index < 0) return;
  const Page& page = pageAt(index);
  QWidget* const editors[] = {keys_, filter_, eq_, lfo_, envelope_, tags_};
  stack_->setCurrentWidget(editors[static_cast<std::size_t>(page.editor)]);
  if (page.editor == Editor::envelope) envelope_->setEnvelope(page.modulator);
  if (page.editor == Editor::lfo) lfo_->setLfo(page.modulator);
  buildChoices();
  refresh();
}

void GraphicPane::buildChoices() {
  for (const auto& [row, box] : choices_) delete box;
  choices_.clear();
  const HandleView* view = handleView();
  if (!view) return;
  for (const ParameterId row : view->choiceRows()) {
    auto* box = new QComboBox(this);
    for (const TextView choice : choicesOf(rowOf(row).editor)) box->addItem(qt(choice));
    box->setAccessibleName(qt(rowOf(row).name));
    box->setToolTip(qt(rowOf(row).name));
    connect(box, &QComboBox::activated, this, [this, row](int index) { model_.setNumber(row, index); });
    choiceRow_->insertWidget(choiceRow_->count() - 1, box);
    choices_.emplace_back(row, box);
  }
}

void GraphicPane::refreshChoices() {
  for (const auto& [row, box] : choices_) {
    box->setCurrentIndex(box->findText(propertyValue(model_.items(), row, session_.settings()).text));
    box->setEnabled(model_.flags(model_.indexOf(row)) & Qt::ItemIsEnabled);
  }
}

}  // namespace tervo::ui

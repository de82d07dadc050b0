#include "ui/dialogs/operation_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>
#include <algorithm>

#include "base/last_error.h"
#include "tools/loop/loop_operations.h"
#include "ui/dialogs/loop_chooser.h"
#include "ui/dialogs/option_form.h"
#include "ui/document_session.h"
#include "ui/help_window.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

/// Whether an option is set whose answer stands in the report.
bool asksForReport(const Operation& operation, const OptionValues& values) {
  return std::any_of(operation.options.begin(), operation.options.end(), [&](const OptionInfo& option) {
    return option.isAnsweredByReport && values.number(option.name) != option.usual;
  });
}

}  // namespace

OperationDialog::OperationDialog(DocumentSession& session, std::vector<ItemId> items, const Operation* first,
                                 QWidget* parent)
    : QDialog(parent), session_(session), items_(std::move(items)) {
  setWindowTitle(tr("Process"));
  setHelpPage(*this, "processing");
  list_ = new QComboBox(this);
  list_->setAccessibleName(tr("Operation"));
  for (const Operation& operation : Operations()) {
    if (itemsOf(operation).empty()) continue;
    operations_.push_back(&operation);
    list_->addItem(qt(operation.title));
  }
  text_ = new QLabel(this);
  text_->setWordWrap(true);
  failure_ = new QLabel(this);
  failure_->setWordWrap(true);
  failure_->setTextFormat(Qt::PlainText);
  area_ = new QScrollArea(this);
  area_->setWidgetResizable(true);
  area_->setFrameShape(QFrame::NoFrame);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  buttons->button(QDialogButtonBox::Ok)->setText(tr("&Process"));
  buttons->button(QDialogButtonBox::Ok)->setEnabled(!operations_.empty());
  connect(buttons, &QDialogButtonBox::accepted, this, &OperationDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &OperationDialog::reject);
  connect(list_, &QComboBox::currentIndexChanged, this, &OperationDialog::choose);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(list_);
  layout->addWidget(text_);
  layout->addWidget(area_, 1);
  layout->addWidget(failure_);
  layout->addWidget(buttons);
  resize(540, 520);
  const auto found = std::find(operations_.begin(), operations_.end(), first);
  const int index = found == operations_.end() ? 0 : static_cast<int>(found - operations_.begin());
  list_->setCurrentIndex(index);
  if (!operations_.empty()) choose(index);
}

std::vector<ItemId> OperationDialog::itemsOf(const Operation& operation) const {
  std::vector<ItemId> chosen;
  for (const ItemId id : items_) {
    const ItemId item = kindOf(id) == ItemKind::track && operation.kind == ItemKind::song && containingSong(id)
                            ? containingSong(id)->id()
                            : id;
    if (kindOf(item) == operation.kind && std::find(chosen.begin(), chosen.end(), item) == chosen.end())
      chosen.push_back(item);
  }
  if (!chosen.empty()) return chosen;
  const auto addAll = [&](ItemKind kind, const auto& all) {
    if (kind != operation.kind) return;
    for (const auto& item : all) chosen.push_back(item->id());
  };
  addAll(ItemKind::waveform, session_.document().waveforms());
  addAll(ItemKind::song, session_.document().songs());
  return chosen;
}

void OperationDialog::choose(int index) {
  const Operation& operation = *operations_[static_cast<std::size_t>(index)];
  const auto items = itemsOf(operation);
  const auto count = items.size();
  const QString kind = qt(nameOf(operation.kind));
  text_->setText(tr("%1\nWorks on %2 %3%4.")
                     .arg(operation.heading.empty() ? qt(operation.text) + u'.' : qt(operation.heading))
                     .arg(count)
                     .arg(kind, count == 1 ? QString() : QStringLiteral("s")));
  form_ = new OptionForm(operation, session_.optionsFor(operation), area_);
  if (operation.name == u"crossfade-loop") showCrossfadeLength(items);
  area_->setWidget(form_);
  failure_->clear();
}

/// One loop may be faded by less than it allows, of several each is faded as far as it goes.
void OperationDialog::showCrossfadeLength(std::span<const ItemId> items) {
  QLineEdit& length = form_->line(u"length");
  const auto* waveform = items.size() == 1 ? findItem<Waveform>(items[0]) : nullptr;
  length.setEnabled(waveform);
  length.setText(waveform ? QString::number(maximumCrossfade(*waveform)) : QStringLiteral("whole loop"));
}

void OperationDialog::accept() {
  const Operation& operation = *operations_[static_cast<std::size_t>(list_->currentIndex())];
  const auto values = form_->values();
  const auto items = itemsOf(operation);
  if (!values || !session_.process(operation, items, *values)) return failure_->setText(qt(LastErrorText()));
  session_.keepOptions(operation, *values);
  if (items.size() == 1 && LoopChooser::loopsIn(session_.report()).size() > 1)
    withLoops_ = items[0];
  else if (asksForReport(operation, *values) && !session_.report().lostSomething())
    session_.tellReport(operation);
  QDialog::accept();
}

}  // namespace tervo::ui

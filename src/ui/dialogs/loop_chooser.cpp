#include "ui/dialogs/loop_chooser.h"

#include <fmt/format.h>

#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "base/last_error.h"
#include "tools/loop/loop_operations.h"
#include "ui/document_session.h"
#include "ui/help_window.h"
#include "ui/qt_text.h"
#include "ui/sound/player.h"

namespace tervo::ui {

QStringList LoopChooser::loopsIn(const ConversionReport& report) {
  QStringList loops;
  for (const ReportEntry& entry : report.entries())
    if (entry.what.starts_with(loopCandidate) && entry.kind == ReportKind::kept)
      loops += qt(entry.from + u"   " + entry.to);
  return loops;
}

LoopChooser::LoopChooser(DocumentSession& session, Player& player, ItemId waveform, QWidget* parent)
    : QDialog(parent), session_(session), player_(player), waveform_(waveform) {
  setWindowTitle(tr("Loops that were found"));
  setHelpPage(*this, "processing");
  list_ = new QListWidget(this);
  list_->addItems(loopsIn(session.report()));
  list_->setAccessibleName(windowTitle());
  const auto wanted = session.optionsFor(*findOperation(u"find-loop")).integer(u"take");
  taken_ = std::min(wanted, list_->count()) - 1;
  list_->setCurrentRow(taken_);
  auto* label = new QLabel(tr("The waveform plays the loop that is chosen here. The best one comes first."), this);
  label->setWordWrap(true);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
  auto* sound = buttons->addButton(tr("&Play"), QDialogButtonBox::ActionRole);
  connect(list_, &QListWidget::currentRowChanged, this, &LoopChooser::take);
  connect(sound, &QPushButton::clicked, this, [this] { player_.isPlaying() ? player_.stop() : play(); });
  connect(&player_, &Player::playingChanged, sound,
          [sound](bool playing) { sound->setText(playing ? tr("&Stop") : tr("&Play")); });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(this, &QDialog::finished, &player_, &Player::stop);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(label);
  layout->addWidget(list_);
  layout->addWidget(buttons);
  resize(420, 320);
}

void LoopChooser::take(int row) {
  if (row < 0 || row == taken_) return;
  const bool wasPlaying = player_.isPlaying();
  player_.stop();
  const Operation& operation = *findOperation(u"find-loop");
  OptionValues values = session_.optionsFor(operation);
  values.set(u"take", fromUtf8(fmt::format("{}", row + 1)));
  const bool isUndone = session_.undo();
  if (isUndone && session_.process(operation, std::vector{waveform_}, values)) {
    taken_ = row;
    if (wasPlaying) play();
    return;
  }
  // Whoever stopped the search keeps the loop that was there.
  const Text why = LastErrorText();
  if (isUndone) session_.redo();
  session_.host().showStatus(why);
  list_->setCurrentRow(taken_);
}

void LoopChooser::play() {
  if (!player_.play(waveform_)) session_.host().showStatus(LastErrorText());
}

}  // namespace tervo::ui

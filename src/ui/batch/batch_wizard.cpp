#include "ui/batch/batch_wizard.h"

#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "platform/file.h"
#include "platform/program.h"
#include "platform/thread.h"
#include "ui/batch/batch_model.h"
#include "ui/help_window.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

constexpr int pollMilliseconds = 100;

double shareDone(const std::vector<BatchEntry>& entries) {
  double done = 0;
  for (const BatchEntry& entry : entries) {
    if (entry.state == BatchState::running) done += entry.progress;
    const bool isUndone = entry.state == BatchState::waiting || entry.state == BatchState::cancelled;
    if (entry.state != BatchState::running && !isUndone) done += 1;
  }
  return entries.empty() ? 1 : done / static_cast<double>(entries.size());
}

}  // namespace

BatchRunPage::BatchRunPage(const BatchSourcesPage& sources, const BatchTargetsPage& targets, Text program)
    : sources_(sources), targets_(targets), program_(std::move(program)) {
  setTitle(tr("Convert"));
  setSubTitle(tr("This is what will be done. Nothing has been written yet."));
  model_ = new BatchModel(this);
  table_ = new QTableView;
  table_->setModel(model_);
  table_->setAccessibleName(tr("Conversions"));
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->verticalHeader()->hide();
  table_->horizontalHeader()->setStretchLastSection(true);
  const int widths[] = {230, 230, 60, 110};
  for (int column = 0; column < 4; ++column) table_->setColumnWidth(column, widths[column]);
  bar_ = new QProgressBar;
  bar_->setRange(0, 1000);
  summary_ = new QLabel;
  summary_->setTextFormat(Qt::PlainText);
  summary_->setWordWrap(true);
  start_ = new QPushButton(tr("&Start"));
  cancel_ = new QPushButton(tr("Stop"));
  connect(start_, &QPushButton::clicked, this, &BatchRunPage::start);
  connect(cancel_, &QPushButton::clicked, this, &BatchRunPage::cancel);
  timer_ = new QTimer(this);
  connect(timer_, &QTimer::timeout, this, &BatchRunPage::poll);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(bar_, 1);
  buttons->addWidget(start_);
  buttons->addWidget(cancel_);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(table_, 1);
  layout->addWidget(summary_);
  layout->addLayout(buttons);
}

BatchRunPage::~BatchRunPage() = default;

bool BatchPlanner::start(BatchRequest request, Done done) {
  auto make = [this, request = std::move(request), done = std::move(done)]() mutable {
    done(guardMemory([&] { return std::make_unique<BatchPlan>(PlanBatch(std::move(request), &cancelled_)); }));
  };
  return platform::startThread(thread_, std::move(make)) || fail(u"Could not start a thread");
}

BatchPlanner::~BatchPlanner() {
  cancelled_ = true;
  if (thread_.joinable()) thread_.join();
}

void BatchRunPage::initializePage() {
  plan(Then::show);
}

void BatchRunPage::cleanupPage() {
  timer_->stop();
  planner_.reset();
  model_->setEntries(nullptr);
  run_.reset();
  isStarted_ = false;
}

void BatchRunPage::plan(Then then) {
  BatchRequest request = targets_.request();
  request.sources = sources_.sources();
  request.resume |= isStarted_;
  cleanupPage();
  const auto done = [this, then, number = ++planning_](std::shared_ptr<BatchPlan> plan) {
    QMetaObject::invokeMethod(this, [this, then, number, plan] {
      if (number == planning_ && planner_) take(plan.get(), then);
    });
  };
  planner_ = std::make_unique<BatchPlanner>();
  const bool hasStarted = planner_->start(std::move(request), done);
  if (!hasStarted) planner_.reset();
  show();
  if (!hasStarted) summary_->setText(qt(LastErrorText()));
}

void BatchRunPage::take(BatchPlan* plan, Then then) {
  planner_.reset();
  if (!plan) return show(), summary_->setText(tr("Out of memory"));
  run_ = std::make_unique<BatchRun>(std::move(*plan), BatchRunOptions{targets_.workers(), 600, program_});
  model_->setEntries(&run_->entries());
  show();
  if (then == Then::convert) convert();
}

bool BatchRunPage::isRunning() const {
  return isStarted_ && !run_->isOver();
}

bool BatchRunPage::isComplete() const {
  return run_ && isStarted_ && run_->isOver();
}

const std::vector<BatchEntry>& BatchRunPage::entries() const {
  static const std::vector<BatchEntry> none;
  return run_ ? run_->entries() : none;
}

void BatchRunPage::start() {
  if (!run_) return plan(Then::show);
  // Again, for what failed or was cancelled.
  isStarted_ ? plan(Then::convert) : convert();
}

void BatchRunPage::convert() {
  if (!run_->start()) return summary_->setText(qt(LastErrorText()));
  isStarted_ = true;
  timer_->start(pollMilliseconds);
  show();
}

void BatchRunPage::cancel() {
  planner_.reset();
  if (isRunning()) run_->cancel();
  show();
}

void BatchRunPage::poll() {
  model_->changed(run_->poll(std::chrono::milliseconds(0)));
  if (run_->isOver()) timer_->stop();
  show();
}

void BatchRunPage::show() {
  const BatchCounts counts = countsOf(entries());
  const std::size_t again = isStarted_ ? counts.cancelled + counts.failed : 0;
  const bool canStart = !isRunning() && counts.waiting + again > 0;
  start_->setEnabled(!isPlanning() && (!run_ || canStart));
  start_->setText(!run_ ? tr("&Look for files") : isStarted_ ? tr("&Go on") : tr("&Start"));
  cancel_->setEnabled(isRunning() || isPlanning());
  bar_->setRange(0, isPlanning() ? 0 : 1000);
  // What was stopped in the middle does not take it back.
  bar_->setValue(isStarted_ ? std::max(bar_->value(), static_cast<int>(1000 * shareDone(entries()))) : 0);
  summary_->setText(summary());
  setSubTitle(isStarted_ ? tr("One process converts each file, so that a bad one harms no other.")
                         : tr("This is what will be done. Nothing has been written yet."));
  Q_EMIT completeChanged();
  // After that, at which the wizard enables it.
  if (wizard()) wizard()->button(QWizard::BackButton)->setEnabled(!isRunning());
}

QString BatchRunPage::summary() const {
  if (isPlanning()) return tr("Looking for files...");
  if (!run_) return tr("Stopped while looking for files.");
  QString text = summaryOf(entries());
  if (isStarted_ && run_->isOver()) text.prepend(countsOf(entries()).cancelled > 0 ? tr("Stopped: ") : tr("Done: "));
  if (!run_->journalProblem().empty()) text += u'\n' + qt(run_->journalProblem());
  return text;
}

BatchWizard::BatchWizard(const QString& folder, QWidget* parent, Text program) : QWizard(parent) {
  setWindowTitle(tr("Batch conversion"));
  setHelpPage(*this, "batch");
  setWizardStyle(QWizard::ModernStyle);
  setOption(QWizard::NoBackButtonOnStartPage);
  sources_ = new BatchSourcesPage;
  targets_ = new BatchTargetsPage(folder);
  run_ = new BatchRunPage(*sources_, *targets_, std::move(program));
  addPage(sources_);
  addPage(targets_);
  addPage(run_);
  resize(860, 560);
}

void BatchWizard::reject() {
  if (run_->isRunning())
    run_->cancel();
  else
    QWizard::reject();
}

bool runBatchWizard(const std::vector<Text>& sources, const QString& folder) {
  const Text worker = platform::siblingProgram(u"tervo");
  if (!platform::fileExists(worker)) return fail(u"The program that converts is missing: " + worker);
  BatchWizard wizard(folder);
  QStringList paths;
  for (const Text& source : sources) paths << qt(source);
  wizard.sources().add(paths);
  wizard.exec();
  return true;
}

}  // namespace tervo::ui

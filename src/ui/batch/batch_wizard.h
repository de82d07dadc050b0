#pragma once
// Converts many files into up to four formats: which files, into what, and what becomes of each.

#include <QWizard>
#include <functional>
#include <memory>
#include <thread>

#include "formats/batch/batch_run.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QSpinBox;
class QTableView;
class QTimer;

namespace tervo::ui {

class BatchModel;

/// Files and folders, also by dropping them here.
class BatchSourcesPage final : public QWizardPage {
  Q_OBJECT
 public:
  BatchSourcesPage();

  void add(const QStringList& paths);
  std::vector<Text> sources() const;
  bool isComplete() const override;

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void removeSelected();

  QListWidget* list_;
};

class BatchTargetsPage final : public QWizardPage {
  Q_OBJECT
 public:
  explicit BatchTargetsPage(const QString& folder);

  void setRows(const std::vector<FormatIndex>& rows);
  void setFolder(const QString& folder);
  QString folder() const;
  /// Without its sources.
  BatchRequest request() const;
  int workers() const;
  bool isComplete() const override;

 private:
  void chooseFolder();

  std::array<QComboBox*, maxBatchRows> rows_;
  QLineEdit* folder_;
  QComboBox *coding_, *channels_;
  QLineEdit* rate_;
  QCheckBox *overwrite_, *resume_;
  QSpinBox* workers_;
};

/// Makes a plan in a thread of its own.
class BatchPlanner {
 public:
  /// In that thread; null when memory was too short.
  using Done = std::function<void(std::shared_ptr<BatchPlan>)>;
  /// False with LastErrorText where there are no more threads.
  bool start(BatchRequest request, Done done);
  /// Gives up and waits for that.
  ~BatchPlanner();

 private:
  std::atomic<bool> cancelled_{false};
  std::thread thread_;
};

/// Shows what would be done, does it when told to, and says what came of it.
class BatchRunPage final : public QWizardPage {
  Q_OBJECT
 public:
  BatchRunPage(const BatchSourcesPage& sources, const BatchTargetsPage& targets, Text program);
  ~BatchRunPage() override;

  void initializePage() override;
  void cleanupPage() override;
  bool isComplete() const override;
  void start();
  void cancel();
  bool isRunning() const;
  bool isPlanning() const { return planner_ != nullptr; }
  /// None while they are being looked for.
  const std::vector<BatchEntry>& entries() const;

 private:
  enum class Then : uint8_t { show, convert };
  void plan(Then then);
  void take(BatchPlan* plan, Then then);
  void convert();
  void poll();
  void show();
  QString summary() const;

  const BatchSourcesPage& sources_;
  const BatchTargetsPage& targets_;
  Text program_;
  std::unique_ptr<BatchRun> run_;
  bool isStarted_ = false;
  std::unique_ptr<BatchPlanner> planner_;
  uint64_t planning_ = 0;  ///< counts plans: what one that was given up says late is not heard
  BatchModel* model_;
  QTableView* table_;
  QProgressBar* bar_;
  QLabel* summary_;
  QPushButton *start_, *cancel_;
  QTimer* timer_;
};

class BatchWizard final : public QWizard {
  Q_OBJECT
 public:
  /// `program` converts, one file each time it is started; empty: `tervo` beside this program.
  explicit BatchWizard(const QString& folder, QWidget* parent = nullptr, Text program = {});

  BatchSourcesPage& sources() { return *sources_; }
  BatchTargetsPage& targets() { return *targets_; }
  BatchRunPage& run() { return *run_; }
  /// While files are converted it asks them to stop instead, and stays.
  void reject() override;

 private:
  BatchSourcesPage* sources_;
  BatchTargetsPage* targets_;
  BatchRunPage* run_;
};

/// The wizard on its own, for the switch BATCH. False with LastErrorText when nothing could be converted by it.
bool runBatchWizard(const std::vector<Text>& sources, const QString& folder);

}  // namespace tervo::ui

#include "ui/batch/batch_wizard.h"

#include <gmock/gmock.h>

#include <QAbstractButton>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QMimeData>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>
#include <set>

#include "platform/program.h"
#include "platform/thread.h"
#include "tests/ui/waiting.h"
#include "ui/batch/batch_model.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

using testing::ElementsAre;

class BatchWizardTest : public testing::Test {
 protected:
  BatchWizardTest() { QDir(dir.path()).mkpath(QStringLiteral("in/sub")); }

  /// What the worker does with it: see tests/stand_in.
  void put(const QString& name, const QByteArray& word) {
    QFile file(dir.filePath(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(word);
  }

  void toLastPage() {
    wizard.show();
    QMimeData dropped;
    dropped.setUrls({QUrl::fromLocalFile(dir.filePath(QStringLiteral("in")))});
    EXPECT_FALSE(wizard.sources().isComplete());
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&wizard.sources(), &enter);
    QDropEvent drop({5, 5}, Qt::CopyAction, &dropped, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&wizard.sources(), &drop);
    EXPECT_TRUE(wizard.sources().isComplete());
    wizard.next();
    wizard.targets().setRows({writerForExtension(u"wav"), writerForExtension(u"aif")});
    wizard.next();
    ASSERT_EQ(wizard.currentPage(), &wizard.run());
    EXPECT_TRUE(wizard.run().isPlanning()) << "the window waits for no folder";
    ASSERT_TRUE(waitUntil([&] { return !wizard.run().isPlanning(); }));
  }

  std::vector<std::string> states() {
    std::vector<std::string> all;
    for (const BatchEntry& entry : wizard.run().entries()) all.push_back(toUtf8(nameOf(entry.state)));
    return all;
  }

  QTemporaryDir dir;
  BatchWizard wizard{dir.filePath(QStringLiteral("out")), nullptr, platform::siblingProgram(u"stand_in")};
};

TEST_F(BatchWizardTest, ShowsThePlanThenConvertsAndSaysWhatFailed) {
  put(QStringLiteral("in/a"), "copy"), put(QStringLiteral("in/sub/b"), "fail");
  toLastPage();
  EXPECT_THAT(states(), ElementsAre("waiting", "waiting", "waiting", "waiting"));
  EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("out")))) << "it has not been told to start";
  EXPECT_FALSE(wizard.button(QWizard::FinishButton)->isEnabled());
  wizard.run().start();
  ASSERT_TRUE(waitUntil([&] { return wizard.run().isComplete(); }));
  EXPECT_THAT(states(), ElementsAre("done", "done", "failed", "failed"));
  EXPECT_TRUE(QFile::exists(dir.filePath(QStringLiteral("out/a.wav"))));
  EXPECT_TRUE(wizard.button(QWizard::FinishButton)->isEnabled());
  if (const QString shots = qEnvironmentVariable("TERVO_SHOTS"); !shots.isEmpty())
    wizard.grab().save(shots + QStringLiteral("/batch.png"));
  const auto* model = wizard.run().findChild<QTableView*>()->model();
  EXPECT_EQ(model->index(2, 4).data().toString().toStdString(), "It is broken (so it is)");
}

TEST_F(BatchWizardTest, SaysWhyWithoutOptionsThatAWindowDoesNotHave) {
  std::vector<BatchEntry> entries(1);
  BatchModel model;
  model.setEntries(&entries);
  for (const auto& [cause, shown] :
       {std::pair(u"Not detected as any supported file type (--force-raw reads it as raw data)",
                  "Not detected as any supported file type"),
        std::pair(u"No item selected (2 songs, 1 waveform; choose one with --item KIND:N)",
                  "No item selected (2 songs, 1 waveform)"),
        std::pair(u"Could not open file (a--b; no such file)", "Could not open file (a--b; no such file)")}) {
    entries[0].cause = cause;
    const auto cell = model.index(0, BatchModel::cause);
    EXPECT_EQ(cell.data().toString().toStdString(), shown);
    EXPECT_TRUE(cell.data(Qt::ToolTipRole).toString().endsWith(shown));
  }
}

TEST_F(BatchWizardTest, PagesHaveLettersOfTheirOwn) {
  toLastPage();
  for (;; wizard.back()) {
    std::vector<QString> texts;
    for (const auto* button : wizard.findChildren<QAbstractButton*>())
      if (button->isVisible()) texts.push_back(button->text());
    for (const auto* label : wizard.findChildren<QLabel*>())
      if (label->isVisible() && label->buddy()) texts.push_back(label->text());
    std::set<QKeySequence> letters;
    for (const QString& text : texts) {
      const QKeySequence letter = QKeySequence::mnemonic(text);
      EXPECT_TRUE(letter.isEmpty() || letters.insert(letter).second) << text.toStdString();
    }
    EXPECT_GE(letters.size(), 3u);
    if (wizard.currentPage() == &wizard.sources()) break;
  }
}

TEST_F(BatchWizardTest, LookingForFilesCanBeStoppedAndBegunAgain) {
  put(QStringLiteral("in/a"), "copy");
  toLastPage();
  wizard.back();
  wizard.next();
  wizard.run().cancel();
  platform::limitThreads(0);
  wizard.run().start();
  platform::limitThreads(-1);
  EXPECT_FALSE(wizard.run().isPlanning());
  QTest::qWait(100);
  EXPECT_TRUE(wizard.run().entries().empty());
  wizard.run().start();
  ASSERT_TRUE(waitUntil([&] { return wizard.run().entries().size() == 2; }));
  EXPECT_FALSE(wizard.run().isRunning());
}

TEST_F(BatchWizardTest, EscapeStopsTheWorkAndItCanGoOn) {
  put(QStringLiteral("in/a"), "copy"), put(QStringLiteral("in/b"), "hang");
  toLastPage();
  wizard.run().start();
  const auto isHanging = [&] {
    const BatchCounts counts = countsOf(wizard.run().entries());
    return counts.done == 2 && counts.running > 0;
  };
  ASSERT_TRUE(waitUntil(isHanging));
  EXPECT_FALSE(wizard.button(QWizard::BackButton)->isEnabled());
  QTest::keyClick(&wizard, Qt::Key_Escape);
  EXPECT_TRUE(wizard.isVisible());
  ASSERT_TRUE(waitUntil([&] { return !wizard.run().isRunning(); }));
  EXPECT_THAT(states(), ElementsAre("done", "done", "cancelled", "cancelled"));
  EXPECT_EQ(wizard.run().findChild<QLabel*>()->text().toStdString(), "Stopped: 2 converted, 2 cancelled");
  EXPECT_EQ(wizard.run().findChild<QProgressBar*>()->value(), 500);
  put(QStringLiteral("in/b"), "copy");
  wizard.run().start();
  ASSERT_TRUE(waitUntil([&] { return wizard.run().isComplete(); }));
  EXPECT_THAT(states(), ElementsAre("finished before", "finished before", "done", "done"));
  EXPECT_EQ(wizard.run().findChild<QProgressBar*>()->value(), 1000);
}

}  // namespace
}  // namespace tervo::ui

// Texts that are laid down for the window, where users meet them.

#include <QAction>
#include <QDropEvent>
#include <QFile>
#include <QLineEdit>
#include <QMenuBar>
#include <QMimeData>
#include <QUrl>

#include "tests/ui/modal_answer.h"
#include "tests/ui/window_fixture.h"
#include "ui/dialogs/report_window.h"
#include "ui/file_dialogs.h"

namespace tervo::ui {
namespace {

class WindowTextsTest : public WindowTest {
 protected:
  QAction* action(const QString& text) {
    for (QAction* each : window.findChildren<QAction*>())
      if (each->text() == text) return each;
    ADD_FAILURE() << "no action " << text.toStdString();
    return nullptr;
  }
  void change() {
    addInstrument(u"Piano");
    session.edit(std::vector{session.document().id()}, "Change", [&] { session.document().name = u"Mine"; });
  }
  QString file(const QString& name, const QByteArray& bytes) {
    QFile out(dir.filePath(name));
    EXPECT_TRUE(out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size());
    return out.fileName();
  }
  void drop(const QString& path) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(path)});
    // Where nothing has entered, nothing is dropped.
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent event({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &event);
    EXPECT_EQ(event.dropAction(), Qt::CopyAction);
    // What the drop asks for comes after it.
    QApplication::processEvents();
  }
};

// Four frames of silence: RIFF, 16 bits, one channel.
QByteArray smallWave() {
  return QByteArray::fromHex(
      "524946462c00000057415645666d74201000000001000100803e0000007d000002001000646174610800000000000000"
      "00000000");
}

TEST_F(WindowTextsTest, TitlesAndAuditioning) {
  EXPECT_EQ(window.windowTitle(), "Tervo Studio v12.9");
  window.refreshState();
  EXPECT_EQ(window.windowTitle(), "Unnamed  - Tervo Studio");
  change();
  EXPECT_EQ(window.windowTitle(), "Mine - Tervo Studio");
  settings.aio.enable = 0;
  window.refreshState();
  QAction* audition = action("Auditioning: Off");
  audition->trigger();
  EXPECT_EQ(audition->text(), "Auditioning: On");
  QString shown;
  QObject::connect(&host, &WindowHost::statusShown, &host, [&](const QString& text) { shown = text; });
  session.clear();
  EXPECT_EQ(shown, "Done: Collection cleared.");
}

TEST_F(WindowTextsTest, ClosingAsksAndLosesNothingUnlessTheUserAgrees) {
  settings.load.confirm = 1;
  EXPECT_FALSE(answering({}, [&] { EXPECT_TRUE(window.confirmDiscarding()); }).wasShown);
  change();
  const Modal asked = answering("&No", [&] { EXPECT_FALSE(window.close()); });
  EXPECT_EQ(asked.title, "Warning: Discarding changes!");
  EXPECT_EQ(asked.text,
            "This will discard any changes made to the loaded data!\n\nAre you sure that you want to proceed?");
  EXPECT_TRUE(window.isVisible());
  answering("&Yes", [&] { EXPECT_TRUE(window.close()); });
}

TEST_F(WindowTextsTest, WhoWantsNoQuestionsHasASavedStateOfWhatIsDiscarded) {
  settings.load.confirm = 0;
  change();
  const QString before = window.windowTitle();
  const auto discard = [&] { EXPECT_TRUE(window.confirmDiscarding()); };
  EXPECT_FALSE(answering({}, discard).wasShown);
  EXPECT_FALSE(answering({}, discard).wasShown);
  EXPECT_EQ(session.history().states().newest(), session.history().states().oldest());
  session.clear();
  ASSERT_FALSE(session.document().holdsData());
  ASSERT_TRUE(session.restoreState(0));
  EXPECT_TRUE(session.document().holdsData());
  EXPECT_EQ(window.windowTitle(), before);
  // Where none can be written, the question comes all the same.
  if (!dir.remove()) GTEST_SKIP() << "files that are open stay here";
  ASSERT_TRUE(QFile(dir.path()).open(QIODevice::WriteOnly));
  session.edit(std::vector{session.document().id()}, "Rename", [&] { session.document().name = u"Other"; });
  EXPECT_TRUE(answering("&No", [&] { EXPECT_FALSE(window.confirmDiscarding()); }).wasShown);
  QFile::remove(dir.path());
}

TEST_F(WindowTextsTest, AReportComesAfterTheDialogThatWouldBlockIt) {
  QDialog dialog(&window);
  dialog.setModal(true);
  dialog.show();
  Q_EMIT session.lostSomething("Saving 2 items", {});
  const auto* report = window.findChild<ReportWindow*>();
  ASSERT_TRUE(report);
  EXPECT_FALSE(report->isVisible());
  dialog.reject();
  EXPECT_TRUE(report->isVisible());
}

TEST_F(WindowTextsTest, RestoringAStateAsksWhenNoneHoldsWhatIsThere) {
  const auto restore = [&] {
    for (QMenu* menu : window.findChildren<QMenu*>()) {
      if (menu->title() != "Saved &States") continue;
      Q_EMIT menu->aboutToShow();
      return menu->actions().constFirst()->trigger();
    }
    FAIL() << "no menu of saved states";
  };
  addInstrument(u"Piano");
  ASSERT_TRUE(session.saveState());
  change();
  EXPECT_TRUE(answering("&No", restore).wasShown);
  EXPECT_EQ(session.document().name, u"Mine");
  EXPECT_TRUE(answering("&Yes", restore).wasShown);
  EXPECT_NE(session.document().name, u"Mine");
  EXPECT_FALSE(answering({}, restore).wasShown);
}

TEST_F(WindowTextsTest, DroppedFilesMergeReplaceOrStayOut) {
  const QString path = file("drop.wav", smallWave());
  EXPECT_FALSE(answering({}, [&] { drop(path); }).wasShown);
  ASSERT_EQ(session.document().waveforms().size(), 1u);
  EXPECT_EQ(session.document().waveforms()[0]->frames(), 4);
  const Modal asked = answering("&Cancel", [&] { drop(path); });
  EXPECT_EQ(asked.text, "How would you like to open the file?");
  for (const char* button : {"&Merge w current", "&Replace current", "&Cancel"})
    EXPECT_TRUE(asked.buttons.contains(button)) << button;
  EXPECT_EQ(session.document().waveforms().size(), 1u);
  settings.load.autoRemoveDupWaves = 0;
  answering("&Merge w current", [&] { drop(path); });
  EXPECT_EQ(session.document().waveforms().size(), 2u);
  answering("&Replace current", [&] { window.takeFiles({textOf(path)}); });
  EXPECT_EQ(session.document().waveforms().size(), 1u);
  // As at a start that has restored a session and was told to be quiet.
  window.setMessageBoxesAllowed(false);
  EXPECT_FALSE(answering({}, [&] { window.takeFiles({textOf(path)}); }).wasShown);
  EXPECT_EQ(session.document().waveforms().size(), 2u);
}

TEST_F(WindowTextsTest, WhatCannotBeOpenedSaysWhyAndOffersRawData) {
  const QString nothing = file("empty.wav", {});
  const Modal failure = answering({}, [&] { window.openFiles({textOf(nothing)}, OpenMode::replace); });
  EXPECT_EQ(failure.title, "Error!");
  EXPECT_EQ(failure.text, "File is of zero size");
  window.setMessageBoxesAllowed(false);
  EXPECT_FALSE(answering({}, [&] { window.openFiles({textOf(nothing)}, OpenMode::replace); }).wasShown);
  window.setMessageBoxesAllowed(true);
  const QString odd = file("odd.bytes", QByteArray(400, 'x'));
  const Modal raw = answering("OK", [&] { window.openFiles({textOf(odd)}, OpenMode::replace); });
  EXPECT_EQ(raw.text,
            "The selected file can not be detected as any of the supported import types. Select OK to read it as raw "
            "data...\n\nYou'll need to adjust the data format on the 'Source' tab of the waveform properties.");
  EXPECT_EQ(raw.buttons, (QStringList{"OK", "Cancel", "Allways OK", "Allways Cancel"}));
  EXPECT_EQ(session.document().waveforms().size(), 1u);
}

TEST_F(WindowTextsTest, WithoutMessageBoxesNothingAsksAndFailuresStandInTheStatusLine) {
  const QString odd = file("odd.bytes", QByteArray(400, 'x'));
  QString shown;
  QObject::connect(&host, &WindowHost::statusShown, &host, [&](const QString& text) { shown = text; });
  const auto open = [&] { window.openFiles({textOf(odd)}, OpenMode::replace); };
  window.setMessageBoxesAllowed(false);
  EXPECT_FALSE(answering({}, open).wasShown);
  EXPECT_EQ(shown, "Not detected as any supported file type");
  settings.load.confirm = 1;
  change();
  EXPECT_FALSE(answering({}, [&] { EXPECT_FALSE(window.confirmDiscarding()); }).wasShown);
  window.setMessageBoxesAllowed(true);
  settings.load.confirm = 0;
  // While the program starts the text is told and nothing offered; later, declining is answer enough.
  session.setRawDataOffered(false);
  EXPECT_EQ(answering({}, open).text, "Not detected as any supported file type");
  session.setRawDataOffered(true);
  bool wasToldAgain = false;
  answering("Cancel", [&] {
    open();
    wasToldAgain = QApplication::activeModalWidget() != nullptr;
  });
  EXPECT_FALSE(wasToldAgain);
  EXPECT_TRUE(session.document().holdsData());
}

TEST_F(WindowTextsTest, SavedNamesEndInAnExtension) {
  settings.app.lastPathOut = textOf(dir.path());
  QString offered;
  const auto saveAs = [&](const QString& typed) {
    QTimer::singleShot(0, [&] {
      auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
      ASSERT_TRUE(dialog);
      auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
      offered = name->text();
      if (!typed.isEmpty()) name->setText(typed);
      static_cast<QDialog*>(dialog)->accept();
    });
    const auto choice = chooseFileToSave(&window, "Save As", ItemKind::waveform, "Piano v1.2", settings);
    return choice ? QFileInfo(qt(choice->path)).fileName() : QString();
  };
  settings.app.lastExp[0] = writerForExtension(u"wav") + 1;
  EXPECT_EQ(saveAs({}), "Piano v1.2.wav");
  EXPECT_EQ(offered, "Piano v1.2.wav");
  EXPECT_EQ(saveAs("Take 3.5"), "Take 3.5.wav");
  EXPECT_EQ(saveAs("take.WAV"), "take.WAV");
  EXPECT_EQ(saveAs("take.aif"), "take.aif");
  EXPECT_EQ(settings.app.lastExp[0] - 1, writerForExtension(u"aif"));
}

TEST_F(WindowTextsTest, FileDialogsHaveTheirTitlesAndLines) {
  const std::pair<const char*, const char*> dialogs[] = {
      {"&Merge...", "Open files to merge with - Tervo Studio"},
      {"Replace &Waveforms of the Same Name...", "Select waves to replace current waves of the same name"}};
  for (const auto& each : dialogs) {
    const Modal dialog = answering({}, [&] { action(each.first)->trigger(); });
    EXPECT_EQ(dialog.title, each.second);
    EXPECT_TRUE(dialog.labels.contains("File format:"));
    EXPECT_TRUE(dialog.labels.contains("Confidence:"));
  }
}

TEST_F(WindowTextsTest, CancellingARenderingAsksFirst) {
  const auto renderFor = [&](int milliseconds) {
    host.renderStoppably([&] {
      QElapsedTimer time;
      time.start();
      while (time.elapsed() < milliseconds && host.progress(0.5)) QTest::qSleep(5);
    });
  };
  const Modal asked = answering("&No", [&] { renderFor(800); });
  EXPECT_EQ(asked.text, "Abort rendering?");
  EXPECT_FALSE(host.cancelled());
  answering("&Yes", [&] { renderFor(60000); });
  EXPECT_TRUE(host.cancelled());
}

}  // namespace
}  // namespace tervo::ui

#include "ui/edit_commands.h"

#include <QClipboard>
#include <QMimeData>
#include <QTableWidget>
#include <QTreeView>

#include "core/parameter_access.h"
#include "tests/ui/window_fixture.h"
#include "ui/dialogs/save_each_dialog.h"

namespace tervo::ui {
namespace {

TEST_F(WindowTest, CopiesInstrumentsWithWhatTheyPlayAndPastesOneUndoStep) {
  const ItemId piano = addInstrument(u"Piano").id();
  Q_EMIT session.replaced();
  window.tree().select({piano});
  window.edit().copy();
  EXPECT_TRUE(QApplication::clipboard()->mimeData()->hasFormat(clipboardType(ClipKind::item)));
  window.edit().paste();
  ASSERT_EQ(session.document().instruments().size(), 2u);
  // The waveform is there already and is used again.
  ASSERT_EQ(session.document().waveforms().size(), 1u);
  const Instrument& copy = *session.document().instruments()[1];
  EXPECT_EQ(copy.layers()[1]->regions()[1]->waveform, session.document().waveforms()[0]->id());
  EXPECT_EQ(window.chosenItems(), std::vector{copy.id()});

  window.edit().cut();
  EXPECT_EQ(session.document().instruments().size(), 1u);
  session.clear();
  window.edit().paste();
  ASSERT_EQ(session.document().instruments().size(), 1u);
  ASSERT_EQ(session.document().waveforms().size(), 1u);
  EXPECT_EQ(session.document().waveforms()[0]->frames(), 1000);
  ASSERT_TRUE(session.undo());
  EXPECT_FALSE(session.document().holdsData());
}

TEST_F(WindowTest, DeleteMeansTheItemOnlyWhereItemsAreShown) {
  const ItemId piano = addInstrument(u"Piano").id();
  Q_EMIT session.replaced();
  window.tree().select({piano});
  window.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  auto* rows = window.properties().findChild<QTreeView*>();
  rows->setFocus();
  QTest::keyClick(rows, Qt::Key_Delete);
  EXPECT_EQ(session.document().instruments().size(), 1u);
  window.tree().setFocus();
  QTest::keyClick(&window.tree(), Qt::Key_Delete);
  EXPECT_TRUE(session.document().instruments().empty());
}

TEST_F(WindowTest, SavingAPartLeavesTheDocumentUnsaved) {
  const ItemId piano = addInstrument(u"Piano").id(), organ = addInstrument(u"Organ").id();
  addInstrument(u"Flute");
  session.edit(std::vector{piano}, QStringLiteral("Rename"), [&] { findItem<Instrument>(piano)->name = u"Grand"; });
  ASSERT_TRUE(session.history().hasUnsavedChanges());
  const Text path = folder() + u"/two.sf2";
  ASSERT_TRUE(session.save(std::vector{piano, organ}, writerForExtension(u"sf2"), path, {}));
  EXPECT_TRUE(session.history().hasUnsavedChanges());
  ASSERT_TRUE(session.save(std::vector{session.document().id()}, writerForExtension(u"sf2"), path, {}));
  EXPECT_FALSE(session.history().hasUnsavedChanges());
}

TEST_F(WindowTest, PartsGoFromOneEnvelopeToAnotherButNotIntoOtherKinds) {
  const Instrument& piano = addInstrument(u"Piano");
  const ItemId from = piano.layers()[0]->regions()[0]->id(), to = piano.layers()[1]->regions()[0]->id();
  setParameterValue(from, ParameterId{82}, 1.5);  // V-ENV attack 1 time
  setParameterValue(from, ParameterId::eq2Gain, -6);
  const auto envelope = copyRows(ClipKind::envelope, from, ParameterId{90});
  ASSERT_TRUE(envelope);
  EXPECT_TRUE(pasteRows(session, *envelope, ClipKind::envelope, std::vector{to}, ParameterId{140}));
  EXPECT_EQ(parameterValue(to, ParameterId{136}), 1.5);  // F-ENV attack 1 time
  EXPECT_EQ(parameterValue(to, ParameterId{82}), std::nullopt);
  EXPECT_FALSE(pasteRows(session, *envelope, ClipKind::filter, std::vector{to}, ParameterId{}));
  EXPECT_FALSE(pasteRows(session, *envelope, ClipKind::envelope, std::vector{session.document().waveforms()[0]->id()},
                         ParameterId{90}));
  const auto eqs = copyRows(ClipKind::eqs, from, ParameterId{});
  EXPECT_TRUE(pasteRows(session, *eqs, ClipKind::eqs, std::vector{to, piano.id()}, ParameterId{}));
  EXPECT_EQ(parameterValue(piano.id(), ParameterId::eq2Gain), -6);

  QMimeData nonsense;
  nonsense.setData(clipboardType(ClipKind::item), "TvSt and nothing");
  EXPECT_TRUE(pasteItems(session, nonsense).empty());
  EXPECT_EQ(session.document().instruments().size(), 1u);
}

TEST_F(WindowTest, SavesEachItemUnderANameOfItsOwnAndKeepsFilesThatAreThere) {
  for (const TextView name : {u"A/B", u"a_b", u"CON", u""}) {
    auto waveform = std::make_unique<Waveform>();
    waveform->name = name;
    waveform->samples = makeResident(std::vector<float>(10, 0.5f), 1);
    session.document().add(std::move(waveform));
  }
  Q_EMIT session.replaced();
  SaveEachDialog dialog(session, {}, &window);
  dialog.setFolder(dir.path());
  dialog.setRow(writerForExtension(u"wav"));
  dialog.accept();
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(QDir(dir.path()).entryList({"*.wav"}, QDir::Files, QDir::Name),
            (QStringList{"A_B.wav", "_CON.wav", "a_b (2).wav", "unnamed.wav"}));
  dialog.setResult(QDialog::Rejected);
  dialog.accept();
  EXPECT_EQ(dialog.result(), QDialog::Rejected);
  EXPECT_EQ(dialog.table().item(0, 1)->text(), "File exists already");
}

}  // namespace
}  // namespace tervo::ui

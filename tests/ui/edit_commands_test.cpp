#include "ui/edit_commands.h"

#include <QClipboard>
#include <QMimeData>
#include <QTableWidget>
#include <QTreeView>

#include "base/last_error.h"
#include "core/parameter_access.h"
#include "core/song.h"
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

TEST_F(WindowTest, PastingAWaveformIntoItsOwnDocumentMakesACopy) {
  addInstrument(u"Piano");
  Q_EMIT session.replaced();
  window.list().select({session.document().waveforms()[0]->id()});
  window.edit().copy();
  window.edit().paste();
  ASSERT_EQ(session.document().waveforms().size(), 2u);
  EXPECT_EQ(window.chosenItems(), std::vector{session.document().waveforms()[1]->id()});
  EXPECT_EQ(session.document().waveforms()[1]->frames(), 1000);
}

TEST_F(WindowTest, RegionsAndLayersAreMovedThroughTheClipboard) {
  const Instrument &piano = addInstrument(u"Piano"), &organ = addInstrument(u"Organ");
  Q_EMIT session.replaced();
  const ItemId from = piano.id(), into = organ.layers()[0]->id();
  setParameterValue(piano.layers()[0]->regions()[1]->id(), ParameterId::triggerLowKey, 77);
  const auto regionsOf = [](ItemId id, std::size_t layer) {
    return findItem<Instrument>(id)->layers()[layer]->regions().size();
  };
  window.tree().select({piano.layers()[0]->regions()[1]->id()});
  window.edit().cut();
  EXPECT_EQ(regionsOf(from, 0), 1u);
  EXPECT_EQ(regionsOf(from, 1), 2u);
  window.tree().select({into});
  window.edit().paste();
  ASSERT_EQ(session.document().instruments().size(), 2u);
  const auto moved = findItem<Layer>(into)->regions();
  ASSERT_EQ(moved.size(), 3u);
  EXPECT_EQ(parameterValue(moved[2]->id(), ParameterId::triggerLowKey), 77);
  EXPECT_EQ(moved[2]->waveform, session.document().waveforms()[0]->id());
  EXPECT_EQ(session.document().waveforms().size(), 1u);
  EXPECT_EQ(window.chosenItems(), std::vector{moved[2]->id()});
  ASSERT_TRUE(session.undo());
  EXPECT_EQ(findItem<Layer>(into)->regions().size(), 2u);
  ASSERT_TRUE(session.undo());
  EXPECT_EQ(regionsOf(from, 0), 2u);

  window.tree().select({findItem<Instrument>(from)->layers()[1]->id()});
  window.edit().copy();
  window.tree().select({into});
  window.edit().paste();
  EXPECT_EQ(containingInstrument(into)->layers().size(), 3u);
  // Where nothing can hold a layer, it brings an instrument of its own.
  window.tree().select({session.document().id()});
  window.edit().paste();
  ASSERT_EQ(session.document().instruments().size(), 3u);
  EXPECT_EQ(session.document().instruments()[2]->layers().size(), 1u);
}

TEST_F(WindowTest, ATrackKeepsItsTimesInASongThatCountsOtherwise) {
  const auto addSong = [&](uint16_t division) -> Song& {
    auto song = std::make_unique<Song>();
    song->division = division;
    Track& track = song->add(std::make_unique<Track>());
    // A note of one quarter: on, off, end of track.
    const uint8_t late = static_cast<uint8_t>(0x80 | division >> 7), rest = division & 0x7F;
    for (const uint8_t byte : {uint8_t{0}, uint8_t{0x90}, uint8_t{60}, uint8_t{100}, late, rest, uint8_t{0x80},
                               uint8_t{60}, uint8_t{64}, uint8_t{0}, uint8_t{0xFF}, uint8_t{0x2F}, uint8_t{0}})
      track.data.push_back(std::byte{byte});
    return session.document().add(std::move(song));
  };
  const Song &from = addSong(480), &to = addSong(960);
  Q_EMIT session.replaced();
  const double seconds = lengthInSeconds(from);
  const ItemId target = to.id();
  window.tree().select({from.tracks()[0]->id()});
  window.edit().copy();
  window.tree().select({target});
  window.edit().paste();
  const Song& song = *findItem<Song>(target);
  ASSERT_EQ(song.tracks().size(), 2u);
  EXPECT_EQ(song.division, 960);
  EXPECT_EQ(summaryOf(*song.tracks()[1]).ticks, 960u);
  EXPECT_DOUBLE_EQ(lengthInSeconds(song), seconds);
  EXPECT_EQ(session.document().songs().size(), 2u);
}

TEST_F(WindowTest, PartsAreSavedAsTheirInstrument) {
  const Instrument& piano = addInstrument(u"Piano");
  addInstrument(u"Organ");
  const std::vector<ItemId> layers{piano.layers()[0]->id(), piano.layers()[1]->id()};
  const ItemId owner = piano.id();
  EXPECT_EQ(session.itemsToWrite(layers), std::vector{owner});
  ASSERT_TRUE(session.save(layers, writerForExtension(u"sf2"), folder() + u"/one.sf2", {})) << toUtf8(LastErrorText());
  ASSERT_TRUE(session.open(folder() + u"/one.sf2", OpenMode::replace));
  ASSERT_EQ(session.document().instruments().size(), 1u);
  EXPECT_EQ(session.document().instruments()[0]->name, u"Piano");
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

  // A second try leaves what the first has saved.
  ASSERT_TRUE(QFile::remove(dir.filePath("_CON.wav")));
  dialog.accept();
  EXPECT_EQ(dialog.table().item(2, 1)->text(), "saved");
  dialog.accept();
  EXPECT_EQ(dialog.table().item(2, 1)->text(), "saved");
  for (const char* name : {"A_B.wav", "a_b (2).wav", "unnamed.wav"}) ASSERT_TRUE(QFile::remove(dir.filePath(name)));
  dialog.accept();
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

}  // namespace
}  // namespace tervo::ui

// Keys by their place, songs on their way out, and what the tree and the menus call things.

#include <QAction>
#include <QFile>
#include <QKeyEvent>
#include <QPushButton>
#include <QTableView>

#include "platform/key_place.h"
#include "platform/system_error.h"
#include "platform/thread.h"
#include "tests/ui/waiting.h"
#include "tests/ui/window_fixture.h"
#include "ui/collection_model.h"
#include "ui/dialogs/report_window.h"
#include "ui/sound/keyboard_view.h"

namespace tervo::ui {
namespace {

Song& addSong(Collection& document) {
  auto song = std::make_unique<Song>();
  song->name = u"Tune";
  auto track = std::make_unique<Track>();
  // A quarter of a second at 120 a minute.
  for (const int byte : {0, 0x90, 60, 100, 0x81, 0x70, 0x80, 60, 0, 0, 0xFF, 0x2F, 0})
    track->data.push_back(static_cast<std::byte>(byte));
  song->add(std::move(track));
  return document.add(std::move(song));
}

/// What the window system would call the key at a place.
uint32_t scanCodeOf(uint32_t place) {
  for (uint32_t code = 1; code < 256; ++code) {
    if (platform::keyPlace(code) == place) return code;
  }
  return 0;
}

TEST_F(WindowTest, ComputerKeysPlayByTheirPlaceWhateverTheLayoutWritesOnThem) {
  window.tree().select({addInstrument(u"Piano").id()});
  std::vector<int> sounded;
  QObject::connect(&player, &Player::keySounded, &player, [&](int key, bool on) {
    if (on) sounded.push_back(key);
  });
  const auto press = [&](int character, uint32_t scanCode) {
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
      QKeyEvent event(type, character, Qt::NoModifier, scanCode, 0, 0);
      EXPECT_TRUE(window.keyboard().handleKey(event));
    }
  };
  constexpr uint32_t placeOfZ = 44, placeOfComma = 51;  // scan code set 1
  press(Qt::Key_Y, scanCodeOf(placeOfZ));               // a German keyboard
  press(Qt::Key_Semicolon, scanCodeOf(placeOfComma));   // a French one
  press(Qt::Key_Q, 0);                                  // nobody tells where it is
  EXPECT_EQ(sounded, (std::vector{60, 72, 72}));
}

TEST_F(WindowTest, ASongIsSentToTheMidiOutputWhileItsPlaceShows) {
  const Song& song = addSong(session.document());
  EXPECT_FALSE(player.send(song));
  const QString path = dir.filePath("sent.bytes");
  settings.sds.outDev = u"file:" + textOf(path);
  platform::limitThreads(0);
  EXPECT_FALSE(player.send(song));
  platform::limitThreads(-1);
  EXPECT_EQ(LastErrorText(), u"Could not start a thread");
  ASSERT_TRUE(player.send(song));
  EXPECT_TRUE(player.isPlaying());
  EXPECT_TRUE(player.songSeconds());
  ASSERT_TRUE(waitUntil([&] { return !player.isPlaying(); }));
  QFile sent(path);
  ASSERT_TRUE(sent.open(QIODevice::ReadOnly));
  const QByteArray bytes = sent.readAll();
  EXPECT_TRUE(bytes.startsWith(QByteArray::fromHex("903c64803c00"))) << bytes.toHex().toStdString();
}

/// A disk that is full from the start.
class FullDevice final : public platform::AudioDevice {
 public:
  FullDevice() {
    format_.sampleRate = 48000;
    bufferFrames_ = 480;
  }
  bool start(std::shared_ptr<platform::AudioClient>) override { return true; }
  bool finish() override { return platform::failBySystem(u"Writing to file failed", 28); }
  bool isLost() const override { return true; }
};

TEST_F(WindowTest, WhyADeviceWasLostIsShown) {
  const Instrument& piano = addInstrument(u"Piano");
  Player failing{session, [](const platform::AudioRequest&) { return std::make_unique<FullDevice>(); }};
  QString shown;
  QObject::connect(&failing, &Player::statusShown, [&](const QString& text) { shown = text; });
  ASSERT_TRUE(failing.play(piano.id()));
  ASSERT_TRUE(waitUntil([&] { return !shown.isEmpty(); }));
  EXPECT_EQ(textOf(shown), u"Writing to file failed (" + platform::systemErrorText(28) + u")");
  EXPECT_FALSE(failing.isPlaying());
}

TEST_F(WindowTest, SourceAndResultOfASaveThatLostSomethingAreHeard) {
  addInstrument(u"Piano");
  // A SoundFont has no place for it.
  Waveform& sine = *session.document().waveforms()[0];
  sine.markers.push_back({.type = MarkerType::section, .start = 10, .end = 20});
  ASSERT_TRUE(session.save(std::vector{session.document().id()}, writerForExtension(u"sf2"),
                           textOf(dir.filePath("kept.sf2")), {}));
  auto* report = window.findChild<ReportWindow*>();
  ASSERT_TRUE(report);
  report->findChild<QTableView*>()->selectRow(0);
  const auto heardAfter = [&](const QString& text) -> const Item* {
    for (auto* button : report->findChildren<QPushButton*>())
      if (button->text() == text) button->click();
    return findItem(player.playing());
  };
  EXPECT_EQ(heardAfter("Play Sou&rce"), &sine);
  const Item* result = heardAfter("Play Resul&t");
  ASSERT_TRUE(result && result->kind() == ItemKind::waveform);
  EXPECT_NE(result, &sine);
  EXPECT_EQ(static_cast<const Waveform*>(result)->name, u"Sine");
  delete report;
  EXPECT_FALSE(player.isPlaying());
}

TEST_F(WindowTest, TheTreeNumbersInstrumentsAndSongs) {
  addInstrument(u"Piano", 3), addInstrument(u"Organ");
  addSong(session.document());
  CollectionModel model(session.document(), settings);
  const QModelIndex root = model.index(0, 0);
  const auto label = [&](int row) {
    return (model.index(row, 1, root).data().toString() + '\t' + model.index(row, 2, root).data().toString())
        .toStdString();
  };
  EXPECT_EQ(label(0), "1\t(2 layers, 6 regions)");
  EXPECT_EQ(label(1), "2\t(2 layers, 4 regions)");
  EXPECT_EQ(label(2), "1\t(total 1.0K samples)");
  EXPECT_EQ(label(3), "1\t(1 tracks)");
}

TEST_F(WindowTest, UndoAndRedoNameTheirStep) {
  const ItemId piano = addInstrument(u"Piano").id();
  Q_EMIT session.replaced();
  QAction *undo = nullptr, *redo = nullptr;
  for (QAction* action : window.findChildren<QAction*>()) {
    if (action->shortcut() == QKeySequence(QKeySequence::Undo)) undo = action;
    if (action->shortcut() == QKeySequence(QKeySequence::Redo)) redo = action;
  }
  ASSERT_TRUE(undo && redo);
  EXPECT_EQ(undo->text(), "&Undo");
  session.edit(std::vector{piano}, "Rename A&B", [&] { findItem<Instrument>(piano)->name = u"A&B"; });
  EXPECT_EQ(undo->text(), "&Undo Rename A&&B");
  EXPECT_EQ(undo->iconText(), "Undo");
  window.tree().select({findItem<Instrument>(piano)->layers()[0]->regions()[0]->id()});
  for (QAction* action : window.tree().actions())
    if (action->shortcut() == QKeySequence(QKeySequence::Delete)) action->trigger();
  EXPECT_EQ(undo->text(), "&Undo Delete region");
  undo->trigger();
  EXPECT_EQ(undo->text(), "&Undo Rename A&&B");
  EXPECT_EQ(redo->text(), "&Redo Delete region");
}

}  // namespace
}  // namespace tervo::ui

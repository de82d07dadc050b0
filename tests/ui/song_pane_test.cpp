#include "ui/editors/song_pane.h"

#include <QTabWidget>
#include <QTableView>

#include "tests/ui/window_fixture.h"
#include "ui/editors/song_view.h"

namespace tervo::ui {
namespace {

/// The body of a track, in the bytes of the Standard MIDI File.
std::unique_ptr<Track> track(std::initializer_list<int> bytes) {
  auto made = std::make_unique<Track>();
  for (const int byte : bytes) made->data.push_back(static_cast<std::byte>(byte));
  return made;
}

class SongPaneTest : public WindowTest {
 protected:
  /// Two bars of 3/4 at 120 a minute, then 4/4 at 60; 96 ticks a quarter.
  SongPaneTest() {
    auto made = std::make_unique<Song>();
    made->name = u"Waltz";
    made->division = 96;
    made->add(track({0,    0xFF, 0x58, 4,    3, 2, 24, 8,  0, 0xFF, 0x51, 3,    0x07, 0xA1, 0x20,        //
                     0x84, 0x40, 0xFF, 0x58, 4, 4, 2,  24, 8, 0,    0xFF, 0x51, 3,    0x0F, 0x42, 0x40,  //
                     0x86, 0x00, 0xFF, 0x2F, 0}));
    // A note of a quarter; two of one key, the second before the first has ended; one that nothing ends.
    made->add(track({0,  0x90, 60, 100, 96, 0x80, 60, 0, 0, 0x90, 64, 80,  48, 0x90, 64,   60,
                     48, 0x80, 64, 0,   48, 0x80, 64, 0, 0, 0x91, 72, 127, 96, 0xFF, 0x2F, 0}));
    song = &session.document().add(std::move(made));
    Q_EMIT session.replaced();
    window.resize(1280, 800);
    window.tabs().setCurrentWidget(&window.song());
    window.tree().select({song->id()});
    QApplication::processEvents();
  }
  SongView& view() { return window.song().view(); }

  Song* song;
};

TEST_F(SongPaneTest, NotesBarsAndSecondsAreThoseOfTheSong) {
  const SongRoll& roll = view().roll();
  ASSERT_EQ(roll.notes().size(), 4u);
  EXPECT_EQ(roll.notes()[0].end, 96u);
  EXPECT_EQ(roll.notes()[1].end, 192u);
  EXPECT_EQ(roll.notes()[2].end, 240u);
  EXPECT_EQ(roll.notes()[3].end, 336u);
  // Bars of 288 ticks, and of 384 from the third one on.
  std::vector<uint64_t> ticks;
  for (const BarLine& bar : roll.bars(0, 1344, 0)) ticks.push_back(bar.tick);
  EXPECT_EQ(ticks, (std::vector<uint64_t>{0, 288, 576, 960, 1344}));
  EXPECT_EQ(roll.bars(700, 1000, 0).back().number, 4);
  EXPECT_EQ(roll.place(576 + 384 + 96), "4.2");
  EXPECT_DOUBLE_EQ(roll.secondsAt(576), 3);
  EXPECT_DOUBLE_EQ(roll.secondsAt(576 + 96), 4);
}

TEST_F(SongPaneTest, ZoomsScrollsAndFollowsTheTrack) {
  const double whole = view().scale().framesPerPixel;
  view().setFocus();
  for (int i = 0; i < 8; ++i) QTest::keyClick(&view(), Qt::Key_Plus);
  EXPECT_LT(view().scale().framesPerPixel, whole / 4);
  QTest::keyClick(&view(), Qt::Key_End);
  EXPECT_NEAR(view().scale().frameAt(view().rollArea().width()), 1344, 1);
  QTest::keyClick(&view(), Qt::Key_0);
  EXPECT_EQ(view().scale().framesPerPixel, whole);
  double chosen = -1;
  QObject::connect(&view(), &SongView::placeChosen, &view(), [&](double seconds) { chosen = seconds; });
  QTest::mouseClick(&view(), Qt::LeftButton, {}, QPoint(static_cast<int>(view().rectOf({576, 577}).left()), 200));
  EXPECT_NEAR(chosen, 3, 2 * whole / 96);
  window.tree().select({song->tracks()[1]->id()});
  EXPECT_EQ(window.song().song(), song->id());
  EXPECT_EQ(window.song().tracks().currentIndex().row(), 1);
}

}  // namespace
}  // namespace tervo::ui

#include "ui/wave/waveform_pane.h"

#include <QTabWidget>
#include <QTableView>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <new>
#include <semaphore>

#include "tests/ui/waiting.h"
#include "tests/ui/window_fixture.h"

namespace tervo::ui {
namespace {

class WaveformPaneTest : public WindowTest {
 protected:
  /// A second of a decaying tone with a loop, shown in the editor.
  WaveformPaneTest() {
    std::vector<float> frames(44100);
    for (std::size_t i = 0; i < frames.size(); ++i)
      frames[i] = static_cast<float>(std::sin(static_cast<double>(i) * 0.03) * std::exp(-static_cast<double>(i) / 2e4));
    auto added = std::make_unique<Waveform>();
    added->name = u"Tone";
    added->sampleRate = 44100;
    added->samples = makeResident(std::move(frames), 1);
    added->markers.push_back({.type = MarkerType::loop, .start = 10000, .end = 30000, .loopType = LoopType::forward});
    waveform = &session.document().add(std::move(added));
    Q_EMIT session.replaced();
    window.tabs().setCurrentWidget(&window.waveform());
    window.list().select({waveform->id()});
    QApplication::processEvents();
    view().peaks().wait();
  }
  WaveformView& view() { return window.waveform().view(); }
  QPoint pointOf(double frame) { return {static_cast<int>(std::lround(view().scale().xOf(frame))), 40}; }

  Waveform* waveform;
};

TEST_F(WaveformPaneTest, APictureForWhichThereIsNoMemoryEndsNothing) {
  struct TooLarge final : SampleData {
    TooLarge() : SampleData(2, 1000) {}
    std::unique_ptr<SampleStream> open(int64_t) const override { throw std::bad_alloc(); }
  };
  PeakCache peaks;
  peaks.setSamples(std::make_shared<TooLarge>());
  peaks.wait();
  EXPECT_FALSE(peaks.peak(0, 0, 1000));
}

TEST_F(WaveformPaneTest, AnotherWaveformDoesNotWaitForOneThatIsStillRead) {
  static std::counting_semaphore<> begun{0}, mayEnd{0};
  struct Slow final : SampleData, SampleStream {
    Slow() : SampleData(1, 1000) {}
    std::unique_ptr<SampleStream> open(int64_t) const override { return std::make_unique<Slow>(); }
    std::optional<std::size_t> read(std::span<float> out) override {
      begun.release();
      bool isLetGo = false;
      for (int left = 2000; left > 0 && !isLetGo; --left)
        isLetGo = mayEnd.try_acquire_for(std::chrono::milliseconds(10));
      if (!isLetGo) return std::nullopt;
      std::fill(out.begin(), out.end(), 0.75f);
      return out.size();
    }
  };
  PeakCache peaks;
  auto slow = std::make_shared<Slow>();
  const std::weak_ptr<Slow> read = slow;
  peaks.setSamples(std::move(slow));
  begun.acquire();
  peaks.setSamples(makeResident(std::vector<float>(1000, 0.5f), 1));
  peaks.wait();
  EXPECT_FALSE(read.expired()) << "it would have been waited for";
  mayEnd.release();
  EXPECT_TRUE(waitUntil([&] { return read.expired(); })) << "it ends by itself";
  EXPECT_TRUE(peaks.isComplete());
  const auto peak = peaks.peak(0, 0, 1000);
  ASSERT_TRUE(peak);
  EXPECT_EQ(peak->high, 0.5f);
}

TEST_F(WaveformPaneTest, DraggingALoopEndIsOneUndoStep) {
  QTest::mousePress(&view(), Qt::LeftButton, {}, pointOf(30000));
  for (const double frame : {29000.0, 27000.0, 25000.0}) QTest::mouseMove(&view(), pointOf(frame));
  QTest::mouseRelease(&view(), Qt::LeftButton, {}, pointOf(25000));
  EXPECT_NEAR(waveform->markers[0].end, 25000, view().scale().framesPerPixel);
  EXPECT_EQ(waveform->markers[0].start, 10000);
  EXPECT_EQ(view().chosenMarker(), 0);
  ASSERT_TRUE(session.undo());
  EXPECT_EQ(findItem<Waveform>(waveform->id())->markers[0].end, 30000);
}

TEST_F(WaveformPaneTest, SelectsZoomsAndAddsALoopByKeyboardAlone) {
  view().setFocus();
  QTest::keyClick(&view(), Qt::Key_Home);
  for (int i = 0; i < 20; ++i) QTest::keyClick(&view(), Qt::Key_Right, Qt::ShiftModifier);
  const auto selected = view().selection();
  EXPECT_EQ(selected.start, 0);
  EXPECT_GT(selected.end, 20 * view().scale().framesPerPixel);
  window.waveform().addMarker(MarkerType::loop);
  ASSERT_EQ(waveform->markers.size(), 2u);
  EXPECT_EQ(waveform->markers[1].end, std::round(selected.end));
  EXPECT_EQ(view().chosenMarker(), 1);
  QTest::keyClick(&view(), Qt::Key_Right, Qt::AltModifier);
  EXPECT_EQ(waveform->markers[1].start, 1);
  const double whole = view().scale().framesPerPixel;
  for (int i = 0; i < 60; ++i) QTest::keyClick(&view(), Qt::Key_Plus);
  EXPECT_EQ(view().scale().framesPerPixel, WaveScale::closest);
  for (int i = 0; i < 80; ++i) QTest::keyClick(&view(), Qt::Key_Minus);
  EXPECT_EQ(view().scale().framesPerPixel, whole);
}

TEST_F(WaveformPaneTest, TheTableTakesNumbersAndChoicesAndRefusesWhatTheyAreNot) {
  QAbstractItemModel& table = *window.waveform().markers().model();
  EXPECT_TRUE(table.setData(table.index(0, 2), "12000", Qt::EditRole));
  EXPECT_TRUE(table.setData(table.index(0, 4), "alternating", Qt::EditRole));
  EXPECT_TRUE(table.setData(table.index(0, 5), "Until Release", Qt::EditRole));
  EXPECT_FALSE(table.setData(table.index(0, 3), "far away", Qt::EditRole));
  EXPECT_EQ(waveform->markers[0].start, 12000);
  EXPECT_EQ(waveform->markers[0].loopType, LoopType::alternating);
  EXPECT_EQ(waveform->markers[0].loopCount, loopUntilRelease);
}

TEST_F(WaveformPaneTest, PeaksAreThoseOfTheSamplesAtEveryLevel) {
  const auto samples = waveform->samples->resident();
  for (const auto& [first, end] : {std::pair(0, 44100), std::pair(256, 8448), std::pair(40960, 44100)}) {
    const auto peak = view().peaks().peak(0, first, end);
    const auto [low, high] = std::minmax_element(samples.begin() + first, samples.begin() + end);
    ASSERT_TRUE(peak);
    EXPECT_LE(peak->low, *low);
    EXPECT_GE(peak->high, *high);
    EXPECT_NEAR(peak->high, *high, 0.1);
  }
  EXPECT_FALSE(view().peaks().peak(0, 44100, 44200));
}

TEST_F(WaveformPaneTest, Picture) {
  view().select(5000, 9000);
  view().chooseMarker(0);
  QApplication::processEvents();
  EXPECT_FALSE(window.grab().save(qEnvironmentVariable("TERVO_SHOTS", dir.path()) + "/waveform.png") == false);
}

}  // namespace
}  // namespace tervo::ui

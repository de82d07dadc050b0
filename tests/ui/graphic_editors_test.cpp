#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>
#include <QWheelEvent>

#include "core/parameter_access.h"
#include "tests/ui/window_fixture.h"
#include "ui/editors/envelope_editor.h"
#include "ui/editors/eq_view.h"
#include "ui/editors/filter_view.h"
#include "ui/editors/graphic_pane.h"
#include "ui/editors/key_map.h"
#include "ui/editors/lfo_view.h"
#include "ui/editors/tag_pane.h"

namespace tervo::ui {
namespace {

using P = ParameterId;

class GraphicEditorsTest : public WindowTest {
 protected:
  GraphicEditorsTest() : piano(addInstrument(u"Piano", 3)) {
    Q_EMIT session.replaced();
    for (const auto& layer : piano.layers()) {
      for (const auto& region : layer->regions()) regions.push_back(region->id());
    }
    window.resize(1280, 800);
    window.tree().select({piano.id()});
    QApplication::processEvents();
  }
  GraphicPane& graphics() { return window.graphics(); }
  double value(ItemId id, P row) { return parameterValue(id, row).value_or(-1000); }
  void show(const QString& page) {
    ASSERT_TRUE(graphics().showPage(page));
    QApplication::processEvents();
  }
  void drag(QWidget& view, QPointF from, QPointF to) {
    QTest::mousePress(&view, Qt::LeftButton, {}, from.toPoint());
    QTest::mouseMove(&view, ((from + to) / 2).toPoint());
    QTest::mouseMove(&view, to.toPoint());
    QTest::mouseRelease(&view, Qt::LeftButton, {}, to.toPoint());
  }
  QPointF placeOf(HandleView& view, int handle) { return view.handles()[static_cast<std::size_t>(handle)].place; }

  Instrument& piano;
  std::vector<ItemId> regions;
};

TEST_F(GraphicEditorsTest, DraggingAnEnvelopePointIsOneStepForAllItems) {
  window.tree().select(regions);
  show("V-ENV");
  EnvelopeEditor& view = graphics().envelope();
  const QPointF attack2 = placeOf(view, 2);
  drag(view, attack2, attack2 + QPointF(40, view.height() / 4.0));
  const double seconds = value(regions[0], P::vEnvAttack2Time), level = value(regions[0], P::vEnvAttack2Level);
  EXPECT_GT(seconds, 0.005);
  EXPECT_LT(level, 0.9);
  EXPECT_GT(level, 0.3);
  for (const ItemId id : regions) EXPECT_EQ(value(id, P::vEnvAttack2Time), seconds);
  // The point stands where it was let go.
  EXPECT_NEAR(placeOf(view, 2).y(), attack2.y() + view.height() / 4.0, 2);
  ASSERT_TRUE(session.undo());
  for (const ItemId id : regions) EXPECT_EQ(parameterValue(id, P::vEnvAttack2Level), std::nullopt);
}

TEST_F(GraphicEditorsTest, TheEnvelopeIsOperatedByKeysAlone) {
  show("P-ENV");
  EnvelopeEditor& view = graphics().envelope();
  window.activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  view.setFocus(Qt::TabFocusReason);
  for (int i = 0; i < 4; ++i) QTest::keyClick(&view, Qt::Key_Tab);
  ASSERT_EQ(view.chosenHandle(), 4);
  for (int i = 0; i < 30; ++i) QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_NEAR(value(piano.id(), P::pEnvSustain), -1, 1e-6);
  QTest::keyClick(&view, Qt::Key_Right);
  EXPECT_GT(value(piano.id(), P::pEnvDecay2Time), 0);
  EXPECT_TRUE(view.accessibleName().contains("Pitch"));
  QTest::keyClick(&view, Qt::Key_Delete);
  EXPECT_EQ(parameterValue(piano.id(), P::pEnvSustain), std::nullopt);
  EXPECT_EQ(parameterValue(piano.id(), P::pEnvDecay2Time), std::nullopt);
  for (int i = 0; i < 4; ++i) QTest::keyClick(&view, Qt::Key_Tab);
  EXPECT_FALSE(view.hasFocus());
}

TEST_F(GraphicEditorsTest, EscapeEndsADrag) {
  show("V-ENV");
  EnvelopeEditor& view = graphics().envelope();
  const QPoint place = placeOf(view, 2).toPoint();
  QTest::mousePress(&view, Qt::LeftButton, {}, place);
  QTest::keyClick(&view, Qt::Key_Escape);
  QTest::mouseMove(&view, place + QPoint(9, 9));
  QTest::mouseRelease(&view, Qt::LeftButton, {}, place + QPoint(9, 9));
  EXPECT_EQ(parameterValue(piano.id(), P::vEnvAttack2Level), std::nullopt);
}

TEST_F(GraphicEditorsTest, EnvelopeTimesCanBeToldFromAMillisecondToTensOfSeconds) {
  const EnvelopeScale scale(0, 600, 10);
  double before = scale.width(0);
  for (const double seconds : {0.001, 0.01, 0.1, 1.0, 10.0}) {
    EXPECT_GT(scale.width(seconds), before + 4) << seconds;
    EXPECT_NEAR(scale.seconds(scale.width(seconds)), seconds, seconds * 1e-9);
    before = scale.width(seconds);
  }
}

TEST_F(GraphicEditorsTest, FilterLfoAndEqualizerAreDragged) {
  show("Filter");
  FilterView& filter = graphics().filter();
  EXPECT_TRUE(filter.handles().empty());
  setParameterValue(piano.id(), P::filterType, 4);
  session.announceChange();
  drag(filter, placeOf(filter, 0), placeOf(filter, 0) + QPointF(-100, -40));
  EXPECT_LT(value(piano.id(), P::filterCutoff), 4000);
  EXPECT_GT(value(piano.id(), P::filterResonance), 3);

  show("EQ");
  EqView& eq = graphics().eq();
  drag(eq, placeOf(eq, 1), placeOf(eq, 1) + QPointF(0, -50));
  EXPECT_GT(value(piano.id(), P::eq2Gain), 3);
  EXPECT_NEAR(value(piano.id(), P::eq2Frequency), 800, 10);
  const QPointF band = placeOf(eq, 1);
  QWheelEvent wheel(band, eq.mapToGlobal(band), {}, {0, 120}, {}, {}, Qt::NoScrollPhase, false);
  QApplication::sendEvent(&eq, &wheel);
  EXPECT_GT(value(piano.id(), P::eq2Q), 0.71);

  show("F-LFO");
  LfoView& lfo = graphics().lfo();
  drag(lfo, placeOf(lfo, 0), placeOf(lfo, 0) + QPointF(60, 0));
  EXPECT_GT(value(piano.id(), P::fLfoDelay), 0.02);
  EXPECT_EQ(parameterValue(piano.id(), P::pLfoDelay), std::nullopt);
}

TEST_F(GraphicEditorsTest, PagesFollowTheRowInFocusAndTheItems) {
  window.properties().view().setCurrentIndex({});
  Q_EMIT window.properties().rowChosen(P::xEnvSustain);
  EXPECT_TRUE(graphics().envelope().isVisible());
  const auto* bar = graphics().findChild<QTabBar*>();
  EXPECT_GT(bar->height(), 10);
  EXPECT_TRUE(bar->rect().contains(bar->tabRect(bar->currentIndex()).center()));
  EXPECT_EQ(graphics().envelope().envelope(), Modulator::extra);
  Q_EMIT window.properties().rowChosen(P::vLfoDelay);
  EXPECT_EQ(graphics().lfo().lfo(), Modulator::volume);
  window.tree().select({session.document().id()});
  EXPECT_FALSE(graphics().showPage("Filter"));
  EXPECT_TRUE(graphics().tags().isVisible());
}

TEST_F(GraphicEditorsTest, EveryTabIsReachedWithTheMouse) {
  auto* bar = graphics().findChild<QTabBar*>();
  auto* right = bar->findChild<QToolButton*>("ScrollRightButton");
  ASSERT_EQ(bar->count(), 11);
  const auto inSight = [&](int tab) {
    const int end = right && right->isVisible() ? right->parentWidget()->mapTo(bar, right->pos()).x() : bar->width();
    const QPoint middle = bar->tabRect(tab).center();
    return middle.x() > 0 && middle.x() < end;
  };
  bar->setCurrentIndex(3);
  for (int tab = 4; tab < bar->count(); ++tab) {
    for (int i = 0; i < 20 && !inSight(tab); ++i) QTest::mouseClick(right, Qt::LeftButton);
    ASSERT_TRUE(inSight(tab)) << bar->tabText(tab).toStdString();
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(tab).center());
    EXPECT_EQ(bar->currentIndex(), tab);
  }
}

TEST_F(GraphicEditorsTest, RegionsAreChosenAndMovedTogether) {
  for (int i = 0; i < 6; ++i) {
    setParameterValue(regions[static_cast<std::size_t>(i)], P::triggerLowKey, 20 + 12 * i);
    setParameterValue(regions[static_cast<std::size_t>(i)], P::triggerHighKey, 31 + 12 * i);
  }
  session.announceChange();
  show("Keys");
  KeyMap& map = graphics().keys();
  const auto middle = [&](std::size_t region) { return map.scale().rectOf(map.regions()[region]).center(); };
  const double key = map.scale().xOf(1) - map.scale().xOf(0);
  QTest::mouseClick(&map, Qt::LeftButton, {}, middle(1).toPoint());
  EXPECT_EQ(window.chosenItems(), std::vector{regions[1]});
  QTest::mouseClick(&map, Qt::LeftButton, Qt::ControlModifier, middle(2).toPoint());
  ASSERT_EQ(window.chosenItems(), (std::vector{regions[1], regions[2]}));

  drag(map, middle(1), middle(1) + QPointF(5 * key, 3));
  EXPECT_EQ(value(regions[1], P::triggerLowKey), 37);
  EXPECT_EQ(value(regions[2], P::triggerHighKey), 60);
  EXPECT_EQ(value(regions[0], P::triggerLowKey), 20);
  ASSERT_TRUE(session.undo());
  EXPECT_EQ(value(regions[1], P::triggerLowKey), 32);

  const QRectF second = map.scale().rectOf(map.regions()[2]);
  drag(map, {second.right(), second.center().y()}, {second.right() - 4 * key, second.center().y()});
  EXPECT_EQ(value(regions[2], P::triggerHighKey), 51);
  EXPECT_EQ(value(regions[2], P::triggerLowKey), 44);
  QTest::keyClick(&map, Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(value(regions[1], P::triggerHighVelocity), 126);
  // None leaves the map, and all keep their distances.
  drag(map, middle(1), {map.scale().xOf(-40), middle(1).y()});
  EXPECT_EQ(value(regions[1], P::triggerLowKey), 0);
  EXPECT_EQ(value(regions[2], P::triggerLowKey), 12);
  QTest::keyClick(&map, Qt::Key_PageDown);
  EXPECT_EQ(window.chosenItems(), std::vector{regions[2]});
}

TEST_F(GraphicEditorsTest, TagsTakeTextsAndPicturesAsTheyAre) {
  window.tree().select({session.document().id()});
  TagPane& tags = graphics().tags();
  const QString path = dir.path() + "/cover.png", copy = dir.path() + "/copy.png";
  QImage image(300, 200, QImage::Format_RGB32);
  image.fill(Qt::darkCyan);
  ASSERT_TRUE(image.save(path));
  ASSERT_TRUE(tags.loadPicture(path));
  EXPECT_EQ(session.document().tags.image->mimeType, "image/png");
  ASSERT_TRUE(tags.savePicture(copy));
  QFile one(path), other(copy);
  ASSERT_TRUE(one.open(QIODevice::ReadOnly) && other.open(QIODevice::ReadOnly));
  EXPECT_EQ(one.readAll(), other.readAll());
  EXPECT_FALSE(tags.loadPicture(QString::fromUtf8(__FILE__)));
  tags.removePicture();
  EXPECT_EQ(session.document().tags.image, nullptr);
  ASSERT_TRUE(session.undo());
  EXPECT_NE(session.document().tags.image, nullptr);
  tags.field(Tag::artist).setFocus();
  QTest::keyClicks(&tags.field(Tag::artist), "Somebody");
  QTest::keyClick(&tags.field(Tag::artist), Qt::Key_Return);
  EXPECT_EQ(session.document().tags[Tag::artist], u"Somebody");
}

}  // namespace
}  // namespace tervo::ui

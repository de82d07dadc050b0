#include "tests/ui/window_fixture.h"

#include "core/parameter_access.h"

namespace tervo::ui {
namespace {

std::vector<ItemId> regionsOf(const Instrument& instrument) {
  std::vector<ItemId> ids;
  for (const auto& layer : instrument.layers()) {
    for (const auto& region : layer->regions()) ids.push_back(region->id());
  }
  return ids;
}

TEST_F(WindowTest, EditsSeveralRegionsAsOneUndoStep) {
  const Instrument& piano = addInstrument(u"Piano");
  Q_EMIT session.replaced();
  const auto regions = regionsOf(piano);
  window.tree().select(regions);
  ASSERT_EQ(window.chosenItems(), regions);
  PropertyModel& model = window.properties().model();
  const QModelIndex cutoff = model.indexOf(ParameterId::filterCutoff);
  EXPECT_TRUE(cutoff.data(PropertyModel::inheritedRole).toBool());
  EXPECT_EQ(cutoff.data().toString(), "8000 Hz");

  ASSERT_TRUE(model.setData(cutoff, "1.2 kHz", Qt::EditRole));
  for (const ItemId id : regions) EXPECT_EQ(parameterValue(id, ParameterId::filterCutoff), 1200);
  ASSERT_TRUE(session.undo());
  for (const ItemId id : regions) EXPECT_EQ(parameterValue(id, ParameterId::filterCutoff), std::nullopt);
  ASSERT_TRUE(session.redo());
  EXPECT_EQ(parameterValue(regions[3], ParameterId::filterCutoff), 1200);
  // What was selected before is selected still.
  EXPECT_EQ(window.chosenItems(), regions);

  setParameterValue(regions[1], ParameterId::filterCutoff, 500);
  window.properties().refresh();
  EXPECT_EQ(model.indexOf(ParameterId::filterCutoff).data().toString(), "<different>");
  EXPECT_FALSE(model.setData(model.indexOf(ParameterId::filterCutoff), "many", Qt::EditRole));
}

TEST_F(WindowTest, AGestureIsOneStepAndResettingLeavesTheRowToTheLevelAbove) {
  const Instrument& piano = addInstrument(u"Piano");
  Q_EMIT session.replaced();
  const ItemId region = regionsOf(piano)[0];
  window.tree().select({region});
  PropertyModel& model = window.properties().model();
  setParameterValue(piano.id(), ParameterId::panPosition, 0.5);
  for (int i = 0; i < 5; ++i) model.stepBy(ParameterId::panPosition, -10, 7);
  EXPECT_NEAR(*parameterValue(region, ParameterId::panPosition), 0, 1e-6);
  model.resetToDefault(ParameterId::panPosition);
  EXPECT_EQ(model.indexOf(ParameterId::panPosition).data().toString(), "+50 %");
  EXPECT_TRUE(model.indexOf(ParameterId::panPosition).data(PropertyModel::inheritedRole).toBool());
  ASSERT_TRUE(session.undo());
  EXPECT_NEAR(*parameterValue(region, ParameterId::panPosition), 0, 1e-6);
  ASSERT_TRUE(session.undo());
  EXPECT_EQ(parameterValue(region, ParameterId::panPosition), std::nullopt);
}

TEST_F(WindowTest, OpensWhatIsOnTheSystem) {
  const QString bank = QStringLiteral("/usr/share/sounds/sf2/TimGM6mb.sf2");
  if (!QFile::exists(bank)) GTEST_SKIP() << "timgm6mb-soundfont is not installed";
  window.openFiles({textOf(bank)}, OpenMode::replace);
  window.resize(1280, 800);
  window.tree().select({session.document().instruments()[0]->id()});
  QApplication::processEvents();
  window.grab().save(qEnvironmentVariable("TERVO_SHOTS", dir.path()) + "/main.png");
  EXPECT_GT(session.document().instruments().size(), 100u);
}

}  // namespace
}  // namespace tervo::ui

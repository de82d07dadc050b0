#include "ui/dialogs/operation_dialog.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <cmath>

#include "tests/ui/window_fixture.h"
#include "ui/dialogs/loop_chooser.h"
#include "ui/dialogs/option_form.h"
#include "ui/dialogs/report_window.h"

namespace tervo::ui {
namespace {

class OperationDialogTest : public WindowTest {
 protected:
  ItemId addLooped(double from, double to) {
    std::vector<float> frames(8000);
    for (std::size_t i = 0; i < frames.size(); ++i)
      frames[i] = static_cast<float>(std::sin(0.0627 * static_cast<double>(i)));
    Waveform& added = session.document().add(std::make_unique<Waveform>());
    added.name = u"Sine";
    added.samples = makeResident(std::move(frames), 1);
    added.markers = {{.type = MarkerType::loop, .start = from, .end = to, .loopType = LoopType::forward}};
    return added.id();
  }
  std::unique_ptr<OperationDialog> open(TextView operation, std::vector<ItemId> items) {
    return std::make_unique<OperationDialog>(session, std::move(items), findOperation(operation), &window);
  }
  static QCheckBox& box(OperationDialog& dialog, const QString& title) {
    for (auto* each : dialog.findChildren<QCheckBox*>())
      if (each->text().startsWith(title)) return *each;
    throw std::runtime_error("no such box");
  }
  static bool says(OperationDialog& dialog, const QString& text) {
    const auto labels = dialog.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(), [&](QLabel* each) { return each->text().startsWith(text); });
  }
};

TEST_F(OperationDialogTest, TheCrossfadeOfOneLoopMayBeShorterThanItAllows) {
  QString status;
  QObject::connect(&host, &WindowHost::statusShown, [&status](const QString& text) { status = text; });
  const ItemId one = addLooped(1000, 1500);
  auto dialog = open(u"crossfade-loop", {one});
  EXPECT_TRUE(says(*dialog, "Cross-fade the default loop (i.e. fade out"));
  QLineEdit& length = dialog->form()->line(u"length");
  EXPECT_EQ(length.text(), "500");
  length.setText("501");
  dialog->accept();
  EXPECT_TRUE(says(*dialog, "The maximum crossfade length is 500 wavesamples"));
  length.setText("10");
  box(*dialog, "Use exp. fading").setChecked(true);
  dialog->accept();
  EXPECT_EQ(dialog->result(), QDialog::Accepted);
  const auto frames = findItem<Waveform>(one)->samples->resident();
  EXPECT_FLOAT_EQ(frames[1489], static_cast<float>(std::sin(0.0627 * 1489)));
  EXPECT_FLOAT_EQ(frames[1499], static_cast<float>(std::sin(0.0627 * 999)));

  // Of several each is faded as far as it goes. What was chosen before is there again, but not the length.
  dialog = open(u"crossfade-loop", {one, addLooped(300, 5000)});
  EXPECT_TRUE(box(*dialog, "Use exp. fading").isChecked());
  EXPECT_TRUE(box(*dialog, "Also reverse-crossfade").isChecked());
  EXPECT_EQ(dialog->form()->line(u"length").text(), "whole loop");
  EXPECT_FALSE(dialog->form()->line(u"length").isEnabled());
  dialog->accept();
  EXPECT_EQ(status, "Done: Cross-fade loop: 2 of 2 items changed");
  EXPECT_EQ(open(u"crossfade-loop", {one})->form()->line(u"length").text(), "500");
}

TEST_F(OperationDialogTest, LoopsAreFoundAndListedWhereThatIsAsked) {
  const ItemId one = addLooped(1000, 1500);
  auto dialog = open(u"find-loop", {one});
  EXPECT_TRUE(says(*dialog, "Find loop points automatically:\n"));
  EXPECT_TRUE(says(*dialog, "%"));
  dialog->form()->line(u"candidates").setText("3");
  dialog->form()->line(u"to").setText("80");
  box(*dialog, "Skip already looped").setChecked(false);
  box(*dialog, "Crossfade the looped").setChecked(false);
  bool waited = false;
  QObject::connect(&host, &WindowHost::statusShown, [&waited](const QString& text) {
    const QCursor* cursor = QGuiApplication::overrideCursor();
    if (text == "Finding loop for: \"Sine\"") waited = cursor && cursor->shape() == Qt::WaitCursor;
  });
  dialog->accept();
  EXPECT_TRUE(waited);
  EXPECT_FALSE(QGuiApplication::overrideCursor());
  EXPECT_NE(findItem<Waveform>(one)->markers[0].start, 1000);
  EXPECT_FALSE(window.findChild<ReportWindow*>());
  EXPECT_EQ(open(u"find-loop", {one})->form()->line(u"to").text(), "80");
  EXPECT_EQ(open(u"gain", {one})->form()->line(u"by").text(), "0");

  // They are chosen from, in the same undo step.
  ASSERT_EQ(dialog->withLoops(), one);
  LoopChooser chooser(session, player, one, &window);
  ASSERT_EQ(chooser.list().count(), 3);
  const Marker best = findItem<Waveform>(one)->markers[0];
  chooser.list().setCurrentRow(2);
  const Marker third = findItem<Waveform>(one)->markers[0];
  EXPECT_NE(third.start, best.start);
  EXPECT_TRUE(chooser.list().item(2)->text().startsWith(QString::number(third.start))) << "the one that is shown";
  EXPECT_FALSE(window.findChild<ReportWindow*>());
  chooser.list().setCurrentRow(0);
  EXPECT_EQ(findItem<Waveform>(one)->markers[0], best);
  ASSERT_TRUE(session.undo());
  EXPECT_EQ(findItem<Waveform>(one)->markers[0].start, 1000);
  EXPECT_EQ(open(u"find-loop", {one})->form()->line(u"take").text(), "1");

  // Of several waveforms a report has them.
  dialog = open(u"find-loop", {one, addLooped(300, 5000)});
  dialog->accept();
  EXPECT_EQ(dialog->withLoops(), noItem);
  EXPECT_TRUE(window.findChild<ReportWindow*>());
}

}  // namespace
}  // namespace tervo::ui

// The main tasks without a mouse.

#include <QAccessible>
#include <QCheckBox>
#include <QDir>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QTabWidget>
#include <QTextBrowser>
#include <map>
#include <set>

#include "core/parameter_access.h"
#include "tests/ui/modal_answer.h"
#include "tests/ui/window_fixture.h"
#include "ui/editors/graphic_pane.h"
#include "ui/help_window.h"
#include "ui/sound/keyboard_view.h"

namespace tervo::ui {
namespace {

class KeyboardWalkTest : public WindowTest {
 protected:
  KeyboardWalkTest() {
    addInstrument(u"Piano");
    addInstrument(u"Organ");
    Q_EMIT session.replaced();
    window.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
  }
  void press(int key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(key), modifiers);
  }
  /// Whether the focus stands in the widget.
  static bool focusIsIn(const QWidget& widget) {
    const QWidget* focus = QApplication::focusWidget();
    return focus && (focus == &widget || widget.isAncestorOf(focus));
  }
};

TEST_F(KeyboardWalkTest, TabReachesEveryPaneAndComesRound) {
  window.tree().setFocus();
  press(Qt::Key_Down);
  std::vector<std::pair<const char*, QWidget*>> panes = {
      {"list", &window.list()},         {"parameters", &window.properties().view()},
      {"editors", &window.graphics()},  {"tabs", window.tabs().tabBar()},
      {"keyboard", &window.keyboard()}, {"tree", &window.tree()}};
  for (int i = 0; i < 60 && !panes.empty(); ++i) {
    QWidget* const before = QApplication::focusWidget();
    press(Qt::Key_Tab);
    ASSERT_NE(QApplication::focusWidget(), before) << "Tab is stuck";
    std::erase_if(panes, [](const auto& pane) { return focusIsIn(*pane.second); });
  }
  for (const auto& [name, pane] : panes) ADD_FAILURE() << name << " is not reached";
}

TEST_F(KeyboardWalkTest, EverythingThatTakesTheFocusHasAName) {
  for (const QWidget* widget : window.findChildren<QWidget*>()) {
    const bool takesFocus = widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus);
    if (!takesFocus || !widget->accessibleName().isEmpty()) continue;
    const QAccessibleInterface* spoken = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(widget));
    EXPECT_TRUE(spoken && !spoken->text(QAccessible::Name).isEmpty())
        << widget->metaObject()->className() << " in " << widget->parentWidget()->metaObject()->className();
  }
}

TEST_F(KeyboardWalkTest, SelectsEditsUndoesCopiesAndDeletes) {
  window.tree().setFocus();
  press(Qt::Key_Home);
  press(Qt::Key_Down);
  const ItemId piano = session.document().instruments()[0]->id();
  ASSERT_EQ(window.chosenItems(), std::vector{piano});
  window.properties().view().setFocus();
  window.properties().view().keyboardSearch("Drum");
  press(Qt::Key_Home);
  press(Qt::Key_Down);
  press(Qt::Key_Right);
  press(Qt::Key_F2);  // the value, not the name of the instrument
  ASSERT_TRUE(QApplication::focusWidget()->inherits("QComboBox") || QApplication::focusWidget()->inherits("QLineEdit"))
      << QApplication::focusWidget()->metaObject()->className();
  press(Qt::Key_Escape);
  press(Qt::Key_Down);
  press(Qt::Key_Up, Qt::ControlModifier);
  EXPECT_EQ(parameterValue(piano, ParameterId::bankMsb), 1);
  press(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(parameterValue(piano, ParameterId::bankMsb), 0);

  window.tree().setFocus();
  press(Qt::Key_C, Qt::ControlModifier);
  press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_EQ(session.document().instruments().size(), 3u);
  press(Qt::Key_Delete);
  EXPECT_EQ(session.document().instruments().size(), 2u);
}

TEST_F(KeyboardWalkTest, SpacePressesButtonsAndPlaysElsewhere) {
  auto* button = new QCheckBox("Press", window.centralWidget());
  button->show();
  button->setFocus();
  press(Qt::Key_Space);
  EXPECT_TRUE(button->isChecked());
  EXPECT_FALSE(player.isPlaying());
  window.tree().select({session.document().instruments()[0]->id()});
  window.tree().setFocus();
  press(Qt::Key_Space);
  EXPECT_TRUE(player.isPlaying());
  player.stop();
}

TEST_F(KeyboardWalkTest, NothingSoundsOnWhenTheFocusLeavesOrAnotherInstrumentIsChosen) {
  std::map<int, bool> sounding;
  QObject::connect(&player, &Player::keySounded, &window, [&](int key, bool on) { sounding[key] = on; });
  const auto any = [&] {
    return std::any_of(sounding.begin(), sounding.end(), [](const auto& each) { return each.second; });
  };
  window.keyboard().show();
  window.tree().select({session.document().instruments()[0]->id()});
  window.keyboard().setFocus();
  const auto hold = [&] {
    QTest::keyPress(&window, Qt::Key_Z);
    EXPECT_TRUE(any());
  };
  hold();
  window.list().setFocus();
  EXPECT_FALSE(any());
  hold();
  window.tree().select({session.document().instruments()[1]->id()});
  EXPECT_FALSE(any());
}

TEST_F(KeyboardWalkTest, MenusHaveLettersOfTheirOwn) {
  const std::function<void(const QList<QAction*>&, const QString&)> look = [&](const QList<QAction*>& actions,
                                                                               const QString& menu) {
    std::set<QChar> letters;
    for (const QAction* action : actions) {
      const auto at = action->text().indexOf(u'&');
      const bool isOwn = at < 0 || letters.insert(action->text()[at + 1].toUpper()).second;
      EXPECT_TRUE(isOwn) << (menu + ": " + action->text()).toStdString();
      if (action->menu()) look(action->menu()->actions(), action->text());
    }
  };
  look(window.menuBar()->actions(), "menu bar");
}

TEST_F(KeyboardWalkTest, F1OpensThePageOfWhatHasTheFocus) {
  const QString folder = manualFolder();
  ASSERT_FALSE(folder.isEmpty());
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    const QString page = widget->property("helpPage").toString();
    EXPECT_TRUE(page.isEmpty() || QFile::exists(folder + '/' + page + ".html")) << page.toStdString();
  }
  window.list().setFocus();
  press(Qt::Key_F1);
  auto* manual = window.help().show(helpPageOf(&window.list()));
  ASSERT_TRUE(manual && manual->isVisible());
  EXPECT_EQ(manual->browser().documentTitle(), "The list of waveforms");
  // Every link of every page leads somewhere.
  for (const QString& page : QDir(folder).entryList({"*.html"})) {
    QFile file(folder + '/' + page);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    static const QRegularExpression link("(?:href|src)=\"([^\"]+)\"");
    auto links = link.globalMatch(QString::fromUtf8(file.readAll()));
    while (links.hasNext()) {
      const QString target = links.next().captured(1);
      EXPECT_TRUE(QFile::exists(folder + '/' + target)) << page.toStdString() << ": " << target.toStdString();
    }
  }
}

}  // namespace
}  // namespace tervo::ui

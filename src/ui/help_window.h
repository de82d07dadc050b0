#pragma once
// The manual: short pages, one a pane, in a window of their own. F1 opens the page of whatever has the focus.

#include <QMainWindow>
#include <QPointer>

class QTextBrowser;

namespace tervo::ui {

class HelpWindow final : public QMainWindow {
  Q_OBJECT
 public:
  explicit HelpWindow(const QString& folder);

  /// "parameters": the page of that name. False where there is none.
  bool showPage(const QString& name);
  QTextBrowser& browser() { return *browser_; }

 private:
  QString folder_;
  QTextBrowser* browser_;
};

/// Names the page of a widget and of what is inside it.
void setHelpPage(QWidget& widget, const char* name);
/// The page of the nearest widget around it that has one; "index" for none.
QString helpPageOf(const QWidget* widget);
/// Where the pages are: installed, or in the sources that this program was built from. Empty where they are not.
QString manualFolder();

/// While it lives, F1 shows the manual, in dialogs too.
class HelpKey final : public QObject {
  Q_OBJECT
 public:
  explicit HelpKey(QObject* parent);
  ~HelpKey() override;
  /// Null where there is no manual.
  HelpWindow* show(const QString& name);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QPointer<HelpWindow> window_;
};

}  // namespace tervo::ui

#include "ui/help_window.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QTextBrowser>
#include <QToolBar>

namespace tervo::ui {
namespace {

constexpr const char* pageProperty = "helpPage";

}  // namespace

void setHelpPage(QWidget& widget, const char* name) {
  widget.setProperty(pageProperty, QLatin1String(name));
}

QString helpPageOf(const QWidget* widget) {
  for (; widget; widget = widget->parentWidget()) {
    const QVariant page = widget->property(pageProperty);
    if (page.isValid()) return page.toString();
  }
  return QStringLiteral("index");
}

QString manualFolder() {
  const QString program = QApplication::applicationDirPath();
  for (const char* place : {"/../share/doc/tervo-studio/manual", "/manual", "/../../../docs/manual"}) {
    const QString folder = QDir::cleanPath(program + QLatin1String(place));
    if (QFileInfo::exists(folder + QStringLiteral("/index.html"))) return folder;
  }
  return {};
}

HelpWindow::HelpWindow(const QString& folder) : folder_(folder) {
  setWindowTitle(tr("Manual - Tervo Studio"));
  setAttribute(Qt::WA_QuitOnClose, false);
  browser_ = new QTextBrowser(this);
  browser_->setOpenExternalLinks(true);
  browser_->setSearchPaths({folder});
  browser_->setAccessibleName(tr("Manual"));
  setCentralWidget(browser_);
  QToolBar* bar = addToolBar(tr("Manual"));
  bar->addAction(tr("&Contents"), this, [this] { showPage(QStringLiteral("index")); });
  QAction* back = bar->addAction(tr("&Back"), QKeySequence::Back, browser_, &QTextBrowser::backward);
  QAction* forward = bar->addAction(tr("&Forward"), QKeySequence::Forward, browser_, &QTextBrowser::forward);
  back->setEnabled(false);
  forward->setEnabled(false);
  connect(browser_, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
  connect(browser_, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
  auto* close = new QAction(tr("Close"), this);
  close->setShortcuts({QKeySequence(Qt::Key_Escape), QKeySequence(QKeySequence::Close)});
  connect(close, &QAction::triggered, this, &QWidget::close);
  addAction(close);
  resize(760, 640);
}

bool HelpWindow::showPage(const QString& name) {
  const QString path = folder_ + u'/' + name + QStringLiteral(".html");
  if (!QFileInfo::exists(path)) return false;
  browser_->setSource(QUrl::fromLocalFile(path));
  return true;
}

HelpKey::HelpKey(QObject* parent) : QObject(parent) {
  qApp->installEventFilter(this);
}

HelpKey::~HelpKey() {
  delete window_;
}

HelpWindow* HelpKey::show(const QString& name) {
  const QString folder = manualFolder();
  if (folder.isEmpty()) return nullptr;
  if (!window_) window_ = new HelpWindow(folder);
  // A dialog that blocks other windows does not block its own.
  QWidget* blocking = QApplication::activeModalWidget();
  if (window_->parentWidget() != blocking) window_->setParent(blocking, Qt::Window);
  if (!window_->showPage(name)) window_->showPage(QStringLiteral("index"));
  window_->show();
  window_->raise();
  window_->activateWindow();
  return window_;
}

bool HelpKey::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() != QEvent::KeyPress || !watched->isWidgetType()) return false;
  const auto* key = static_cast<QKeyEvent*>(event);
  if (key->key() != Qt::Key_F1 || key->modifiers() != Qt::NoModifier) return false;
  const QWidget* focus = QApplication::focusWidget();
  return show(helpPageOf(focus ? focus : static_cast<const QWidget*>(watched))) != nullptr;
}

}  // namespace tervo::ui

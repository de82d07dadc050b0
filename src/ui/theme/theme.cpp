#include "ui/theme/theme.h"

#include <QApplication>
#include <QStyle>
#include <QStyleFactory>
#include <utility>

#include "ui/theme/portal.h"

namespace tervo::ui {
namespace {

using platform::ColourScheme;

const auto fusion = QStringLiteral("Fusion");

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

/// The style of Windows draws its own colours, whatever the palette says.
bool ignoresPalettes(const QString& style) {
  return style == QStringLiteral("windowsvista");
}

QPalette lightPalette() {
  return std::unique_ptr<QStyle>(QStyleFactory::create(fusion))->standardPalette();
}

}  // namespace

QPalette darkPalette() {
  QPalette dark(QColor(0x35, 0x35, 0x38), QColor(0x2a, 0x2a, 0x2d));
  dark.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x20));
  dark.setColor(QPalette::AlternateBase, QColor(0x28, 0x28, 0x2b));
  for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText, QPalette::ToolTipText})
    dark.setColor(role, QColor(0xe8, 0xe8, 0xe8));
  dark.setColor(QPalette::ToolTipBase, QColor(0x40, 0x40, 0x45));
  dark.setColor(QPalette::PlaceholderText, QColor(0x90, 0x90, 0x90));
  for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
    dark.setColor(QPalette::Disabled, role, QColor(0x78, 0x78, 0x78));
  dark.setColor(QPalette::Highlight, QColor(0x3d, 0x8e, 0xd8));
  dark.setColor(QPalette::Link, QColor(0x6c, 0xb0, 0xf0));
  dark.setColor(QPalette::LinkVisited, QColor(0xb4, 0x96, 0xe6));
  return dark;
}

Theme::Theme(const QString& bus) {
  portalWatch_ = watchPortal(bus, [this](ColourScheme scheme) {
    portal_ = scheme;
    look();
  });
  systemWatch_ = platform::ColourSchemeWatch::start([this] {
    QMetaObject::invokeMethod(
        this, [this] { look(); }, Qt::QueuedConnection);
  });
  look();
}

Theme::~Theme() = default;

void Theme::look() {
  apply(portal_ != ColourScheme::none ? portal_ : platform::colourScheme());
}

void Theme::apply(ColourScheme scheme) {
  if (scheme == applied_) return;
  applied_ = scheme;
  if (!ownStyle_.isEmpty()) QApplication::setStyle(std::exchange(ownStyle_, QString()));
  QApplication::setPalette(QPalette());
  const bool wantsDark = scheme == ColourScheme::dark;
  if (scheme == ColourScheme::none || wantsDark == isDark(QApplication::palette())) return;
  if (ignoresPalettes(QApplication::style()->name())) {
    ownStyle_ = QApplication::style()->name();
    QApplication::setStyle(fusion);
  }
  QApplication::setPalette(wantsDark ? darkPalette() : lightPalette());
}

}  // namespace tervo::ui

#pragma once
// Dark and light as the desktop wants it, while it runs as well. What Qt's platform plug-in makes of that by itself is
// left alone; where it makes nothing of it, the program brings a palette of its own.

#include <QObject>
#include <QPalette>
#include <memory>

#include "platform/colour_scheme.h"

namespace tervo::ui {

QPalette darkPalette();

class Theme final : public QObject {
 public:
  /// Follows the desktop from here on. `bus` is the address of a message bus, that
  /// of the user's session when it is empty.
  explicit Theme(const QString& bus = {});
  ~Theme() override;

 private:
  void look();
  void apply(platform::ColourScheme scheme);

  platform::ColourScheme portal_ = platform::ColourScheme::none, applied_ = platform::ColourScheme::none;
  QString ownStyle_;
  std::unique_ptr<QObject> portalWatch_;
  std::unique_ptr<platform::ColourSchemeWatch> systemWatch_;
};

}  // namespace tervo::ui

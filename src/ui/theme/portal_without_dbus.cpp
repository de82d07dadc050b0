#include "ui/theme/portal.h"

namespace tervo::ui {

std::unique_ptr<QObject> watchPortal(const QString&, std::function<void(platform::ColourScheme)>) {
  return nullptr;
}

}  // namespace tervo::ui

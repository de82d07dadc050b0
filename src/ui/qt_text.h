#pragma once
// Text at the border to Qt. Both sides are UTF-16, so nothing is lost, lone surrogates of odd file names included.

#include <QDir>
#include <QString>

#include "base/text.h"

namespace tervo::ui {

inline QString qt(TextView text) {
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

inline Text textOf(const QString& text) {
  return text.toStdU16String();
}

/// Qt separates folders with "/" everywhere; what is shown, stored and given to others has the system's own separators.
inline Text pathOf(const QString& path) {
  return textOf(QDir::toNativeSeparators(path));
}

}  // namespace tervo::ui

#pragma once
// The signs of playing and stopping, in the colour of the theme's texts: those of the style stay black in a dark one.

#include <QIcon>
#include <QPalette>

namespace tervo::ui {

QIcon playIcon(const QPalette& palette);
QIcon stopIcon(const QPalette& palette);

}  // namespace tervo::ui

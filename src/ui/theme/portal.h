#pragma once
// What the desktop's portal says of dark and light (XDG Desktop Portal, interface org.freedesktop.portal.Settings 2,
// namespace org.freedesktop.appearance), which GNOME, KDE and others answer. Two sources: with D-Bus and without.

#include <QObject>
#include <functional>
#include <memory>

#include "platform/colour_scheme.h"

namespace tervo::ui {

/// Calls `changed` with the answer, if it comes soon before this returns, and again with every other one as long as the
/// result lives. Null where nobody can be asked. `address` is that of a message bus; empty: the session's.
std::unique_ptr<QObject> watchPortal(const QString& address, std::function<void(platform::ColourScheme)> changed);

}  // namespace tervo::ui

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include "ui/theme/portal.h"

namespace tervo::ui {
namespace {

using platform::ColourScheme;

// A window that turns dark late is better than one that comes late.
constexpr int patience = 200;  // ms

const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
const auto interface = QStringLiteral("org.freedesktop.portal.Settings");
const auto appearance = QStringLiteral("org.freedesktop.appearance");
const auto colourScheme = QStringLiteral("color-scheme");

/// "Read" wraps the value once more than the signal does.
ColourScheme schemeIn(QVariant value) {
  while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
  constexpr ColourScheme schemes[] = {ColourScheme::none, ColourScheme::dark, ColourScheme::light};
  const uint number = value.toUInt();
  return number < std::size(schemes) ? schemes[number] : ColourScheme::none;
}

class PortalWatch final : public QObject {
  Q_OBJECT
 public:
  PortalWatch(const QDBusConnection& bus, std::function<void(ColourScheme)> changed)
      : bus_(bus), changed_(std::move(changed)) {
    // Qt 6.4 refuses slots that take a type whose name it has not met yet.
    qRegisterMetaType<QDBusVariant>();
    bus_.connect(service, path, interface, QStringLiteral("SettingChanged"), this,
                 SLOT(take(QString, QString, QDBusVariant)));
    ask();
  }

 public Q_SLOTS:
  void take(const QString& space, const QString& key, const QDBusVariant& value) {
    if (space == appearance && key == colourScheme) changed_(schemeIn(value.variant()));
  }

 private:
  void ask() {
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("Read"));
    question << appearance << colourScheme;
    auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
      const QDBusPendingReply<QDBusVariant> reply = *watcher;
      if (reply.isValid()) changed_(schemeIn(reply.value().variant()));
      watcher->deleteLater();
    });
    QEventLoop answer;
    connect(watcher, &QDBusPendingCallWatcher::finished, &answer, &QEventLoop::quit);
    QTimer::singleShot(patience, &answer, &QEventLoop::quit);
    answer.exec();
  }

  QDBusConnection bus_;
  std::function<void(ColourScheme)> changed_;
};

/// Without one, asking for it could start one.
bool hasSessionBus() {
  return qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
         QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

}  // namespace

std::unique_ptr<QObject> watchPortal(const QString& address, std::function<void(ColourScheme)> changed) {
  if (address.isEmpty() && !hasSessionBus()) return nullptr;
  const QDBusConnection bus =
      address.isEmpty() ? QDBusConnection::sessionBus() : QDBusConnection::connectToBus(address, address);
  if (!bus.isConnected()) return nullptr;
  return std::make_unique<PortalWatch>(bus, std::move(changed));
}

}  // namespace tervo::ui

#include "portal_dbus.moc"

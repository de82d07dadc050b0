// The desktop's choice of dark and light, as a portal on a message bus of the test's own tells it.

#include "tests/ui/waiting.h"
#include "ui/theme/theme.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace tervo::ui {
namespace {

bool isDark() {
  return QApplication::palette().color(QPalette::Base).lightness() < 128;
}

class FakePortal final : public QDBusVirtualObject {
 public:
  uint scheme = 0;
  QString introspect(const QString&) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
    if (message.member() != QStringLiteral("Read")) return false;
    const bool isKnown = message.arguments() == QVariantList{space, key};
    const QVariant value = QVariant::fromValue(QDBusVariant(QVariant::fromValue(QDBusVariant(scheme))));
    return bus.send(isKnown ? message.createReply(value)
                            : message.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("unknown")));
  }
  void change(const QDBusConnection& bus, uint to, const QString& what = key) {
    QDBusMessage signal = QDBusMessage::createSignal(path, QStringLiteral("org.freedesktop.portal.Settings"),
                                                     QStringLiteral("SettingChanged"));
    bus.send(signal << space << what << QVariant::fromValue(QDBusVariant(to)));
  }

  static inline const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
  static inline const auto space = QStringLiteral("org.freedesktop.appearance");
  static inline const auto key = QStringLiteral("color-scheme");
};

class ThemeTest : public testing::Test {
 protected:
  ThemeTest() {
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home_.path()));
    daemon_.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                   QStringLiteral("--address=unix:dir=") + home_.path()});
    if (daemon_.waitForStarted() && daemon_.waitForReadyRead())
      address = QString::fromLocal8Bit(daemon_.readLine()).trimmed();
  }
  ~ThemeTest() override {
    QApplication::setPalette(QPalette());
    QDBusConnection::disconnectFromBus(address);
    QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
    daemon_.kill();
    daemon_.waitForFinished();
    before_.isNull() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", before_);
  }

  QDBusConnection offer(FakePortal& portal) const {
    QDBusConnection bus = QDBusConnection::connectToBus(address, QStringLiteral("portal"));
    EXPECT_TRUE(bus.registerVirtualObject(FakePortal::path, &portal));
    EXPECT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    return bus;
  }
  void writeGtkSettings(const char* text) const {
    QDir(home_.path()).mkpath(QStringLiteral("gtk-3.0"));
    QFile file(home_.filePath(QStringLiteral("gtk-3.0/settings.ini")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
  }

  QString address;

 private:
  const QByteArray before_ = qgetenv("XDG_CONFIG_HOME");
  QTemporaryDir home_;
  QProcess daemon_;
};

TEST_F(ThemeTest, IsWhatThePortalSaysFromTheStartAndFollowsIt) {
  if (address.isEmpty()) GTEST_SKIP() << "no dbus-daemon here";
  const QPalette own = QApplication::palette();
  FakePortal portal;
  portal.scheme = 1;
  const QDBusConnection bus = offer(portal);
  const Theme theme(address);
  EXPECT_TRUE(isDark());
  portal.change(bus, 2);
  EXPECT_TRUE(waitUntil([] { return !isDark(); }));
  portal.change(bus, 1);
  EXPECT_TRUE(waitUntil([] { return isDark(); }));
  portal.change(bus, 0, QStringLiteral("contrast"));
  portal.change(bus, 0);
  EXPECT_TRUE(waitUntil([&] { return QApplication::palette() == own; }));
}

// Where nobody answers on the bus.
TEST_F(ThemeTest, GoesByTheSettingsOfGtkWithoutAPortal) {
  for (const auto& [text, dark] : {std::pair("", false), std::pair("[Settings]\ngtk-theme-name = Adwaita\n", false),
                                   std::pair("[Settings]\ngtk-theme-name = Greybird-dark\n", true),
                                   std::pair("[Settings]\ngtk-application-prefer-dark-theme=0\n", false),
                                   std::pair("[Settings]\ngtk-application-prefer-dark-theme = True\n", true)}) {
    writeGtkSettings(text);
    const Theme theme(address.isEmpty() ? QStringLiteral("unix:path=/nowhere") : address);
    EXPECT_EQ(isDark(), dark) << text;
    QApplication::setPalette(QPalette());
  }
}

}  // namespace
}  // namespace tervo::ui

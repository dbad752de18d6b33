// Idle time from a real X server (Xvfb's MIT-SCREEN-SAVER) and, where the
// extension cannot be used, from a mocked GNOME idle monitor.

#include <gtest/gtest.h>

#include <QDBusMessage>
#include <QStandardPaths>
#include <QThread>
#include <vector>

#include "platform/linux/LinuxIdleTimeSource.h"
#include "harness/PrivateDBus.h"
#include "harness/XvfbServer.h"

namespace {

const QByteArray kNoDisplay = QByteArrayLiteral(":4093");

}  // namespace

TEST(LinuxIdleTimeSourceTest, MeasuresIdleOnXServerAndResetsOnInput) {
    XvfbServer xvfb;
    QString whyNot;
    if (!xvfb.start(&whyNot)) {
        GTEST_SKIP() << whyNot.toStdString();
    }
    const QString xdotool = QStandardPaths::findExecutable(QStringLiteral("xdotool"));
    if (xdotool.isEmpty()) {
        GTEST_SKIP() << "xdotool is not installed";
    }
    LinuxIdleTimeSource source(xvfb.display().toUtf8());
    ASSERT_EQ(source.method(), LinuxIdleTimeSource::Method::X11ScreenSaver);
    ASSERT_TRUE(source.isAvailable());

    ASSERT_TRUE(xvfb.run(xdotool, {QStringLiteral("key"), QStringLiteral("shift")}));
    QThread::msleep(1300);
    const double before = source.secondsSinceLastInput();
    EXPECT_GE(before, 1.2);
    EXPECT_LT(before, 10.0);

    ASSERT_TRUE(xvfb.run(xdotool, {QStringLiteral("key"), QStringLiteral("shift")}));
    EXPECT_LT(source.secondsSinceLastInput(), 0.5);
}

TEST(LinuxIdleTimeSourceTest, FallsBackToSessionBusServicesWithoutX) {
    struct Reading {
        uint stored;  // in the service's own unit
        double seconds;
    };
    const struct {
        const char* name;
        const char* service;
        const char* path;
        const char* templateFile;
        const char* setter;
        LinuxIdleTimeSource::Method method;
        std::vector<Reading> readings;
    } cases[] = {
        {"GNOME idle monitor (milliseconds)",
         "org.gnome.Mutter.IdleMonitor",
         "/org/gnome/Mutter/IdleMonitor/Core",
         "mutter_idle_monitor.py",
         "SetIdletime",
         LinuxIdleTimeSource::Method::MutterIdleMonitor,
         {{0, 0.0}, {1500, 1.5}, {151000, 151.0}}},
        {"freedesktop screen saver (seconds)",
         "org.freedesktop.ScreenSaver",
         "/org/freedesktop/ScreenSaver",
         "freedesktop_screensaver.py",
         "SetSessionIdleTime",
         LinuxIdleTimeSource::Method::FreedesktopScreenSaver,
         {{0, 0.0}, {2, 2.0}, {151, 151.0}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        PrivateDBus bus(PrivateDBus::Type::Session);
        QString whyNot;
        const QString service = QString::fromLatin1(c.service);
        if (!bus.start(&whyNot) || !bus.startMock(service,
                                                  {QStringLiteral("--template"),
                                                   QStringLiteral(VORLIX_TEST_HARNESS_DIR "/") +
                                                       QString::fromLatin1(c.templateFile)},
                                                  &whyNot)) {
            GTEST_SKIP() << whyNot.toStdString();
        }
        LinuxIdleTimeSource source(kNoDisplay, bus.connection());
        ASSERT_EQ(source.method(), c.method);
        for (const Reading& reading : c.readings) {
            SCOPED_TRACE(reading.stored);
            const QVariant value = c.method == LinuxIdleTimeSource::Method::MutterIdleMonitor
                                       ? QVariant::fromValue(qulonglong(reading.stored))
                                       : QVariant::fromValue(reading.stored);
            const QDBusMessage reply = bus.call(service, QString::fromLatin1(c.path),
                                                QStringLiteral("org.freedesktop.DBus.Mock"),
                                                QString::fromLatin1(c.setter), {value});
            ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage)
                << reply.errorMessage().toStdString();
            EXPECT_DOUBLE_EQ(source.secondsSinceLastInput(), reading.seconds);
        }
        // The service goes away: the user counts as active rather than idle.
        bus.stop();
        EXPECT_EQ(source.secondsSinceLastInput(), 0.0);
    }
}

TEST(LinuxIdleTimeSourceTest, NeverIdleWhenNothingCanMeasureIt) {
    PrivateDBus bus(PrivateDBus::Type::Session);
    QString whyNot;
    if (!bus.start(&whyNot)) {
        GTEST_SKIP() << whyNot.toStdString();
    }
    LinuxIdleTimeSource source(kNoDisplay, bus.connection());
    EXPECT_EQ(source.method(), LinuxIdleTimeSource::Method::None);
    EXPECT_FALSE(source.isAvailable());
    EXPECT_EQ(source.secondsSinceLastInput(), 0.0);
}

// A helper started as a user service belongs to no session: logind has no
// answer to GetSessionByPID and there is no XDG_SESSION_ID. Our session is
// then the one of our user's graphical sessions that shows our display.

#include <gtest/gtest.h>

#include <unistd.h>
#include <QDBusMessage>
#include <QDBusObjectPath>

#include "harness/LogindMock.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"

namespace {

struct Session {
    const char* id;
    const char* type;
    const char* display;
    bool active;
    bool ours;
};

}  // namespace

TEST(LogindGraphicalSessionTest, UserServiceFindsTheGraphicalSessionOnItsDisplay) {
    // clang-format off
    const struct {
        const char* name;
        std::vector<Session> sessions;
        const char* display;   // our $DISPLAY; nullptr: unset
        const char* expected;  // session id; "" for none
    } cases[] = {
        {"our display over the active one", {{"a1", "x11", ":0", true, true}, {"a2", "x11", ":1", false, true}}, ":1.0", "a2"},
        {"the active graphical one, never a console",
         {{"b1", "tty", "", true, true}, {"b2", "x11", ":3", false, true}, {"b3", "wayland", "", true, true}}, nullptr, "b3"},
        {"another user's session on our display", {{"c1", "x11", ":5", true, false}, {"c2", "x11", ":6", false, true}}, ":5", "c2"},
        {"no graphical session", {{"d1", "tty", "", true, true}}, ":7", ""},
    };
    // clang-format on
    PrivateDBus bus(PrivateDBus::Type::System);
    QString whyNot;
    // The mock's own session (uid 1000, type "test") is never graphical.
    if (!bus.start(&whyNot) || !LogindMock::start(bus, QStringLiteral("mock"), false, &whyNot)) {
        GTEST_SKIP() << whyNot.toStdString();
    }
    const auto mock = [&](const QString& path, const char* method, const QVariantList& arguments) {
        return bus.call(QString::fromLatin1(LogindMock::kService), path, QStringLiteral("org.freedesktop.DBus.Mock"),
                        QLatin1String(method), arguments)
                   .type() == QDBusMessage::ReplyMessage;
    };
    const QString manager = QStringLiteral("/org/freedesktop/login1");
    const QByteArray savedDisplay = qgetenv("DISPLAY");
    qunsetenv("XDG_SESSION_ID");
    qunsetenv("XDG_SEAT");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const Session& s : c.sessions) {
            const uint uid = s.ours ? ::getuid() : ::getuid() + 1000;
            const QString path = LogindMock::sessionPath(QLatin1String(s.id));
            ASSERT_TRUE(mock(manager, "AddSession", {QLatin1String(s.id), QStringLiteral("seat0"), uid,
                                                      QStringLiteral("u%1").arg(uid), s.active}));
            ASSERT_TRUE(mock(path, "UpdateProperties",
                             {QStringLiteral("org.freedesktop.login1.Session"),
                              QVariantMap{{QStringLiteral("Type"), QLatin1String(s.type)},
                                          {QStringLiteral("Display"), QLatin1String(s.display)}}}));
        }
        if (c.display) qputenv("DISPLAY", c.display);
        else qunsetenv("DISPLAY");
        LogindPowerAndSessionEvents events(bus.connection());
        ASSERT_TRUE(events.start());
        EXPECT_EQ(events.sessionPath(), *c.expected ? LogindMock::sessionPath(QLatin1String(c.expected)) : QString());
        for (const Session& s : c.sessions) {
            mock(manager, "RemoveObject", {QVariant::fromValue(QDBusObjectPath(LogindMock::sessionPath(QLatin1String(s.id))))});
        }
    }
    qputenv("DISPLAY", savedDisplay);
}

// A helper started as a user service belongs to no session: logind has no
// answer to GetSessionByPID and there is no XDG_SESSION_ID. Our session is
// then the one of our user's graphical sessions that shows our display.

#include <gtest/gtest.h>

#include <unistd.h>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QVariantMap>

#include "harness/LogindMock.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"

namespace {

struct Session {
    const char* id;
    const char* type;
    const char* display;
    bool active;
    bool ours = true;  // else another user's
};

const QString kMock = QStringLiteral("org.freedesktop.DBus.Mock");

bool mockCall(PrivateDBus& bus, const QString& path, const QString& method, const QVariantList& arguments) {
    return bus.call(QString::fromLatin1(LogindMock::kService), path, kMock, method, arguments).type() ==
           QDBusMessage::ReplyMessage;
}

// Adds the session to the mock with the properties logind would give it.
bool addSession(PrivateDBus& bus, const Session& s) {
    const uint uid = s.ours ? ::getuid() : ::getuid() + 1000;
    const QString path = LogindMock::sessionPath(QLatin1String(s.id));
    const QVariantMap properties{{QStringLiteral("Type"), QLatin1String(s.type)},
                                 {QStringLiteral("Display"), QLatin1String(s.display)}};
    return mockCall(bus, QStringLiteral("/org/freedesktop/login1"), QStringLiteral("AddSession"),
                    {QLatin1String(s.id), QStringLiteral("seat0"), uid, QStringLiteral("u%1").arg(uid), s.active}) &&
           mockCall(bus, path, QStringLiteral("UpdateProperties"),
                    {QStringLiteral("org.freedesktop.login1.Session"), properties});
}

}  // namespace

TEST(LogindGraphicalSessionTest, UserServiceFindsTheGraphicalSessionOnItsDisplay) {
    const struct {
        const char* name;
        std::vector<Session> sessions;
        const char* display;  // our $DISPLAY; nullptr: unset
        const char* expected;  // session id; "" for none
    } cases[] = {
        {"our display over the active session", {{"a1", "x11", ":0", true}, {"a2", "x11", ":1", false}}, ":1.0", "a2"},
        {"graphical over a text console", {{"b1", "tty", "", true}, {"b2", "wayland", "", false}}, nullptr, "b2"},
        {"the active one when the display tells nothing", {{"c1", "x11", ":3", false}, {"c2", "x11", ":4", true}}, nullptr, "c2"},
        {"another user's session on our display", {{"d1", "x11", ":5", true, false}, {"d2", "x11", ":6", false}}, ":5", "d2"},
        {"no graphical session", {{"e1", "tty", "", true}}, ":7", ""},
    };
    const QByteArray savedDisplay = qgetenv("DISPLAY");
    qunsetenv("XDG_SESSION_ID");
    qunsetenv("XDG_SEAT");
    PrivateDBus bus(PrivateDBus::Type::System);
    QString whyNot;
    // The mock's own session (uid 1000, type "test") is never graphical.
    if (!bus.start(&whyNot) || !LogindMock::start(bus, QStringLiteral("mock"), false, &whyNot)) {
        GTEST_SKIP() << whyNot.toStdString();
    }
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        for (const Session& s : c.sessions) ASSERT_TRUE(addSession(bus, s)) << s.id;
        if (c.display) qputenv("DISPLAY", c.display);
        else qunsetenv("DISPLAY");
        LogindPowerAndSessionEvents events(bus.connection());
        ASSERT_TRUE(events.start());
        EXPECT_EQ(events.sessionPath(), *c.expected ? LogindMock::sessionPath(QLatin1String(c.expected)) : QString());
        for (const Session& s : c.sessions) {
            mockCall(bus, QStringLiteral("/org/freedesktop/login1"), QStringLiteral("RemoveObject"),
                     {QVariant::fromValue(QDBusObjectPath(LogindMock::sessionPath(QLatin1String(s.id))))});
        }
    }
    qputenv("DISPLAY", savedDisplay);
}

// The Linux idle time and logind sources on mocked services of a private
// bus, driving the tracking loop. (The X server's idle counter drives the
// real helper in the end-to-end test.)

#include <gtest/gtest.h>

#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <unistd.h>

#include "fakes/FakeActivityRecorder.h"
#include "fakes/FakeActivitySource.h"
#include "fakes/FakeIdleTimeSource.h"
#include "fakes/QtTestPrinters.h"
#include "harness/DesktopTest.h"
#include "harness/DisposableDesktop.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/LinuxIdleTimeSource.h"
#include "platform/linux/LogindPowerAndSessionEvents.h"
#include "tracking/TRClock.h"
#include "tracking/TRInfoLogger.h"

namespace {

const QByteArray kNoDisplay = QByteArrayLiteral(":4093");

bool waitUntil(const std::function<bool()>& condition) {
    return DisposableDesktop::waitWithEvents(condition);
}

void tickAndWait(TRInfoLogger& logger) {
    logger.trackingHandler();
    ASSERT_TRUE(waitUntil([&] { return !logger.isTickInFlight(); }));
}

}  // namespace

// Without the X extension: a desktop's idle service on the session bus,
// and never idle when there is none.
TEST(LinuxIdleTimeSourceTest, FallsBackToSessionBusServicesWithoutX) {
    const struct {
        const char* service;
        const char* path;
        const char* method;
        const char* type;
        LinuxIdleTimeSource::Method expected;
        std::vector<std::pair<int, double>> readings;  // in the service's unit, then seconds
    } cases[] = {
        {"org.gnome.Mutter.IdleMonitor", "/org/gnome/Mutter/IdleMonitor/Core", "GetIdletime", "t",
         LinuxIdleTimeSource::Method::MutterIdleMonitor, {{0, 0.0}, {1500, 1.5}, {151000, 151.0}}},
        {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver", "GetSessionIdleTime", "u",
         LinuxIdleTimeSource::Method::FreedesktopScreenSaver, {{0, 0.0}, {2, 2.0}, {151, 151.0}}},
        {nullptr, nullptr, nullptr, nullptr, LinuxIdleTimeSource::Method::None, {{0, 0.0}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.service ? c.service : "nothing");
        PrivateDBus bus(PrivateDBus::Type::Session);
        QString whyNot;
        QTemporaryDir folder;
        const QString reading = folder.filePath(QStringLiteral("idle"));
        const QString service = QLatin1String(c.service), path = QLatin1String(c.path);
        if (!bus.start(&whyNot) ||
            (c.service && !bus.startMock(service, {service, path, service}, &whyNot))) {
            GTEST_SKIP() << qPrintable(whyNot);
        }
        // The mock answers what the test last wrote to a file.
        ASSERT_TRUE(!c.service || bus.mock(service, path, QStringLiteral("AddMethod"),
                                           {service, QLatin1String(c.method), QString(), QLatin1String(c.type),
                                            QStringLiteral("ret = int(open('%1').read())").arg(reading)}));
        const auto write = [&](int stored) {
            QFile file(reading);
            return file.open(QIODevice::WriteOnly) && file.write(QByteArray::number(stored)) > 0;
        };
        ASSERT_TRUE(write(0));
        LinuxIdleTimeSource source(kNoDisplay, bus.connection());
        ASSERT_EQ(source.method(), c.expected);
        EXPECT_EQ(source.isAvailable(), c.service != nullptr);
        for (const auto& [stored, seconds] : c.readings) {
            SCOPED_TRACE(stored);
            ASSERT_TRUE(write(stored));
            EXPECT_DOUBLE_EQ(source.secondsSinceLastInput(), seconds);
        }
        // The service goes away: the user counts as active rather than idle.
        bus.stop();
        EXPECT_EQ(source.secondsSinceLastInput(), 0.0);
    }
}

// On X the server is asked only after its alarm announced an input; in
// between, the answer is the last one plus the time since, and the server
// hears nothing. The steps run in order, as the loop's ticks would.
TEST(LinuxIdleTimeSourceTest, X11AnswersFollowInputWithoutAskingBetweenInputs) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("xdotool");
    LinuxIdleTimeSource source(g_desktop->display().toUtf8());
    ASSERT_EQ(source.method(), LinuxIdleTimeSource::Method::X11ScreenSaver);
    const struct {
        const char* what;
        const char* input;  // xdotool's arguments; then quietMs without input, and the tick
        int quietMs;
        bool keyWhileAnswering, asksNothing;  // a key between the question and its answer
    } steps[] = {{"a key press", "key shift", 300, false, false},
                 {"1.5 s without input", nullptr, 1500, false, true},
                 {"a pointer move", "mousemove 120 300", 300, false, false},
                 {"a key right after the alarm was set again", "key shift", 300, false, false},
                 {"a key while the answer is on its way", "key shift", 100, true, false},
                 {"1.5 s without input after it", nullptr, 1500, false, false},
                 {"1.5 s more", nullptr, 1500, false, true}};
    QElapsedTimer sinceInput;
    const auto touch = [&](const char* input) {
        const bool done =
            g_desktop->run(QStringLiteral("xdotool"), QString::fromLatin1(input).split(u' '));
        sinceInput.start();
        return done;
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.what);
        ASSERT_TRUE(!s.input || touch(s.input));
        QThread::msleep(s.quietMs);
        const quint64 sent = source.bytesSentToX();
        source.prepareSecondsSinceLastInput();
        if (s.keyWhileAnswering) {
            QThread::msleep(60);
            ASSERT_TRUE(touch("key shift"));
            QThread::msleep(120);
        }
        const double idle = source.secondsSinceLastInput();
        if (!s.keyWhileAnswering) {
            EXPECT_NEAR(idle, sinceInput.nsecsElapsed() / 1e9, 0.15);
        }
        if (s.asksNothing) {
            EXPECT_EQ(source.bytesSentToX(), sent);
        }
    }
}

namespace {

// Sleep and session switches from a mocked logind on a private system bus,
// through the real Linux source into the tracking loop.
class LogindTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        if (!bus.start(&whyNot) || !LogindMock::start(bus, QStringLiteral("c1"), true, &whyNot))
            GTEST_SKIP() << qPrintable(whyNot);
    }
    void startTracking() {
        events = std::make_unique<LogindPowerAndSessionEvents>(bus.connection());
        ASSERT_TRUE(events->start());
        ASSERT_EQ(events->sessionPath(), QStringLiteral("/org/freedesktop/login1/session/c1"));
        TRInfoLoggerDependencies loop;
        loop.activitySource = &source;
        loop.recorder = &recorder;
        loop.idleTimeSource = &idle;
        loop.clock = &clock;
        loop.powerAndSessionEvents = events.get();
        loop.settings = &settings;
        loop.runTimers = false;
        logger = std::make_unique<TRInfoLogger>(std::move(loop));
        source.setFront(FakeActivitySource::activityFor(101, QStringLiteral("xterm")));
        logger->setShouldTrack(true);
        for (int i = 0; i < 30; ++i) {
            clock.advance(1.0);
            idle.touch();
            tickAndWait(*logger);
        }
    }
    int inhibitors() { return LogindMock::sleepDelayInhibitors(bus, QStringLiteral("VorlixHelper")); }

    PrivateDBus bus{PrivateDBus::Type::System};
    TRSettings settings{QString()};
    SimulatedClock clock;
    FakeIdleTimeSource idle{clock};
    FakeActivitySource source;
    FakeActivityRecorder recorder;
    std::vector<int> heldAtSave;  // the inhibitors at each save
    std::unique_ptr<LogindPowerAndSessionEvents> events;
    std::unique_ptr<TRInfoLogger> logger;
};

}  // namespace

TEST_F(LogindTest, SleepStoresAndSavesBeforeInhibitorIsReleased) {
    startTracking();
    const QDateTime start = clock.at(-29);
    EXPECT_EQ(inhibitors(), 1);
    // The save must come before the machine may sleep.
    recorder.onSave = [this] { heldAtSave.push_back(inhibitors()); };
    ASSERT_TRUE(LogindMock::emitPrepareForSleep(bus, true));
    ASSERT_TRUE(waitUntil([this] { return recorder.saves() > 0; }));
    ASSERT_EQ(recorder.stored().size(), 1u);
    EXPECT_EQ(recorder.stored()[0].start, start);
    EXPECT_EQ(recorder.stored()[0].stop, clock.now());
    EXPECT_EQ(heldAtSave, std::vector<int>{1});
    EXPECT_TRUE(waitUntil([this] { return inhibitors() == 0; })) << "released after the save";
    EXPECT_FALSE(logger->isTracking());
}

TEST_F(LogindTest, SessionSwitchStopsAndRestartsTracking) {
    startTracking();
    const QDateTime start = clock.at(-29);
    ASSERT_TRUE(LogindMock::setSessionActive(bus, QStringLiteral("c1"), false));
    ASSERT_TRUE(waitUntil([this] { return !logger->isTracking(); }));
    ASSERT_EQ(recorder.stored().size(), 1u);
    EXPECT_EQ(recorder.stored()[0].start, start);
    EXPECT_EQ(recorder.saves(), 1);

    clock.advance(300.0);
    ASSERT_TRUE(LogindMock::setSessionActive(bus, QStringLiteral("c1"), true));
    ASSERT_TRUE(waitUntil([this] { return logger->isTracking(); }));
    clock.advance(1.0);
    idle.touch();
    tickAndWait(*logger);
    EXPECT_EQ(logger->previousActivityStartDate(), clock.now());
    EXPECT_EQ(recorder.stored().size(), 1u) << "nothing credited while switched out";
}

// A locked screen is not time at the computer: the lock (logind's
// LockedHint or the desktop's screen saver) ends the interval at the lock,
// also with a media player in front, and unlocking is a return that starts
// no earlier than the unlock.
TEST_F(LogindTest, LockEndsTheIntervalAtTheLockAndUnlockIsAReturn) {
    PrivateDBus session(PrivateDBus::Type::Session);
    const QString saver = QStringLiteral("org.freedesktop.ScreenSaver");
    const QString saverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
    QString whyNot;
    if (!session.start(&whyNot) || !session.startMock(saver, {saver, saverPath, saver}, &whyNot))
        GTEST_SKIP() << qPrintable(whyNot);
    startTracking();
    events->followScreenSaver(session.connection());
    const auto setLocked = [&](bool viaScreenSaver, bool locked) {
        const bool sent =
            viaScreenSaver
                ? session.mock(saver, saverPath, QStringLiteral("EmitSignal"),
                               {saver, QStringLiteral("ActiveChanged"), QStringLiteral("b"),
                                QVariant::fromValue(QVariantList{locked})})
                : bus.mock(QStringLiteral("org.freedesktop.login1"),
                           QStringLiteral("/org/freedesktop/login1/session/c1"), QStringLiteral("UpdateProperties"),
                           {QStringLiteral("org.freedesktop.login1.Session"),
                            QVariantMap{{QStringLiteral("LockedHint"), locked}}});
        return sent && waitUntil([&] { return logger->screenLocked() == locked; });
    };
    const struct {
        const char* front;
        bool viaScreenSaver;
        int returnDelay;  // a player is never idle: back at the first tick after the unlock
    } cases[] = {{"xterm", false, 0}, {"vlc", false, 1}, {"xterm", true, 0}};
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        source.setFront(FakeActivitySource::activityFor(200 + i, QLatin1String(cases[i].front)));
        QDateTime start, lockedAt, unlockedAt;
        for (int s = 1; s <= 45; ++s) {
            SCOPED_TRACE("second " + std::to_string(s));
            clock.advance(1.0);
            if (s <= 10 || s > 41) idle.touch();  // nobody types while locked
            tickAndWait(*logger);
            if (s == 1) start = clock.now();
            if (s == 10 || s == 40) {
                ASSERT_TRUE(setLocked(cases[i].viaScreenSaver, s == 10));
                (s == 10 ? lockedAt : unlockedAt) = clock.now();
            }
            EXPECT_EQ(logger->userWasIdle(), s >= 10 && s <= 40);
        }
        EXPECT_EQ(recorder.stored().back().start, start);
        EXPECT_EQ(recorder.stored().back().stop, lockedAt);
        EXPECT_EQ(logger->previousActivityStartDate(), unlockedAt.addSecs(cases[i].returnDelay))
            << "not backdated into the lock";
    }
}

// A helper started as a user service belongs to no session: our session is
// then the one of our user's graphical sessions that shows our display.
TEST(LogindSessionLookupTest, UserServiceFindsTheGraphicalSessionOnItsDisplay) {
    struct Session {
        const char* id;
        const char* type;
        const char* display;
        bool active;
        bool ours;
    };
    // clang-format off
    const struct {
        std::vector<Session> sessions;
        const char* display;   // our $DISPLAY; nullptr: unset
        const char* expected;  // session id; "" for none
    } cases[] = {
        {{{"a1", "x11", ":0", true, true}, {"a2", "x11", ":1", false, true}}, ":1.0", "a2"},
        {{{"b1", "tty", "", true, true}, {"b2", "x11", ":3", false, true}, {"b3", "wayland", "", true, true}}, nullptr, "b3"},
        {{{"c1", "x11", ":5", true, false}, {"c2", "x11", ":6", false, true}}, ":5", "c2"},
        {{{"d1", "tty", "", true, true}}, ":7", ""},
    };
    // clang-format on
    PrivateDBus bus(PrivateDBus::Type::System);
    QString whyNot;
    // The mock's own session (uid 1000, type "test") is never graphical.
    if (!bus.start(&whyNot) || !LogindMock::start(bus, QStringLiteral("mock"), false, &whyNot))
        GTEST_SKIP() << qPrintable(whyNot);
    const auto mock = [&](const QString& path, const char* method, const QVariantList& arguments) {
        return bus.mock(QStringLiteral("org.freedesktop.login1"), path, QLatin1String(method), arguments);
    };
    const QString manager = QStringLiteral("/org/freedesktop/login1");
    const QByteArray savedDisplay = qgetenv("DISPLAY");
    qunsetenv("XDG_SESSION_ID");
    qunsetenv("XDG_SEAT");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        for (const Session& s : c.sessions) {
            const uint uid = s.ours ? ::getuid() : ::getuid() + 1000;
            ASSERT_TRUE(mock(manager, "AddSession", {QLatin1String(s.id), QStringLiteral("seat0"), uid,
                                                      QStringLiteral("u%1").arg(uid), s.active}));
            ASSERT_TRUE(mock(manager + QStringLiteral("/session/") + QLatin1String(s.id), "UpdateProperties",
                             {QStringLiteral("org.freedesktop.login1.Session"),
                              QVariantMap{{QStringLiteral("Type"), QLatin1String(s.type)},
                                          {QStringLiteral("Display"), QLatin1String(s.display)}}}));
        }
        c.display ? qputenv("DISPLAY", c.display) : qunsetenv("DISPLAY");
        LogindPowerAndSessionEvents events(bus.connection());
        ASSERT_TRUE(events.start());
        EXPECT_EQ(events.sessionPath(),
                  *c.expected ? manager + QStringLiteral("/session/") + QLatin1String(c.expected) : QString());
        for (const Session& s : c.sessions) {
            mock(manager, "RemoveObject",
                 {QVariant::fromValue(QDBusObjectPath(manager + QStringLiteral("/session/") + QLatin1String(s.id)))});
        }
    }
    qputenv("DISPLAY", savedDisplay);
}

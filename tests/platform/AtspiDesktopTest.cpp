// Accessibility and the scripting terms against real browsers and editors:
// each browser test starts its browser once and checks everything about it
// in that one run.

#include <QElapsedTimer>
#include <QFile>
#include <functional>

#include <signal.h>

#include "DesktopTestSupport.h"
#include "platform/linux/LinuxRunningApplications.h"

namespace {

std::optional<AccessibilityValue> windowAttribute(qint64 pid, const char* windowAttributeName,
                                                  const char* attribute) {
    AccessibilityElementRef app = accessibility().applicationElement(qint32(pid));
    if (!app) return std::nullopt;
    const auto window = app->copyAttributeValue(QLatin1String(windowAttributeName));
    if (!window) return std::nullopt;
    const auto* element = std::get_if<AccessibilityElementRef>(&*window);
    if (element == nullptr || !*element) return std::nullopt;
    return (*element)->copyAttributeValue(QLatin1String(attribute));
}

QString stringOf(const std::optional<AccessibilityValue>& value) {
    const QString* text = value ? std::get_if<QString>(&*value) : nullptr;
    return text ? *text : QString();
}

QString pageAddress(qint64 pid) {
    return stringOf(windowAttribute(pid, "AXMainWindow", "AXDocument"));
}

bool waitForPageAddress(qint64 pid, const QString& address) {
    return DisposableDesktop::waitUntil([&] { return pageAddress(pid) == address; }, kPageTimeoutMs, 200);
}

void expectIdentity(qint64 pid, const QString& id, const QString& name) {
    LinuxRunningApplications applications(windows());
    const std::optional<RunningApplication> application = applications.runningApplication(qint32(pid));
    ASSERT_TRUE(application);
    EXPECT_EQ(application->bundleIdentifier, id);
    EXPECT_EQ(application->localizedName, name);
}

// What the accessibility registry lists, for failure messages.
QString registeredApplications() {
    QByteArray address;
    g_desktop->run(QStringLiteral("gdbus"),
                   {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
                    QStringLiteral("org.a11y.Bus"), QStringLiteral("--object-path"), QStringLiteral("/org/a11y/bus"),
                    QStringLiteral("--method"), QStringLiteral("org.a11y.Bus.GetAddress")},
                   &address);
    const QByteArray bus = address.mid(address.indexOf('\'') + 1).split('\'').value(0);
    QByteArray children;
    g_desktop->run(QStringLiteral("gdbus"),
                   {QStringLiteral("call"), QStringLiteral("--address"), QString::fromLatin1(bus),
                    QStringLiteral("--dest"), QStringLiteral("org.a11y.atspi.Registry"), QStringLiteral("--object-path"),
                    QStringLiteral("/org/a11y/atspi/accessible/root"), QStringLiteral("--method"),
                    QStringLiteral("org.a11y.atspi.Accessible.GetChildren")},
                   &children);
    return QStringLiteral(" registry: ") + QString::fromLatin1(children);
}

qint64 startAndActivate(const std::function<qint64()>& start) {
    const qint64 pid = start();
    if (pid <= 0) return -1;
    const auto window = g_desktop->waitForWindowOfProcess(pid, kPageTimeoutMs);
    if (!window || !g_desktop->activateWindow(*window)) return -1;
    return pid;
}

}  // namespace

// Everything about Firefox in one run: its identity, the page address and a
// tab switch, the scripting target's terms, and a stopped Firefox.
TEST(AtspiAccessibilityTest, FirefoxPageAddressFollowsTabsAndAStoppedFirefoxCostsOneTimeout) {
    REQUIRE_DESKTOP();
    if (!DisposableDesktop::missingTool({QStringLiteral("firefox-esr")}).isEmpty()) GTEST_SKIP() << "no firefox-esr";
    ASSERT_FALSE(site().isEmpty());
    // Asking before Firefox has registered checks that a later look finds it.
    const qint64 pid = startAndActivate([] {
        const qint64 started = g_desktop->startFirefox({page("three"), page("four")});
        EXPECT_EQ(accessibility().applicationElement(qint32(started)), nullptr);
        return started;
    });
    ASSERT_GT(pid, 0);
    expectIdentity(pid, QStringLiteral("firefox-esr"), QStringLiteral("Firefox ESR"));

    const auto pressKeys = [](const char* keys) {
        return g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("key"), QLatin1String(keys)});
    };
    QString seen;
    ASSERT_TRUE(DisposableDesktop::waitUntil(
        [&] {
            seen = pageAddress(pid);
            return seen.startsWith(site().toString());
        },
        kPageTimeoutMs, 200))
        << qPrintable(seen) << qPrintable(registeredApplications());
    ASSERT_TRUE(pressKeys("alt+1"));
    EXPECT_TRUE(waitForPageAddress(pid, page("three"))) << qPrintable(pageAddress(pid));
    ASSERT_TRUE(pressKeys("alt+2"));
    EXPECT_TRUE(waitForPageAddress(pid, page("four"))) << qPrintable(pageAddress(pid));

    {
        SCOPED_TRACE("window document source");
        const auto document = accessibility().document(qint32(pid), 1);
        ASSERT_TRUE(document.has_value());
        EXPECT_EQ(QUrl(document->address), QUrl(page("four")));
        // With an address, the name is not asked for.
        EXPECT_TRUE(document->name.isEmpty());
        const auto windowName = accessibility().windowName(qint32(pid), 1);
        ASSERT_TRUE(windowName.has_value());
        EXPECT_TRUE(windowName->contains(QStringLiteral("page four")));
    }

    {
        SCOPED_TRACE("stopped application");
        ASSERT_EQ(kill(pid_t(pid), SIGSTOP), 0);
        // Let every thread reach the stopped state, as a program stopped
        // for real has long before the next tick.
        DisposableDesktop::waitUntil([pid] { return processState(pid) == 'T'; }, 2000, 5);
        QElapsedTimer timer;
        timer.start();
        const QString whileStopped = pageAddress(pid);
        const qint64 firstQueryMs = timer.elapsed();
        timer.restart();
        pageAddress(pid);
        const qint64 secondQueryMs = timer.elapsed();
        kill(pid_t(pid), SIGCONT);
        RecordProperty("stopped_first_query_ms", int(firstQueryMs));
        RecordProperty("stopped_second_query_ms", int(secondQueryMs));
        std::printf("stopped application: first query %lld ms, second %lld ms\n",
                    static_cast<long long>(firstQueryMs), static_cast<long long>(secondQueryMs));
        EXPECT_LT(firstQueryMs, 2000);
        EXPECT_LT(secondQueryMs, 2000);
        EXPECT_TRUE(whileStopped.isEmpty());
        EXPECT_TRUE(waitForPageAddress(pid, page("four")));  // answers again once resumed
    }
    g_desktop->stopProgram(pid);
}

TEST(AtspiAccessibilityTest, GtkEditorTitleSizeAndSheetComeFromItsAccessibles) {
    REQUIRE_DESKTOP();
    if (!DisposableDesktop::missingTool({QStringLiteral("gedit")}).isEmpty()) GTEST_SKIP() << "no gedit";
    const QString file = g_desktop->stateDir() + QStringLiteral("/home/letter.txt");
    QFile letter(file);
    ASSERT_TRUE(letter.open(QIODevice::WriteOnly));
    letter.write("dear reader\n");
    letter.close();
    const qint64 pid = startAndActivate([&] { return g_desktop->startGedit(file); });
    ASSERT_GT(pid, 0);
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] { return stringOf(windowAttribute(pid, "AXMainWindow", "AXTitle")).contains(QStringLiteral("letter.txt")); },
        kPageTimeoutMs, 200))
        << qPrintable(stringOf(windowAttribute(pid, "AXMainWindow", "AXTitle")));
    EXPECT_EQ(stringOf(windowAttribute(pid, "AXFocusedWindow", "AXRole")), QStringLiteral("AXWindow"));
    const auto size = windowAttribute(pid, "AXMainWindow", "AXSize");
    ASSERT_TRUE(size && std::holds_alternative<AXSize>(*size));
    EXPECT_GT(std::get<AXSize>(*size).width, 100);
    EXPECT_GT(std::get<AXSize>(*size).height, 100);
    const auto position = windowAttribute(pid, "AXMainWindow", "AXPosition");
    EXPECT_TRUE(position && std::holds_alternative<AXPoint>(*position));

    // The open dialog is a sheet on the document window.
    ASSERT_TRUE(g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("key"), QStringLiteral("ctrl+o")}));
    EXPECT_TRUE(DisposableDesktop::waitUntil(
        [&] { return stringOf(windowAttribute(pid, "AXMainWindow", "AXRole")) == QStringLiteral("AXSheet"); },
        kPageTimeoutMs, 100));
    const auto sheetParent = windowAttribute(pid, "AXMainWindow", "AXParent");
    const auto* parent = sheetParent ? std::get_if<AccessibilityElementRef>(&*sheetParent) : nullptr;
    ASSERT_TRUE(parent != nullptr && *parent);
    EXPECT_EQ(stringOf((*parent)->copyAttributeValue(QStringLiteral("AXRole"))), QStringLiteral("AXWindow"));
    EXPECT_TRUE(stringOf((*parent)->copyAttributeValue(QStringLiteral("AXTitle"))).contains(QStringLiteral("letter.txt")));
    g_desktop->stopProgram(pid);
}

TEST(AtspiAccessibilityTest, DesktopSwitchReportsAndTurnsAccessibilityOn) {
    REQUIRE_DESKTOP();
    EXPECT_TRUE(accessibility().isEnabled());
    ASSERT_TRUE(g_desktop->run(
        QStringLiteral("gdbus"),
        {QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"), QStringLiteral("org.a11y.Bus"),
         QStringLiteral("--object-path"), QStringLiteral("/org/a11y/bus"), QStringLiteral("--method"),
         QStringLiteral("org.freedesktop.DBus.Properties.Set"), QStringLiteral("org.a11y.Status"),
         QStringLiteral("IsEnabled"), QStringLiteral("<false>")}));
    // The switch is re-read every few seconds, not on every call.
    EXPECT_TRUE(DisposableDesktop::waitUntil([] { return !accessibility().isEnabled(); }, 8000, 250));
    EXPECT_TRUE(accessibility().enable());
    EXPECT_TRUE(accessibility().isEnabled());
}

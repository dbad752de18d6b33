// A dialog in front stands for the window it was opened on: with two
// document windows of one editor, an Open dialog on either one credits that
// window's document, not the application's first window.

#include <QFile>

#include "ExtractionDesktopSupport.h"
#include "platform/AccessibilityElement.h"

namespace {

QString writeHomeFile(const QString& name) {
    const QString path = g_desktop->stateDir() + QStringLiteral("/home/") + name;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) return {};
    file.write("a page of text\n");
    return path;
}

bool frontWindowNamed(const QString& name) {
    QByteArray out;
    return g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow"), QStringLiteral("getwindowname")}, &out) &&
           QString::fromUtf8(out.trimmed()) == name;
}

// Whether the accessibility tree has caught up: the application's main
// window is the dialog.
bool mainWindowIsASheet(qint64 pid) {
    bool sheet = false;
    runOnWorker([&] {
        AccessibilityElementRef app = g_context.accessibility->applicationElement(qint32(pid));
        const auto window = app ? app->copyAttributeValue(QStringLiteral("AXMainWindow")) : std::nullopt;
        const auto* element = window ? std::get_if<AccessibilityElementRef>(&*window) : nullptr;
        const auto role = element && *element ? (*element)->copyAttributeValue(QStringLiteral("AXRole")) : std::nullopt;
        sheet = role && std::get_if<QString>(&*role) && *std::get_if<QString>(&*role) == QStringLiteral("AXSheet");
    });
    return sheet;
}

bool key(const char* keys) {
    return g_desktop->run(QStringLiteral("xdotool"), {QStringLiteral("key"), QLatin1String(keys)});
}

}  // namespace

TEST(ExtractionOnDesktop, DialogIsCreditedToTheDocumentWindowItWasOpenedOn) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("gedit");
    const QString first = writeHomeFile(QStringLiteral("first.txt"));
    const QString second = writeHomeFile(QStringLiteral("second.txt"));
    // One gedit, two windows: the second start hands its file over and leaves.
    const qint64 pid = g_desktop->startProgram(QStringLiteral("gedit"), {first});
    ASSERT_GT(pid, 0);
    const QString firstTitle = QStringLiteral("first.txt (~) - gedit");
    const QString secondTitle = QStringLiteral("second.txt (~) - gedit");
    const auto firstWindow = g_desktop->waitForWindowNamed(firstTitle, kWindowTimeoutMs);
    ASSERT_TRUE(firstWindow);
    ASSERT_TRUE(g_desktop->run(QStringLiteral("gedit"), {QStringLiteral("--new-window"), second}, nullptr, 20000));
    const auto secondWindow = g_desktop->waitForWindowNamed(secondTitle, kWindowTimeoutMs);
    ASSERT_TRUE(secondWindow);

    const struct {
        QString title;
        quint64 window;
    } documents[] = {{secondTitle, *secondWindow}, {firstTitle, *firstWindow}};
    for (const auto& document : documents) {
        SCOPED_TRACE(qPrintable(document.title));
        ASSERT_TRUE(g_desktop->activateWindow(document.window));
        ASSERT_TRUE(key("ctrl+o"));
        ASSERT_TRUE(DisposableDesktop::waitUntil(
            [&] { return frontWindowNamed(QStringLiteral("Open Files")) && mainWindowIsASheet(pid); },
            kWindowTimeoutMs, 100));
        Tick last;
        EXPECT_TRUE(waitForTick(
            [&](const Tick& t) {
                return t.completed && t.completed->activity.windowTitle() == document.title;
            },
            10000, &last))
            << qPrintable(describe(last));
        ASSERT_TRUE(key("Escape"));
        ASSERT_TRUE(DisposableDesktop::waitUntil([] { return !frontWindowNamed(QStringLiteral("Open Files")); },
                                                 kWindowTimeoutMs, 100));
    }
    g_desktop->stopProgram(pid);
}

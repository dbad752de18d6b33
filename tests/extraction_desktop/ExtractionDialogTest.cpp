// A dialog in front stands for the window it was opened on: with two
// document windows of one editor, an Open dialog on either one credits that
// window's document, not the application's first window.

#include "ExtractionDesktopSupport.h"
#include "platform/AccessibilityElement.h"

namespace {

// Whether the accessibility tree shows the dialog as the main window yet.
bool dialogIsMainWindow(qint64 pid) {
    std::optional<AccessibilityValue> role;
    runOnWorker([&] {
        const AccessibilityElementRef app = g_context.accessibility->applicationElement(qint32(pid));
        const auto main = app ? app->copyAttributeValue(QStringLiteral("AXMainWindow")) : std::nullopt;
        const auto* window = main ? std::get_if<AccessibilityElementRef>(&*main) : nullptr;
        if (window && *window) role = (*window)->copyAttributeValue(QStringLiteral("AXRole"));
    });
    return role && std::holds_alternative<QString>(*role) && std::get<QString>(*role) == QStringLiteral("AXSheet");
}

}  // namespace

TEST(ExtractionOnDesktop, DialogIsCreditedToTheDocumentWindowItWasOpenedOn) {
    REQUIRE_DESKTOP();
    REQUIRE_TOOL("gedit");
    struct Document {
        QString file, title;
        std::optional<quint64> window;
    } documents[] = {{QStringLiteral("first.txt"), QStringLiteral("first.txt (~) - gedit"), std::nullopt},
                     {QStringLiteral("second.txt"), QStringLiteral("second.txt (~) - gedit"), std::nullopt}};
    qint64 pid = -1;
    for (Document& d : documents) {
        const QString file = g_desktop->writeFile(QStringLiteral("home/") + d.file, "a page\n");
        ASSERT_FALSE(file.isEmpty());
        // One gedit, two windows: the second start hands its file over and leaves.
        if (pid < 0) pid = g_desktop->startProgram(QStringLiteral("gedit"), {file});
        else g_desktop->run(QStringLiteral("gedit"), {QStringLiteral("--new-window"), file});
        d.window = g_desktop->waitForWindowNamed(d.title, kWindowTimeoutMs);
        ASSERT_TRUE(d.window) << qPrintable(d.title);
    }
    // The second window first: it is not the one the application lists first.
    for (const Document& d : {documents[1], documents[0]}) {
        SCOPED_TRACE(qPrintable(d.title));
        ASSERT_TRUE(g_desktop->activateWindow(*d.window));
        ASSERT_TRUE(g_desktop->pressKeys(QStringLiteral("ctrl+o")));
        ASSERT_TRUE(DisposableDesktop::waitUntil([&] { return dialogIsMainWindow(pid); }, kWindowTimeoutMs, 100));
        Tick last;
        EXPECT_TRUE(waitForTick([&](const Tick& t) { return t.completed && t.completed->activity.windowTitle() == d.title; },
                                10000, &last))
            << qPrintable(describe(last));
        ASSERT_TRUE(g_desktop->pressKeys(QStringLiteral("Escape")));
        ASSERT_TRUE(DisposableDesktop::waitUntil([&] { return !dialogIsMainWindow(pid); }, kWindowTimeoutMs, 100));
    }
    g_desktop->stopProgram(pid);
}

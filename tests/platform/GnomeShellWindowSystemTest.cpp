// Our GNOME Shell extension's contract, with a stand-in for the Shell
// (dbusmock on a private session bus, owning org.gnome.Shell and offering
// the extension's object): the helper asks once, then follows the Changed
// signal. gnome-shell --headless does not run on these test machines (it
// wants a GPU or a full GNOME session's services), so the extension's own
// JavaScript is not run here.

#include <gtest/gtest.h>

#include "harness/DisposableDesktop.h"
#include "harness/PrivateDBus.h"
#include "platform/linux/GnomeShellWindowSystem.h"

namespace {

const QString kShell = QStringLiteral("org.gnome.Shell");
const QString kPath = QStringLiteral("/info/mallowby/VorlixHelper/FocusedWindow");
const QString kInterface = QStringLiteral("info.mallowby.VorlixHelper.FocusedWindow");

TEST(GnomeShellWindowSystemTest, AsksOnceThenFollowsTheExtensionsSignal) {
    PrivateDBus bus(PrivateDBus::Type::Session);
    QString whyNot;
    if (!bus.start(&whyNot)) GTEST_SKIP() << qPrintable(whyNot);
    // The extension is not enabled: the source says so by being unavailable.
    EXPECT_FALSE(GnomeShellWindowSystem(bus.connection()).isAvailable());

    if (!bus.startMock(kShell, {kShell, kPath, kInterface}, &whyNot)) GTEST_SKIP() << qPrintable(whyNot);
    ASSERT_TRUE(bus.mock(kShell, kPath, QStringLiteral("AddMethod"),
                         {kInterface, QStringLiteral("Get"), QString(), QStringLiteral("ssi"),
                          QStringLiteral("ret = ('org.gnome.Terminal', '~/src', 77)")}));
    GnomeShellWindowSystem windows(bus.connection());
    ASSERT_TRUE(windows.isAvailable());
    EXPECT_EQ(windows.frontProcessIdentifier(), 77);
    ASSERT_EQ(windows.windowList().size(), 1u);
    EXPECT_EQ(windows.windowList().front().name, QStringLiteral("~/src"));
    EXPECT_EQ(windows.windowHintsForProcess(77)->className, QStringLiteral("org.gnome.Terminal"));

    const struct {
        const char* application;
        const char* title;
        int pid;
    } changes[] = {{"firefox-esr", "Mail", 88}, {"firefox-esr", "Inbox", 88}, {"", "", 0}};
    for (const auto& change : changes) {
        SCOPED_TRACE(change.title);
        ASSERT_TRUE(bus.mock(kShell, kPath, QStringLiteral("EmitSignal"),
                             {kInterface, QStringLiteral("Changed"), QStringLiteral("ssi"),
                              QVariant::fromValue(QVariantList{QString::fromUtf8(change.application),
                                                               QString::fromUtf8(change.title), change.pid})}));
        EXPECT_TRUE(DisposableDesktop::waitWithEvents([&] {
            return windows.frontProcessIdentifier().value_or(0) == change.pid &&
                   (change.pid == 0 || windows.windowList().front().name == QLatin1String(change.title));
        }));
    }
    EXPECT_TRUE(windows.windowList().empty()) << "nothing in front: nothing listed";
}

}  // namespace

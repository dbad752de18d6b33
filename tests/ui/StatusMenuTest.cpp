// The status menu's total for today, read from the store when the menu
// opens, and the login item it switches. (Labels, checkmarks and clicks are
// checked on the real helper in TrayTest.cpp.)

#include <QAction>
#include <QFile>
#include <QMenu>

#include "UiTestSupport.h"
#include "core/DateCalculations.h"
#include "core/TRActivity.h"

namespace {

class StatusMenuTest : public UiTest {};

TEST_F(StatusMenuTest, TodaysTotalIsReadWhenTheMenuOpens) {
    TRHelperAppDelegate& face = makeDelegate();
    QAction* today = face.statusMenu()->actions().constFirst();
    EXPECT_EQ(today->text(), QStringLiteral("Today: 0s"));
    TRActivity activity;
    activity.setApplication(TRNullApplication{});
    activity.setDocumentPath(QStringLiteral("Reading"));
    const QDateTime midnight = Calculations::beginningOfDay(QDateTime::currentDateTimeUtc());
    store->storeActivity(activity, midnight.addSecs(60), midnight.addSecs(60 + 3723));
    // Yesterday's time is not today's.
    store->storeActivity(activity, midnight.addSecs(-7200), midnight.addSecs(-3600));
    Q_EMIT face.statusMenu()->aboutToShow();
    EXPECT_EQ(today->text(), QStringLiteral("Today: 1h 2m 3s"));
    EXPECT_FALSE(today->isEnabled());
}

// On GNOME without our Shell extension the menu tells how to enable it, in
// lines that cannot be chosen; elsewhere it says nothing of it.
TEST_F(StatusMenuTest, SaysHowToEnableTheGnomeShellExtensionOnlyWhenItIsOff) {
    for (const bool off : {true, false}) {
        SCOPED_TRACE(off ? "extension off" : "another source");
        QStringList advice;
        for (const QAction* item : makeDelegate(off).statusMenu()->actions()) {
            if (!item->text().contains(QStringLiteral("Shell extension")) &&
                !item->text().contains(QLatin1String(kGnomeShellExtensionEnableCommand))) {
                continue;
            }
            EXPECT_FALSE(item->isEnabled());
            advice << item->text();
        }
        EXPECT_EQ(advice.size(), off ? 2 : 0) << advice.join(QLatin1Char('\n')).toStdString();
    }
}

TEST_F(StatusMenuTest, LoginItemBelongsToTheHelperAtItsPath) {
    const QString here = QStringLiteral("/opt/vorlix/lib/vorlix-helper");
    const QString moved = QStringLiteral("/home/me/Apps/vorlix helper/vorlix-helper");
    const struct {
        const char* name;
        QString enabledFor;
        QString askedFor;
        bool starts;
    } cases[] = {
        {"same path", here, here, true},
        {"helper moved: a different item", here, moved, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(loginItems->entryPath());
        if (!c.enabledFor.isEmpty()) loginItems->setStartItemAtLogin(c.enabledFor, true);
        EXPECT_EQ(loginItems->willItemStartAtLogin(c.askedFor), c.starts);
        // Disabling another helper's item leaves it alone.
        loginItems->setStartItemAtLogin(c.askedFor, false);
        EXPECT_EQ(QFile::exists(loginItems->entryPath()), !c.enabledFor.isEmpty() && !c.starts);
    }
}

}  // namespace

// The status menu as the user sees it when it opens, and the login item it
// switches.

#include <QAction>
#include <QFile>
#include <QMenu>

#include "UiTestSupport.h"
#include "core/DateCalculations.h"
#include "core/TRActivity.h"
#include "ui/TRStatusItem.h"

namespace {

struct MenuLine {
    QString text;
    bool enabled;
    bool checked;
};

// The menu's items after it opened, separators left out.
std::vector<MenuLine> openMenu(QMenu& menu) {
    Q_EMIT menu.aboutToShow();
    std::vector<MenuLine> lines;
    for (QAction* action : menu.actions()) {
        if (!action->isSeparator()) {
            lines.push_back({action->text(), action->isEnabled(), action->isChecked()});
        }
    }
    return lines;
}

const MenuLine* line(const std::vector<MenuLine>& lines, const QString& prefix) {
    for (const MenuLine& l : lines) {
        if (l.text.startsWith(prefix)) return &l;
    }
    return nullptr;
}

class StatusMenuTest : public UiTest {};

TEST_F(StatusMenuTest, OpeningShowsTodayPrivateModeAndCheckmarks) {
    TRActivity activity;
    activity.setApplication(TRNullApplication{});
    activity.setDocumentPath(QStringLiteral("Reading"));
    const QDateTime midnight = Calculations::beginningOfDay(QDateTime::currentDateTimeUtc());
    store->storeActivity(activity, midnight.addSecs(60), midnight.addSecs(60 + 3723));
    TRHelperAppDelegate& face = makeDelegate();
    face.awakeFromNib();
    QMenu& menu = *face.statusMenu();

    const struct {
        const char* name;
        std::function<void()> step;
        QString privateModeTitle;
        bool launchAtLogin;
        bool askAfterIdle;
        TRStatusItem::State icon;
    } steps[] = {
        {"after start", [] {}, QStringLiteral("Enable Private Mode"), false, false,
         TRStatusItem::State::Idle},
        {"private mode on", [&] { face.togglePrivateMode(); }, QStringLiteral("Disable Private Mode"),
         false, false, TRStatusItem::State::Private},
        {"launch at login on", [&] { face.toggleAutomaticLaunch(); },
         QStringLiteral("Disable Private Mode"), true, false, TRStatusItem::State::Private},
        {"ask after idle on", [&] { face.toggleAskAfterIdle(); },
         QStringLiteral("Disable Private Mode"), true, true, TRStatusItem::State::Private},
        {"private mode off", [&] { face.togglePrivateMode(); }, QStringLiteral("Enable Private Mode"),
         true, true, TRStatusItem::State::Idle},
        {"launch at login off", [&] { face.toggleAutomaticLaunch(); },
         QStringLiteral("Enable Private Mode"), false, true, TRStatusItem::State::Idle},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.name);
        s.step();
        const std::vector<MenuLine> lines = openMenu(menu);
        const MenuLine* today = line(lines, QStringLiteral("Today: "));
        ASSERT_NE(today, nullptr);
        EXPECT_EQ(today->text, QStringLiteral("Today: 1h 2m 3s"));
        EXPECT_FALSE(today->enabled);
        const MenuLine* privateMode = line(lines, s.privateModeTitle);
        ASSERT_NE(privateMode, nullptr);
        EXPECT_TRUE(privateMode->enabled);
        EXPECT_EQ(line(lines, QStringLiteral("Launch at Login"))->checked, s.launchAtLogin);
        EXPECT_EQ(line(lines, QStringLiteral("Ask What I Did"))->checked, s.askAfterIdle);
        EXPECT_EQ(face.statusItem()->state(), s.icon);
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
        {"path with a space", moved, moved, true},
        {"nothing enabled", QString(), here, false},
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

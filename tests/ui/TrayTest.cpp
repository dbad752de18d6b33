// The real helper in a panel, on an X display with a private session bus.
// With a stand-in StatusNotifierWatcher, Qt shows the icon as a
// StatusNotifierItem: the test reads the icon's tooltip and its menu over
// D-Bus as a panel would (com.canonical.dbusmenu) and clicks the items.
// Without one, the icon goes into a real XEmbed tray (trayer).

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QSettings>
#include <csignal>
#include <functional>
#include <memory>
#include <string_view>

#include "harness/DesktopTest.h"
#include "harness/HelperProcess.h"
#include "harness/PrivateDBus.h"

using namespace Qt::Literals::StringLiterals;

namespace {

const QString kItemPath = u"/StatusNotifierItem"_s;
const QString kItem = u"org.kde.StatusNotifierItem"_s;
const QString kMenu = u"com.canonical.dbusmenu"_s;
const QString kWatcher = u"org.kde.StatusNotifierWatcher"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;

struct MenuEntry {
    int id = 0;
    QString label;
    bool enabled = true;
    bool checked = false;
};

// One dbusmenu layout node (ia{sv}av) and its children, separators left out.
void readLayout(const QDBusArgument& node, std::vector<MenuEntry>& entries) {
    MenuEntry entry;
    QVariantMap properties;
    std::vector<QDBusArgument> children;
    node.beginStructure();
    node >> entry.id >> properties;
    node.beginArray();
    while (!node.atEnd()) {
        QDBusVariant child;
        node >> child;
        children.push_back(child.variant().value<QDBusArgument>());
    }
    node.endArray();
    node.endStructure();
    if (entry.id != 0 && properties.value(u"type"_s).toString() != u"separator"_s) {
        entry.label = properties.value(u"label"_s).toString();
        entry.enabled = properties.value(u"enabled"_s, true).toBool();
        entry.checked = properties.value(u"toggle-state"_s, 0).toInt() == 1;
        entries.push_back(entry);
    }
    for (const QDBusArgument& child : children) readLayout(child, entries);
}

bool waitFor(const std::function<bool()>& condition) {
    return DisposableDesktop::waitUntil(condition, 10000, 25);
}

class TrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        REQUIRE_DESKTOP();
        QString whyNot;
        if (!m_bus.start(&whyNot)) GTEST_SKIP() << whyNot.toStdString();
        if (m_xembedPanel) {
            REQUIRE_TOOL("trayer");
            g_desktop->startProgram(u"trayer"_s, {u"--edge"_s, u"bottom"_s, u"--height"_s, u"32"_s});
            ASSERT_TRUE(waitFor([this] { return windowTree().contains(u"(\"panel\" \"trayer\")"_s); }));
        } else if (!m_bus.startMock(kWatcher, {u"--template"_s, u"" VORLIX_TEST_HARNESS_DIR "/status_notifier_watcher.py"_s},
                                    &whyNot)) {
            GTEST_SKIP() << whyNot.toStdString();
        }
        // Both start-up questions answered for good; away after 3 s.
        ASSERT_TRUE(HelperProcess::writeSettings(config(), "idleTimeThresholdForSuspendingTracking=3\n"));
        QProcessEnvironment environment = HelperProcess::isolated(g_desktop->environment());
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, m_bus.address());
        m_helper = std::make_unique<HelperProcess>(environment);
        ASSERT_TRUE(m_helper->waitForOutput(u"status item shown"_s)) << m_helper->errors().toStdString();
        if (m_xembedPanel) return;
        ASSERT_TRUE(waitFor([this] { return !(m_item = itemService()).isEmpty(); }));
        m_menuPath = property(u"Menu"_s).value<QDBusObjectPath>().path();
    }

    void TearDown() override {
        if (m_helper) {
            EXPECT_TRUE(m_helper->stopsCleanlyOn(SIGTERM)) << m_helper->errors().toStdString();
        }
    }

    static QString config() { return g_desktop->environment().value(u"XDG_CONFIG_HOME"_s); }
    QString windowTree() {
        QByteArray tree;
        g_desktop->run(u"xwininfo"_s, {u"-root"_s, u"-tree"_s}, &tree);
        return QString::fromUtf8(tree);
    }
    // The bus name of the item the helper registered with the watcher.
    QString itemService() {
        const QDBusMessage reply =
            m_bus.call(kWatcher, u"/StatusNotifierWatcher"_s, kProperties, u"Get"_s,
                       {kWatcher, u"RegisteredStatusNotifierItems"_s});
        const QStringList items =
            reply.arguments().value(0).value<QDBusVariant>().variant().toStringList();
        return items.isEmpty() ? QString() : items.constFirst().section(u'/', 0, 0);
    }
    QVariant property(const QString& name) {
        const QDBusMessage reply =
            m_bus.call(m_item, kItemPath, kProperties, u"Get"_s, {kItem, name});
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }
    // The tooltip's title, from (s a(iiay) s s).
    QString toolTip() {
        const QDBusArgument tip = property(u"ToolTip"_s).value<QDBusArgument>();
        QString iconName, title, description;
        tip.beginStructure();
        tip >> iconName;
        for (tip.beginArray(); !tip.atEnd();) {
            int width = 0, height = 0;
            QByteArray pixels;
            tip.beginStructure();
            tip >> width >> height >> pixels;
            tip.endStructure();
        }
        tip.endArray();
        tip >> title >> description;
        tip.endStructure();
        return title;
    }
    // The menu as a panel shows it: told it is about to open, then read.
    std::vector<MenuEntry> openMenu() {
        m_bus.call(m_item, m_menuPath, kMenu, u"AboutToShow"_s, {0});
        const QDBusMessage reply =
            m_bus.call(m_item, m_menuPath, kMenu, u"GetLayout"_s, {0, -1, QStringList()});
        std::vector<MenuEntry> entries;
        if (reply.arguments().size() == 2)
            readLayout(reply.arguments().at(1).value<QDBusArgument>(), entries);
        return entries;
    }
    static const MenuEntry* find(const std::vector<MenuEntry>& entries, const QString& prefix) {
        for (const MenuEntry& entry : entries) {
            if (entry.label.startsWith(prefix)) return &entry;
        }
        return nullptr;
    }
    void click(const QString& label) {
        const std::vector<MenuEntry> entries = openMenu();
        const MenuEntry* entry = find(entries, label);
        ASSERT_NE(entry, nullptr) << label.toStdString();
        m_bus.call(m_item, m_menuPath, kMenu, u"Event"_s,
                   {entry->id, u"clicked"_s, QVariant::fromValue(QDBusVariant(0)), 0u});
    }

    bool m_xembedPanel = false;
    PrivateDBus m_bus{PrivateDBus::Type::Session};
    std::unique_ptr<HelperProcess> m_helper;
    QString m_item, m_menuPath;
};

TEST_F(TrayTest, MenuAndIconFollowTheStateAndClicksChangeIt) {
    const QString away = u"Vorlix: tracking (you are away)"_s;
    const QString tracking = u"Vorlix: tracking"_s;
    const QString privateMode = u"Vorlix: private mode, nothing is recorded"_s;
    const struct {
        const char* name;
        std::function<void()> act;
        QString icon;
        const char* privateModeTitle;
        bool launchAtLogin;
        bool askAfterIdle;
    } steps[] = {
        // clang-format off
        {"no input since the start", [] {}, away, "Enable Private Mode", false, false},
        {"the user moves the mouse", [] { g_desktop->movePointer(40, 50); }, tracking, "Enable Private Mode", false, false},
        {"private mode on", [this] { click(u"Enable Private Mode"_s); }, privateMode, "Disable Private Mode", false, false},
        {"launch at login on", [this] { click(u"Launch at Login"_s); }, privateMode, "Disable Private Mode", true, false},
        {"ask after idle on", [this] { click(u"Ask What I Did While Away"_s); }, privateMode, "Disable Private Mode", true, true},
        {"launch at login off", [this] { click(u"Launch at Login"_s); }, privateMode, "Disable Private Mode", false, true},
        {"private mode off", [this] { click(u"Disable Private Mode"_s); }, QString(), "Enable Private Mode", false, true},
        // clang-format on
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.name);
        s.act();
        if (!s.icon.isEmpty()) {
            EXPECT_TRUE(waitFor([&] { return toolTip() == s.icon; })) << toolTip().toStdString();
        }
        const QString privateModeTitle = QString::fromUtf8(s.privateModeTitle);
        ASSERT_TRUE(waitFor([&] { return find(openMenu(), privateModeTitle) != nullptr; }));
        const std::vector<MenuEntry> entries = openMenu();
        for (const char* label :
             {"Today: ", "Open Vorlix", "Add Custom Activity", "Quit Vorlix Menu Item"}) {
            const MenuEntry* entry = find(entries, QString::fromUtf8(label));
            ASSERT_NE(entry, nullptr) << label;
            EXPECT_EQ(entry->enabled, std::string_view(label) != "Today: ") << label;
        }
        EXPECT_EQ(find(entries, u"Launch at Login"_s)->checked, s.launchAtLogin);
        EXPECT_EQ(find(entries, u"Ask What I Did While Away"_s)->checked, s.askAfterIdle);
        EXPECT_EQ(QFile::exists(config() + u"/autostart/info.mallowby.VorlixHelper.desktop"_s),
                  s.launchAtLogin);
        EXPECT_EQ(QSettings(config() + u"/info.mallowby.Vorlix/VorlixHelper.conf"_s, QSettings::IniFormat)
                      .value(u"askAfterIdle"_s)
                      .toBool(),
                  s.askAfterIdle);
    }
}

class XEmbedTrayTest : public TrayTest {
protected:
    void SetUp() override {
        m_xembedPanel = true;
        TrayTest::SetUp();
    }
};

// The helper's window ends up inside the panel's window subtree.
TEST_F(XEmbedTrayTest, IconIsEmbeddedInThePanel) {
    const auto embedded = [this] {
        qsizetype panelIndent = -1;
        for (const QString& line : windowTree().split(u'\n')) {
            const qsizetype indent = line.size() - line.trimmed().size();
            if (line.contains(u"(\"panel\" \"trayer\")"_s)) {
                panelIndent = indent;
            } else if (indent <= panelIndent) {
                panelIndent = -1;
            } else if (panelIndent >= 0 &&
                       line.contains(u"(\"vorlix-helper\" \"vorlix-helper\")"_s)) {
                return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(waitFor(embedded)) << windowTree().toStdString();
}

}  // namespace

int main(int argc, char** argv) {
    return runOnDesktop(argc, argv, [] { return RUN_ALL_TESTS(); });
}

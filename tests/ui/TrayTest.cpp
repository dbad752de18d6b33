// The real helper in a panel, on an X display with a private session bus.
// With a stand-in StatusNotifierWatcher, Qt shows the icon as a
// StatusNotifierItem: the test reads the icon's tooltip and its menu over
// D-Bus as a panel would (com.canonical.dbusmenu) and clicks the items.
// Without one, the icon goes into a real XEmbed tray (trayer).

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>
#include <functional>
#include <string_view>

#include "harness/PrivateDBus.h"
#include <memory>

#include "harness/DisposableDesktop.h"

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

bool waitFor(const std::function<bool()>& condition, int timeoutMs = 10000) {
    for (QDeadlineTimer deadline(timeoutMs); !condition(); QThread::msleep(25)) {
        if (deadline.hasExpired()) return false;
    }
    return true;
}

class TrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        m_desktop = DisposableDesktop::start(&whyNot);
        if (!m_desktop || !m_bus.start(&whyNot)) GTEST_SKIP() << whyNot.toStdString();
        if (m_xembedPanel && !startTrayer()) GTEST_SKIP() << "trayer is not installed";
        if (!m_xembedPanel && !m_bus.startMock(kWatcher,
                                               {u"--template"_s, u"" VORLIX_TEST_HARNESS_DIR
                                                                 "/status_notifier_watcher.py"_s},
                                               &whyNot)) {
            GTEST_SKIP() << whyNot.toStdString();
        }
        QDir home(m_home.path());
        ASSERT_TRUE(home.mkpath(u"config/info.mallowby.Vorlix"_s) && home.mkpath(u"runtime"_s));
        QFile::setPermissions(home.filePath(u"runtime"_s), QFileDevice::ReadOwner |
                                                               QFileDevice::WriteOwner |
                                                               QFileDevice::ExeOwner);
        // Both start-up questions answered for good; away after 3 s.
        QFile conf(settingsPath());
        ASSERT_TRUE(conf.open(QIODevice::WriteOnly));
        conf.write(
            "[General]\ndontAskToLaunchAtLogin=true\ndontNotifyAboutDisabledAccessibilityAPI=true\n"
            "idleTimeThresholdForSuspendingTracking=3\n");
        conf.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name :
             {"WAYLAND_DISPLAY", "XDG_SESSION_ID", "XDG_CURRENT_DESKTOP", "QT_QPA_PLATFORMTHEME",
              "QT_LOGGING_RULES", "AT_SPI_BUS_ADDRESS"}) {
            environment.remove(QString::fromLatin1(name));
        }
        const std::pair<QString, QString> settings[] = {
            {u"QT_QPA_PLATFORM"_s, u"xcb"_s},
            {u"DISPLAY"_s, m_desktop->display()},
            {u"DBUS_SESSION_BUS_ADDRESS"_s, m_bus.address()},
            {u"DBUS_SYSTEM_BUS_ADDRESS"_s, "unix:path="_L1 + home.filePath(u"no-bus"_s)},
            {u"HOME"_s, home.path()},
            {u"XDG_RUNTIME_DIR"_s, home.filePath(u"runtime"_s)},
            {u"XDG_CONFIG_HOME"_s, home.filePath(u"config"_s)},
            {u"XDG_DATA_HOME"_s, home.filePath(u"data"_s)},
            {u"XDG_CACHE_HOME"_s, home.filePath(u"cache"_s)}};
        for (const auto& [name, value] : settings) environment.insert(name, value);
        m_helper.setProcessEnvironment(environment);
        m_helper.setProcessChannelMode(QProcess::MergedChannels);
        m_helper.start(u"" VORLIX_HELPER_PATH ""_s, {});
        ASSERT_TRUE(m_helper.waitForStarted(5000));
        ASSERT_TRUE(waitFor([this] { return log().contains(u"status item shown"_s); }))
            << log().toStdString();
        if (m_xembedPanel) return;
        ASSERT_TRUE(waitFor([this] { return !(m_item = itemService()).isEmpty(); }));
        m_menuPath = property(u"Menu"_s).value<QDBusObjectPath>().path();
    }

    void TearDown() override {
        if (m_trayer.state() != QProcess::NotRunning) {
            m_trayer.terminate();
            m_trayer.waitForFinished(2000);
        }
        if (m_helper.state() == QProcess::NotRunning) return;
        ::kill(static_cast<pid_t>(m_helper.processId()), SIGTERM);
        EXPECT_TRUE(m_helper.waitForFinished(10000));
        EXPECT_EQ(m_helper.exitCode(), 0) << log().toStdString();
    }

    QString settingsPath() const {
        return m_home.filePath(u"config/info.mallowby.Vorlix/VorlixHelper.conf"_s);
    }
    QString autostartEntry() const {
        return m_home.filePath(u"config/autostart/info.mallowby.VorlixHelper.desktop"_s);
    }
    QString log() {
        if (m_helper.state() == QProcess::Running) m_helper.waitForReadyRead(10);
        return m_log += QString::fromUtf8(m_helper.readAll());
    }
    // Runs a program on the test display and returns what it printed.
    QString runOnDisplay(QProcess& process, const QString& program, const QStringList& arguments) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DISPLAY"_s, m_desktop->display());
        process.setProcessEnvironment(environment);
        process.start(program, arguments);
        if (&process == &m_trayer) return process.waitForStarted(5000) ? u"started"_s : QString();
        process.waitForFinished(5000);
        return QString::fromUtf8(process.readAllStandardOutput());
    }
    QString windowTree() {
        QProcess xwininfo;
        return runOnDisplay(xwininfo, u"xwininfo"_s, {u"-root"_s, u"-tree"_s});
    }
    bool startTrayer() {
        return !runOnDisplay(m_trayer, u"trayer"_s,
                             {u"--edge"_s, u"bottom"_s, u"--height"_s, u"32"_s})
                    .isEmpty() &&
               waitFor([this] { return windowTree().contains(u"(\"panel\" \"trayer\")"_s); });
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
    void moveMouse() {
        QProcess xdotool;
        runOnDisplay(xdotool, u"xdotool"_s, {u"mousemove"_s, u"40"_s, u"50"_s});
    }
    void click(const QString& label) {
        const std::vector<MenuEntry> entries = openMenu();
        const MenuEntry* entry = find(entries, label);
        ASSERT_NE(entry, nullptr) << label.toStdString();
        m_bus.call(m_item, m_menuPath, kMenu, u"Event"_s,
                   {entry->id, u"clicked"_s, QVariant::fromValue(QDBusVariant(0)), 0u});
    }

    bool m_xembedPanel = false;
    std::unique_ptr<DisposableDesktop> m_desktop;
    QProcess m_trayer;
    PrivateDBus m_bus{PrivateDBus::Type::Session};
    QTemporaryDir m_home;
    QProcess m_helper;
    QString m_log, m_item, m_menuPath;
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
        {"the user moves the mouse", [this] { moveMouse(); }, tracking, "Enable Private Mode", false, false},
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
        EXPECT_EQ(QFile::exists(autostartEntry()), s.launchAtLogin);
        EXPECT_EQ(QSettings(settingsPath(), QSettings::IniFormat).value(u"askAfterIdle"_s).toBool(),
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
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

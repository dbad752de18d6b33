// The real helper in a panel: an X display, a private session bus and a
// stand-in StatusNotifierWatcher, so Qt shows the icon as a
// StatusNotifierItem. The test reads the item and its menu over D-Bus as a
// panel would (com.canonical.dbusmenu) and clicks the menu's items.

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

#include "harness/PrivateDBus.h"
#include "harness/XvfbServer.h"

namespace {

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kItemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString kMenuInterface = QStringLiteral("com.canonical.dbusmenu");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

struct MenuEntry {
    int id = 0;
    QString label;
    bool enabled = true;
    bool checked = false;
};

void readLayout(const QDBusArgument& argument, std::vector<MenuEntry>& entries) {
    MenuEntry entry;
    QVariantMap properties;
    argument.beginStructure();
    argument >> entry.id >> properties;
    argument.beginArray();
    std::vector<QDBusArgument> children;
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        children.push_back(child.variant().value<QDBusArgument>());
    }
    argument.endArray();
    argument.endStructure();
    if (properties.value(QStringLiteral("type")).toString() != QStringLiteral("separator") &&
        entry.id != 0) {
        entry.label = properties.value(QStringLiteral("label")).toString();
        entry.enabled = properties.value(QStringLiteral("enabled"), true).toBool();
        entry.checked = properties.value(QStringLiteral("toggle-state"), 0).toInt() == 1;
        entries.push_back(entry);
    }
    for (const QDBusArgument& child : children) readLayout(child, entries);
}

bool waitFor(const std::function<bool()>& condition, int timeoutMs = 10000) {
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QThread::msleep(25);
    }
    return true;
}

class TrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        QString whyNot;
        if (!m_xvfb.start(&whyNot) || !m_bus.start(&whyNot)) GTEST_SKIP() << whyNot.toStdString();
        if (m_xembedPanel) {
            if (!startTrayer()) GTEST_SKIP() << "trayer is not installed";
        } else if (!m_bus.startMock(
                       QStringLiteral("org.kde.StatusNotifierWatcher"),
                       {QStringLiteral("--template"),
                        QStringLiteral(VORLIX_TEST_HARNESS_DIR "/status_notifier_watcher.py")},
                       &whyNot)) {
            GTEST_SKIP() << whyNot.toStdString();
        }
        ASSERT_TRUE(m_home.isValid());
        QDir home(m_home.path());
        for (const char* folder : {"runtime", "config/info.mallowby.Vorlix", "data", "cache"}) {
            ASSERT_TRUE(home.mkpath(QString::fromLatin1(folder)));
        }
        QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        // Both start-up questions answered for good; idle after 3 s.
        QFile conf(settingsPath());
        ASSERT_TRUE(conf.open(QIODevice::WriteOnly));
        conf.write("[General]\ndontAskToLaunchAtLogin=true\n"
                   "dontNotifyAboutDisabledAccessibilityAPI=true\n"
                   "idleTimeThresholdForSuspendingTracking=3\n");
        conf.close();

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"WAYLAND_DISPLAY", "XDG_SESSION_ID", "XDG_CURRENT_DESKTOP",
                                 "QT_QPA_PLATFORMTHEME", "QT_LOGGING_RULES", "AT_SPI_BUS_ADDRESS"}) {
            environment.remove(QString::fromLatin1(name));
        }
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.insert(QStringLiteral("DISPLAY"), m_xvfb.display());
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus.address());
        environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"),
                           QStringLiteral("unix:path=") + home.filePath(QStringLiteral("no-bus")));
        environment.insert(QStringLiteral("HOME"), home.path());
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.filePath(QStringLiteral("runtime")));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
        environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
        environment.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral("cache")));
        m_helper.setProcessEnvironment(environment);
        m_helper.setProcessChannelMode(QProcess::MergedChannels);
        m_helper.start(QStringLiteral(VORLIX_HELPER_PATH), {});
        ASSERT_TRUE(m_helper.waitForStarted(5000));
        ASSERT_TRUE(waitFor([this] { return log().contains(QStringLiteral("status item shown")); }))
            << log().toStdString();
        if (m_xembedPanel) return;
        ASSERT_TRUE(waitFor([this] { return !(m_item = itemService()).isEmpty(); }));
        const QDBusMessage menu = m_bus.call(m_item, kItemPath, kProperties, QStringLiteral("Get"),
                                             {kItemInterface, QStringLiteral("Menu")});
        ASSERT_EQ(menu.type(), QDBusMessage::ReplyMessage) << menu.errorMessage().toStdString();
        m_menuPath = menu.arguments().constFirst().value<QDBusVariant>().variant()
                         .value<QDBusObjectPath>().path();
    }

    // An XEmbed panel: trayer along the bottom of the screen, ready when its
    // panel window is on the screen.
    bool startTrayer() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_xvfb.display());
        m_trayer.setProcessEnvironment(environment);
        m_trayer.start(QStringLiteral("trayer"), {QStringLiteral("--edge"), QStringLiteral("bottom"),
                                                  QStringLiteral("--height"), QStringLiteral("32")});
        if (!m_trayer.waitForStarted(5000)) return false;
        return waitFor([this] { return windowTree().contains(QStringLiteral("(\"panel\" \"trayer\")")); });
    }
    QString windowTree() const {
        QProcess xwininfo;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("DISPLAY"), m_xvfb.display());
        xwininfo.setProcessEnvironment(environment);
        xwininfo.start(QStringLiteral("xwininfo"), {QStringLiteral("-root"), QStringLiteral("-tree")});
        xwininfo.waitForFinished(5000);
        return QString::fromUtf8(xwininfo.readAllStandardOutput());
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
        return m_home.path() + QStringLiteral("/config/info.mallowby.Vorlix/VorlixHelper.conf");
    }
    QString autostartEntry() const {
        return m_home.path() + QStringLiteral("/config/autostart/info.mallowby.VorlixHelper.desktop");
    }
    QString log() {
        if (m_helper.state() == QProcess::Running) m_helper.waitForReadyRead(10);
        m_log += QString::fromUtf8(m_helper.readAll());
        return m_log;
    }
    // The bus name of the first item registered with the watcher.
    QString itemService() {
        const QDBusMessage items = m_bus.call(
            QStringLiteral("org.kde.StatusNotifierWatcher"), QStringLiteral("/StatusNotifierWatcher"),
            kProperties, QStringLiteral("Get"),
            {QStringLiteral("org.kde.StatusNotifierWatcher"),
             QStringLiteral("RegisteredStatusNotifierItems")});
        const QStringList registered =
            items.arguments().value(0).value<QDBusVariant>().variant().toStringList();
        return registered.isEmpty() ? QString() : registered.constFirst().section(QLatin1Char('/'), 0, 0);
    }
    QString toolTip() {
        const QDBusMessage reply = m_bus.call(m_item, kItemPath, kProperties, QStringLiteral("Get"),
                                              {kItemInterface, QStringLiteral("ToolTip")});
        const QDBusArgument tip =
            reply.arguments().value(0).value<QDBusVariant>().variant().value<QDBusArgument>();
        QString iconName, title, description;
        tip.beginStructure();
        tip >> iconName;
        tip.beginArray();
        while (!tip.atEnd()) {
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
        m_bus.call(m_item, m_menuPath, kMenuInterface, QStringLiteral("AboutToShow"), {0});
        const QDBusMessage reply = m_bus.call(m_item, m_menuPath, kMenuInterface,
                                              QStringLiteral("GetLayout"),
                                              {0, -1, QStringList()});
        std::vector<MenuEntry> entries;
        if (reply.arguments().size() == 2) {
            readLayout(reply.arguments().at(1).value<QDBusArgument>(), entries);
        }
        return entries;
    }
    static const MenuEntry* find(const std::vector<MenuEntry>& entries, const QString& prefix) {
        for (const MenuEntry& entry : entries) {
            if (entry.label.startsWith(prefix)) return &entry;
        }
        return nullptr;
    }
    void click(const QString& prefix) {
        const std::vector<MenuEntry> entries = openMenu();
        const MenuEntry* entry = find(entries, prefix);
        ASSERT_NE(entry, nullptr) << prefix.toStdString();
        m_bus.call(m_item, m_menuPath, kMenuInterface, QStringLiteral("Event"),
                   {entry->id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)),
                    0u});
    }
    bool askAfterIdleInFile() const {
        return QSettings(settingsPath(), QSettings::IniFormat)
            .value(QStringLiteral("askAfterIdle")).toBool();
    }

    bool m_xembedPanel = false;
    XvfbServer m_xvfb;
    QProcess m_trayer;
    PrivateDBus m_bus{PrivateDBus::Type::Session};
    QTemporaryDir m_home;
    QProcess m_helper;
    QString m_log;
    QString m_item;
    QString m_menuPath;
};

TEST_F(TrayTest, IconFollowsTrackingIdleAndPrivateMode) {
    const QString tracking = QStringLiteral("Vorlix: tracking");
    const QString idle = QStringLiteral("Vorlix: tracking (you are away)");
    const QString privateMode = QStringLiteral("Vorlix: private mode, nothing is recorded");
    EXPECT_TRUE(waitFor([&] { return toolTip() == idle; })) << "no input for 3 s";
    ASSERT_TRUE(m_xvfb.run(QStringLiteral("xdotool"), {QStringLiteral("mousemove"),
                                                       QStringLiteral("40"), QStringLiteral("50")}));
    EXPECT_TRUE(waitFor([&] { return toolTip() == tracking; })) << "input came";
    click(QStringLiteral("Enable Private Mode"));
    EXPECT_TRUE(waitFor([&] { return toolTip() == privateMode; }));
    click(QStringLiteral("Disable Private Mode"));
    EXPECT_TRUE(waitFor([&] { return toolTip() != privateMode; }));
}

TEST_F(TrayTest, MenuShowsStateAndClicksChangeIt) {
    const struct {
        const char* name;
        const char* click;  // nullptr: only open the menu
        const char* privateModeTitle;
        bool launchAtLogin;
        bool askAfterIdle;
    } steps[] = {
        {"as started", nullptr, "Enable Private Mode", false, false},
        {"private mode on", "Enable Private Mode", "Disable Private Mode", false, false},
        {"launch at login on", "Launch at Login", "Disable Private Mode", true, false},
        {"ask after idle on", "Ask What I Did While Away", "Disable Private Mode", true, true},
        {"launch at login off", "Launch at Login", "Disable Private Mode", false, true},
        {"private mode off", "Disable Private Mode", "Enable Private Mode", false, true},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.name);
        if (s.click) click(QString::fromUtf8(s.click));
        const QString privateModeTitle = QString::fromUtf8(s.privateModeTitle);
        EXPECT_TRUE(waitFor([&] { return find(openMenu(), privateModeTitle) != nullptr; }));
        const std::vector<MenuEntry> entries = openMenu();
        const MenuEntry* today = find(entries, QStringLiteral("Today: "));
        ASSERT_NE(today, nullptr);
        EXPECT_FALSE(today->enabled);
        for (const char* label : {"Open Vorlix", "Add Custom Activity", "Quit Vorlix Menu Item"}) {
            const MenuEntry* entry = find(entries, QString::fromUtf8(label));
            ASSERT_NE(entry, nullptr) << label;
            EXPECT_TRUE(entry->enabled) << label;
        }
        const MenuEntry* login = find(entries, QStringLiteral("Launch at Login"));
        const MenuEntry* askAfterIdle = find(entries, QStringLiteral("Ask What I Did While Away"));
        ASSERT_TRUE(login && askAfterIdle);
        EXPECT_EQ(login->checked, s.launchAtLogin);
        EXPECT_EQ(askAfterIdle->checked, s.askAfterIdle);
        EXPECT_EQ(QFile::exists(autostartEntry()), s.launchAtLogin);
        EXPECT_EQ(askAfterIdleInFile(), s.askAfterIdle);
    }
    QFile entry(autostartEntry());
    EXPECT_FALSE(entry.exists());
}

class XEmbedTrayTest : public TrayTest {
protected:
    void SetUp() override {
        m_xembedPanel = true;
        TrayTest::SetUp();
    }
};

// Without a StatusNotifierItem host the icon goes into an XEmbed tray: its
// window ends up inside the panel's.
TEST_F(XEmbedTrayTest, IconIsEmbeddedInThePanel) {
    const auto embedded = [this] {
        const QStringList lines = windowTree().split(QLatin1Char('\n'));
        qsizetype panelIndent = -1;
        for (const QString& line : lines) {
            const qsizetype indent = line.size() - line.trimmed().size();
            if (line.contains(QStringLiteral("(\"panel\" \"trayer\")"))) {
                panelIndent = indent;
            } else if (panelIndent >= 0 && indent <= panelIndent) {
                panelIndent = -1;  // left the panel's subtree
            } else if (panelIndent >= 0 &&
                       line.contains(QStringLiteral("(\"vorlix-helper\" \"vorlix-helper\")"))) {
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

#include "harness/HeadlessSway.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include "harness/DisposableDesktop.h"

namespace {

constexpr int kStartTimeoutMs = 15000;

}  // namespace

std::unique_ptr<HeadlessSway> HeadlessSway::start(DisposableDesktop& desktop, QString* whyNot) {
    *whyNot = DisposableDesktop::missingTool(
        {QStringLiteral("sway"), QStringLiteral("swaymsg"), QStringLiteral("unshare"),
         QStringLiteral("wtype")});
    if (!whyNot->isEmpty()) return nullptr;
    const QString runtime = desktop.stateDir() + QStringLiteral("/sway-runtime");
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QString config = desktop.writeFile(
        QStringLiteral("sway-config"),
        "output HEADLESS-1 resolution 1280x800\nxwayland enable\n");
    const QString variables = QStringLiteral("XDG_RUNTIME_DIR=") + runtime;
    desktop.startProgram(
        QStringLiteral("env"),
        {QStringLiteral("-u"), QStringLiteral("DISPLAY"), variables,
         QStringLiteral("WLR_BACKENDS=headless"), QStringLiteral("WLR_LIBINPUT_NO_DEVICES=1"),
         QStringLiteral("WLR_RENDERER=pixman"), QStringLiteral("unshare"), QStringLiteral("--user"),
         QStringLiteral("--map-user=1000"), QStringLiteral("--map-group=1000"),
         QStringLiteral("sway"), QStringLiteral("-c"), config});
    QString socket, display;
    const bool up = DisposableDesktop::waitUntil(
        [&] {
            const QDir folder(runtime);
            const QStringList sockets = folder.entryList({QStringLiteral("sway-ipc.*.sock")}, QDir::System);
            const QStringList displays = folder.entryList({QStringLiteral("wayland-?")}, QDir::System);
            if (sockets.isEmpty() || displays.isEmpty()) return false;
            socket = folder.filePath(sockets.constFirst());
            display = displays.constFirst();
            return true;
        },
        kStartTimeoutMs, 50);
    if (!up) {
        *whyNot = QStringLiteral("sway did not start (see logs/env.log in the desktop's folder)");
        return nullptr;
    }
    std::unique_ptr<HeadlessSway> sway(new HeadlessSway(desktop));
    sway->m_environment = desktop.environment();
    sway->m_environment.remove(QStringLiteral("DISPLAY"));
    sway->m_environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    sway->m_environment.insert(QStringLiteral("WAYLAND_DISPLAY"), display);
    sway->m_environment.insert(QStringLiteral("SWAYSOCK"), socket);
    return sway;
}

bool HeadlessSway::command(const QString& command) const {
    QByteArray output;
    const bool ran = m_desktop.run(
        QStringLiteral("swaymsg"),
        {QStringLiteral("-s"), m_environment.value(QStringLiteral("SWAYSOCK")), command}, &output);
    return ran && !output.contains("\"success\": false");
}

bool HeadlessSway::pressShift() const {
    QProcess wtype;
    wtype.setProcessEnvironment(m_environment);
    wtype.start(QStringLiteral("wtype"),
                {QStringLiteral("-k"), QStringLiteral("Shift_L")});
    return wtype.waitForFinished(5000) && wtype.exitCode() == 0;
}

bool HeadlessSway::waitForWindows(const QString& id, int count, int timeoutMs) const {
    const QByteArray appId = "\"app_id\": \"" + id.toUtf8() + '"';
    const QByteArray x11Class = "\"class\": \"" + id.toUtf8() + '"';
    return DisposableDesktop::waitUntil(
        [&] {
            QByteArray output;
            m_desktop.run(QStringLiteral("swaymsg"),
                          {QStringLiteral("-s"), m_environment.value(QStringLiteral("SWAYSOCK")),
                           QStringLiteral("-t"), QStringLiteral("get_tree")},
                          &output);
            return output.count(appId) + output.count(x11Class) >= count;
        },
        timeoutMs, 200);
}

#include "DisposableDesktop.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QFileInfo>
#include <QStandardPaths>
#include <QThread>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kStartTimeoutMs = 15000;
constexpr int kStopGraceMs = 2000;

const QStringList kUnsetVariables = {
    QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("AT_SPI_BUS_ADDRESS"),
    QStringLiteral("WAYLAND_DISPLAY"),          QStringLiteral("XDG_SESSION_ID"),
    QStringLiteral("XDG_CURRENT_DESKTOP"),      QStringLiteral("QT_QPA_PLATFORMTHEME"),
    QStringLiteral("LC_ALL"),                   QStringLiteral("LANGUAGE"),
    QStringLiteral("NO_AT_BRIDGE")};

// Reads up to the first newline from `fd`, waiting at most `timeoutMs`.
QByteArray readFirstLine(int fd, int timeoutMs) {
    QByteArray line;
    QElapsedTimer timer;
    timer.start();
    while (!line.contains('\n') && timer.elapsed() < timeoutMs) {
        pollfd p{fd, POLLIN, 0};
        if (poll(&p, 1, int(timeoutMs - timer.elapsed())) <= 0) break;
        char buffer[256];
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n <= 0) break;
        line.append(buffer, n);
    }
    return line.left(line.indexOf('\n')).trimmed();
}

// Field 6 of /proc/PID/stat (the session id), and whether the process is a zombie.
std::optional<std::pair<qint64, bool>> sessionOf(const QString& pid) {
    QFile stat(QStringLiteral("/proc/") + pid + QStringLiteral("/stat"));
    if (!stat.open(QIODevice::ReadOnly)) return std::nullopt;
    const QByteArray text = stat.read(1024);
    const qsizetype close = text.lastIndexOf(')');
    if (close < 0) return std::nullopt;
    const QList<QByteArray> fields = text.mid(close + 2).split(' ');
    if (fields.size() < 4) return std::nullopt;
    return std::make_pair(fields.at(3).toLongLong(), fields.at(0) == "Z" || fields.at(0) == "X");
}

const QString kMarkerVariable = QStringLiteral("VORLIX_DISPOSABLE_DESKTOP");
const QString kOwnerVariable = QStringLiteral("VORLIX_DISPOSABLE_DESKTOP_OWNER");

bool carriesMarker(const QString& pid, const QByteArray& marker) {
    if (marker.isEmpty()) return false;
    QFile environ(QStringLiteral("/proc/") + pid + QStringLiteral("/environ"));
    if (!environ.open(QIODevice::ReadOnly)) return false;
    return environ.readAll().split('\0').contains(marker);
}

// Living processes of the sessions, and (when `marker` is given) those that
// left them with setsid of their own but still carry the desktop's marker
// variable in their environment; never this process.
std::vector<qint64> livingProcessesOf(const std::set<qint64>& sessions, const QByteArray& marker) {
    std::vector<qint64> pids;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        bool isPid = false;
        const qint64 pid = entry.toLongLong(&isPid);
        if (!isPid || pid == getpid()) continue;
        const auto session = sessionOf(entry);
        if (!session || session->second) continue;
        if (sessions.count(session->first) != 0 || carriesMarker(entry, marker)) pids.push_back(pid);
    }
    return pids;
}

QByteArray environmentValue(const QList<QByteArray>& environment, const QString& name) {
    const QByteArray prefix = name.toLatin1() + '=';
    for (const QByteArray& entry : environment) {
        if (entry.startsWith(prefix)) return entry.mid(prefix.size());
    }
    return {};
}

// A test process that was killed (a CTest timeout) cannot stop its desktop.
// Its processes carry the owner's pid; when that owner is gone, the next
// desktop stops them and removes their state folder.
void stopOrphansOfEndedRuns() {
    std::vector<qint64> orphans;
    std::set<QString> folders;
    for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isPid = false;
        const qint64 pid = entry.toLongLong(&isPid);
        if (!isPid || pid == getpid()) continue;
        QFile environ(QStringLiteral("/proc/") + entry + QStringLiteral("/environ"));
        if (!environ.open(QIODevice::ReadOnly)) continue;
        const QList<QByteArray> environment = environ.readAll().split('\0');
        const qint64 owner = environmentValue(environment, kOwnerVariable).toLongLong();
        if (owner <= 0) continue;
        const auto ownerSession = sessionOf(QString::number(owner));
        if (ownerSession && !ownerSession->second) continue;  // the owner still runs
        orphans.push_back(pid);
        folders.insert(QString::fromLocal8Bit(environmentValue(environment, kMarkerVariable)));
    }
    for (qint64 pid : orphans) kill(pid_t(pid), SIGTERM);
    if (!orphans.empty()) QThread::msleep(kStopGraceMs);
    for (qint64 pid : orphans) kill(pid_t(pid), SIGKILL);
    for (const QString& folder : folders) {
        if (QFileInfo(folder).fileName().startsWith(QLatin1String("vorlix-desktop-"))) {
            QDir(folder).removeRecursively();
        }
    }
}

}  // namespace

DisposableDesktop::DisposableDesktop()
    : m_state(QDir::tempPath() + QStringLiteral("/vorlix-desktop-XXXXXX")) {}

std::unique_ptr<DisposableDesktop> DisposableDesktop::start(QString* whyNot) {
    const QString missing = missingTool({QStringLiteral("Xvfb"), QStringLiteral("dbus-daemon"),
                                         QStringLiteral("openbox"), QStringLiteral("xdotool"),
                                         QStringLiteral("xprop")});
    if (!missing.isEmpty() || !QFile::exists(QStringLiteral("/usr/libexec/at-spi-bus-launcher"))) {
        *whyNot = (missing.isEmpty() ? QStringLiteral("at-spi-bus-launcher") : missing) +
                  QStringLiteral(" is not installed");
        return nullptr;
    }
    stopOrphansOfEndedRuns();
    std::unique_ptr<DisposableDesktop> desktop(new DisposableDesktop);
    const std::pair<bool (DisposableDesktop::*)(), const char*> steps[] = {
        {&DisposableDesktop::prepareFolders, "cannot create a temporary folder"},
        {&DisposableDesktop::startXvfb, "Xvfb did not start"},
        {&DisposableDesktop::startSessionBus, "dbus-daemon did not start"},
        {&DisposableDesktop::startAccessibilityBus, "the accessibility bus did not start"},
        {&DisposableDesktop::startWindowManager, "openbox did not manage the display"}};
    for (const auto& [step, failure] : steps) {
        if (!(desktop.get()->*step)()) {
            *whyNot = QLatin1String(failure);
            return nullptr;
        }
    }
    return desktop;
}

DisposableDesktop::~DisposableDesktop() {
    stopSessions(m_sessions, m_marker);
    for (int fd : m_openFds) close(fd);
}

bool DisposableDesktop::prepareFolders() {
    if (!m_state.isValid()) return false;
    const QString root = m_state.path();
    m_environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : kUnsetVariables) m_environment.remove(name);
    const std::pair<const char*, const char*> folders[] = {
        {"HOME", "home"}, {"XDG_RUNTIME_DIR", "runtime"}, {"XDG_CONFIG_HOME", "config"},
        {"XDG_DATA_HOME", "data"}, {"XDG_CACHE_HOME", "cache"}, {"TMPDIR", "tmp"}};
    for (const auto& [variable, folder] : folders) {
        const QString path = root + QLatin1Char('/') + QLatin1String(folder);
        QDir().mkpath(path);
        m_environment.insert(QLatin1String(variable), path);
    }
    QFile::setPermissions(root + QStringLiteral("/runtime"),
                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QDir().mkpath(root + QStringLiteral("/logs"));
    m_environment.insert(QStringLiteral("LANG"), QStringLiteral("C.UTF-8"));
    m_environment.insert(kMarkerVariable, root);
    m_environment.insert(kOwnerVariable, QString::number(getpid()));
    m_marker = (kMarkerVariable + QLatin1Char('=') + root).toLocal8Bit();
    return true;
}

bool DisposableDesktop::startXvfb() {
    QByteArray number;
    m_xServer = spawn(QStringLiteral("Xvfb"),
                      {QStringLiteral("-screen"), QStringLiteral("0"), QStringLiteral("1280x1024x24"),
                       QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset"),
                       QStringLiteral("-displayfd"), QStringLiteral("3")},
                      3, &number, kStartTimeoutMs);
    m_display = QStringLiteral(":") + QString::fromLatin1(number);
    m_environment.insert(QStringLiteral("DISPLAY"), m_display);
    return m_xServer > 0 && !number.isEmpty();
}

bool DisposableDesktop::startSessionBus() {
    QByteArray address;
    const QString listen =
        QStringLiteral("--address=unix:dir=") + m_environment.value(QStringLiteral("XDG_RUNTIME_DIR"));
    const qint64 pid = spawn(QStringLiteral("dbus-daemon"),
                             {QStringLiteral("--session"), QStringLiteral("--nofork"),
                              QStringLiteral("--nopidfile"), listen, QStringLiteral("--print-address=3")},
                             3, &address, kStartTimeoutMs);
    m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QString::fromUtf8(address));
    return pid > 0 && !address.isEmpty();
}

// Ready when org.a11y.Bus answers GetAddress on the private session bus.
bool DisposableDesktop::startAccessibilityBus() {
    const qint64 pid = startProgram(QStringLiteral("/usr/libexec/at-spi-bus-launcher"),
                                    {QStringLiteral("--launch-immediately"), QStringLiteral("--a11y=1")});
    const QString connectionName = QStringLiteral("vorlix-harness-%1").arg(quintptr(this));
    bool ready = false;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(
            m_environment.value(QStringLiteral("DBUS_SESSION_BUS_ADDRESS")), connectionName);
        const auto call = [&bus](const QString& interface, const QString& method,
                                 const QVariantList& arguments) {
            QDBusMessage message = QDBusMessage::createMethodCall(
                QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"), interface, method);
            message.setArguments(arguments);
            return bus.call(message, QDBus::Block, 1000);
        };
        ready = pid > 0 && waitUntil(
                               [&] {
                                   const QDBusMessage reply = call(QStringLiteral("org.a11y.Bus"),
                                                                   QStringLiteral("GetAddress"), {});
                                   return reply.type() == QDBusMessage::ReplyMessage &&
                                          !reply.arguments().value(0).toString().isEmpty();
                               },
                               kStartTimeoutMs, 50);
        // --a11y=1 alone has been seen to read "off" once a program with a
        // fresh home started; the switch itself is what the tests rely on.
        if (ready) {
            call(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"),
                 {QStringLiteral("org.a11y.Status"), QStringLiteral("IsEnabled"),
                  QVariant::fromValue(QDBusVariant(true))});
        }
    }
    QDBusConnection::disconnectFromBus(connectionName);
    return ready;
}

bool DisposableDesktop::startWindowManager() {
    return startProgram(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")}) > 0 &&
           waitUntil(
               [this] {
                   QByteArray out;
                   return run(QStringLiteral("xprop"),
                              {QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK")},
                              &out) &&
                          out.contains("window id");
               },
               kStartTimeoutMs, 20);
}

void DisposableDesktop::applyToThisProcess() const {
    for (const QString& name : kUnsetVariables) qunsetenv(name.toLocal8Bit().constData());
    for (const QString& name : m_environment.keys()) {
        if (name == kMarkerVariable || name == kOwnerVariable) continue;
        qputenv(name.toLocal8Bit().constData(), m_environment.value(name).toLocal8Bit());
    }
}

qint64 DisposableDesktop::spawn(const QString& program, const QStringList& arguments, int pipeFd,
                                QByteArray* firstLine, int timeoutMs) {
    int fds[2] = {-1, -1};
    if (pipeFd >= 0 && pipe2(fds, O_CLOEXEC) != 0) return -1;
    const QString logPath = m_state.path() + QStringLiteral("/logs/") +
                            QFileInfo(program).fileName() + QStringLiteral(".log");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, logPath.toLocal8Bit().constData(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    if (pipeFd >= 0) posix_spawn_file_actions_adddup2(&actions, fds[1], pipeFd);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);

    std::vector<QByteArray> storage;
    storage.push_back(program.toLocal8Bit());
    for (const QString& argument : arguments) storage.push_back(argument.toLocal8Bit());
    std::vector<char*> argv;
    for (QByteArray& item : storage) argv.push_back(item.data());
    argv.push_back(nullptr);
    std::vector<QByteArray> envStorage;
    for (const QString& entry : m_environment.toStringList()) envStorage.push_back(entry.toLocal8Bit());
    std::vector<char*> envp;
    for (QByteArray& item : envStorage) envp.push_back(item.data());
    envp.push_back(nullptr);

    pid_t pid = -1;
    const int failed = posix_spawnp(&pid, argv[0], &actions, &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (pipeFd >= 0) close(fds[1]);
    if (failed != 0) {
        if (pipeFd >= 0) close(fds[0]);
        return -1;
    }
    m_sessions.insert(pid);
    if (pipeFd >= 0) {
        *firstLine = readFirstLine(fds[0], timeoutMs);
        m_openFds.push_back(fds[0]);
    }
    return pid;
}

qint64 DisposableDesktop::startProgram(const QString& program, const QStringList& arguments) {
    return spawn(program, arguments, -1, nullptr, 0);
}

void DisposableDesktop::stopProgram(qint64 processIdentifier) {
    if (m_sessions.erase(processIdentifier) == 0) return;
    stopSessions({processIdentifier}, QByteArray());
}

// TERM to every living process of the sessions, KILL after the grace time;
// zombies left by a container's init count as gone.
void DisposableDesktop::stopSessions(const std::set<qint64>& sessions, const QByteArray& marker) {
    if (sessions.empty()) return;
    for (qint64 pid : livingProcessesOf(sessions, marker)) kill(pid_t(pid), SIGTERM);
    const auto reap = [&] {
        for (qint64 leader : sessions) waitpid(pid_t(leader), nullptr, WNOHANG);
        return livingProcessesOf(sessions, marker).empty();
    };
    if (!waitUntil(reap, kStopGraceMs)) {
        for (qint64 pid : livingProcessesOf(sessions, marker)) kill(pid_t(pid), SIGKILL);
        waitUntil(reap, kStopGraceMs);
    }
}

bool DisposableDesktop::run(const QString& program, const QStringList& arguments, QByteArray* output,
                            int timeoutMs) const {
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    if (output != nullptr) *output = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

std::optional<quint64> DisposableDesktop::waitForWindowOfProcess(qint64 processIdentifier,
                                                                 int timeoutMs) const {
    return waitForWindowMatching({QStringLiteral("--pid"), QString::number(processIdentifier)},
                                 timeoutMs);
}

std::optional<quint64> DisposableDesktop::waitForWindowNamed(const QString& name,
                                                             int timeoutMs) const {
    return waitForWindowMatching(
        {QStringLiteral("--name"), QRegularExpression::escape(name)},
        timeoutMs);
}

std::optional<quint64> DisposableDesktop::waitForWindowMatching(const QStringList& criteria,
                                                                int timeoutMs) const {
    std::optional<quint64> window;
    waitUntil(
        [&] {
            QByteArray out;
            run(QStringLiteral("xdotool"),
                QStringList{QStringLiteral("search"), QStringLiteral("--onlyvisible")} + criteria,
                &out);
            bool ok = false;
            const quint64 id = out.split('\n').value(0).trimmed().toULongLong(&ok);
            if (ok) window = id;
            return ok;
        },
        timeoutMs, 50);
    return window;
}

bool DisposableDesktop::activateWindow(quint64 window) const {
    return run(QStringLiteral("xdotool"),
               {QStringLiteral("windowactivate"), QStringLiteral("--sync"), QString::number(window)});
}

bool DisposableDesktop::pressKeys(const QString& keys) const {
    return run(QStringLiteral("xdotool"), {QStringLiteral("key"), keys});
}

bool DisposableDesktop::movePointer(int x, int y) const {
    return run(QStringLiteral("xdotool"),
               {QStringLiteral("mousemove"), QString::number(x), QString::number(y)});
}

bool DisposableDesktop::waitWithEvents(const std::function<bool()>& condition, int timeoutMs) {
    return waitUntil(
        [&] {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            return condition();
        },
        timeoutMs, 5);
}

bool DisposableDesktop::waitUntil(const std::function<bool()>& condition, int timeoutMs, int stepMs) {
    QElapsedTimer timer;
    timer.start();
    while (true) {
        if (condition()) return true;
        if (timer.elapsed() >= timeoutMs) return false;
        QThread::msleep(ulong(stepMs));
    }
}

QString DisposableDesktop::missingTool(const QStringList& tools) {
    for (const QString& tool : tools) {
        if (QStandardPaths::findExecutable(tool).isEmpty()) return tool;
    }
    return {};
}

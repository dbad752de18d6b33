// The applications and the web server a disposable desktop can start; the
// desktop itself is in DisposableDesktop.cpp.

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "DisposableDesktop.h"

namespace {

constexpr int kStartTimeoutMs = 15000;

}  // namespace

// xterm's toolkit waits for the window manager to confirm its size hints,
// by default for up to 5 s, and openbox now and then never answers: a
// tenth of a second is plenty on this desktop.
QStringList DisposableDesktop::xtermArguments(const QString& title, const QStringList& moreArguments) {
    return QStringList{QStringLiteral("-xrm"), QStringLiteral("*wmTimeout: 100"),
                       QStringLiteral("-T"), title} +
           moreArguments +
           QStringList{QStringLiteral("-e"), QStringLiteral("sleep"), QStringLiteral("600")};
}

qint64 DisposableDesktop::startXterm(const QString& title, const QStringList& moreArguments) {
    return startProgram(QStringLiteral("xterm"), xtermArguments(title, moreArguments));
}

// Flags that keep Chromium quiet and on this machine: a fresh profile, no
// background traffic, and a dead proxy for everything but loopback (which
// Chromium never sends through a proxy unless told "<-loopback>").
qint64 DisposableDesktop::startChromium(const QString& url, const ChromiumOptions& options) {
    m_chromiumProfile = m_state.path() + QStringLiteral("/chromium-%1").arg(++m_chromiumProfiles);
    QDir().mkpath(m_chromiumProfile + QStringLiteral("/Default"));
    QStringList arguments =
        QStringLiteral("--no-sandbox --disable-gpu --no-first-run --disable-background-networking "
                       "--disable-component-update --disable-sync --proxy-server=127.0.0.1:9")
            .split(QLatin1Char(' '));
    arguments << QStringLiteral("--user-data-dir=") + m_chromiumProfile;
    // As with Firefox: do not depend on the desktop answering Chromium's
    // accessibility question in time on a loaded machine.
    if (options.forceAccessibility) {
        m_environment.insert(QStringLiteral("ACCESSIBILITY_ENABLED"), QStringLiteral("1"));
        arguments << QStringLiteral("--force-renderer-accessibility");
    }
    if (!options.language.isEmpty()) m_environment.insert(QStringLiteral("LANGUAGE"), options.language);
    const qint64 pid = startProgram(QStringLiteral("chromium"), arguments + QStringList{url});
    m_environment.remove(QStringLiteral("ACCESSIBILITY_ENABLED"));
    m_environment.remove(QStringLiteral("LANGUAGE"));
    return pid;
}

bool DisposableDesktop::openChromiumTab(const QString& url, const QStringList& moreArguments) {
    if (m_chromiumProfile.isEmpty()) return false;
    return run(QStringLiteral("chromium"),
               QStringList{QStringLiteral("--no-sandbox"), QStringLiteral("--user-data-dir=") + m_chromiumProfile} +
                   moreArguments + QStringList{url},
               nullptr, 15000);
}

qint64 DisposableDesktop::startFirefox(const QStringList& urls) {
    const QString profile = m_state.path() + QStringLiteral("/firefox-profile");
    QDir().mkpath(profile);
    QFile prefs(profile + QStringLiteral("/user.js"));
    if (!prefs.open(QIODevice::WriteOnly)) return -1;
    prefs.write(
        "user_pref(\"network.proxy.type\", 1);\n"
        "user_pref(\"network.proxy.http\", \"127.0.0.1\");\n"
        "user_pref(\"network.proxy.http_port\", 9);\n"
        "user_pref(\"network.proxy.ssl\", \"127.0.0.1\");\n"
        "user_pref(\"network.proxy.ssl_port\", 9);\n"
        "user_pref(\"network.proxy.socks\", \"127.0.0.1\");\n"
        "user_pref(\"network.proxy.socks_port\", 9);\n"
        "user_pref(\"network.proxy.no_proxies_on\", \"127.0.0.1\");\n"
        "user_pref(\"network.proxy.allow_hijacking_localhost\", false);\n"
        "user_pref(\"browser.shell.checkDefaultBrowser\", false);\n"
        "user_pref(\"browser.startup.homepage_override.mstone\", \"ignore\");\n"
        "user_pref(\"datareporting.policy.dataSubmissionEnabled\", false);\n"
        "user_pref(\"toolkit.telemetry.reportingpolicy.firstRun\", false);\n"
        "user_pref(\"app.update.enabled\", false);\n"
        "user_pref(\"browser.aboutwelcome.enabled\", false);\n");
    prefs.close();
    // Firefox asks the desktop whether accessibility is on with a short
    // time-out of its own and stays off when a loaded machine answers late:
    // tell it directly.
    m_environment.insert(QStringLiteral("GNOME_ACCESSIBILITY"), QStringLiteral("1"));
    const qint64 pid = startProgram(
        QStringLiteral("firefox-esr"),
        QStringList{QStringLiteral("--no-remote"), QStringLiteral("--profile"), profile} + urls);
    m_environment.remove(QStringLiteral("GNOME_ACCESSIBILITY"));
    return pid;
}

qint64 DisposableDesktop::startMousepad(const QString& file) {
    return startProgram(QStringLiteral("mousepad"), {file});
}

qint64 DisposableDesktop::startGedit(const QString& file) {
    return startProgram(QStringLiteral("gedit"), {QStringLiteral("--standalone"), file});
}

QUrl DisposableDesktop::startHttpServer(const QString& folder) {
    QByteArray line;
    const qint64 pid = spawn(QStringLiteral("python3"),
                             {QStringLiteral("-u"), QStringLiteral("-m"), QStringLiteral("http.server"),
                              QStringLiteral("--bind"), QStringLiteral("127.0.0.1"),
                              QStringLiteral("--directory"), folder, QStringLiteral("0")},
                             1, &line, kStartTimeoutMs);
    // "Serving HTTP on 127.0.0.1 port 41234 (http://127.0.0.1:41234/) ..."
    const qsizetype at = line.indexOf(" port ");
    if (pid < 0 || at < 0) return {};
    const int port = line.mid(at + 6).split(' ').value(0).toInt();
    return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(port));
}

QString DisposableDesktop::writeFile(const QString& relativePath, const QByteArray& content) const {
    const QString path = stateDir() + QLatin1Char('/') + relativePath;
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() ? path : QString();
}

QUrl DisposableDesktop::testSite() {
    if (!m_testSite.isEmpty()) return m_testSite;
    for (const char* page : {"one", "two", "three", "four"}) {
        writeFile(QStringLiteral("site/%1.html").arg(QLatin1String(page)),
                  QByteArray("<html><head><title>page ") + page + "</title></head><body><p>" + page +
                      "</p></body></html>");
    }
    m_testSite = startHttpServer(stateDir() + QStringLiteral("/site"));
    return m_testSite;
}

QString DisposableDesktop::testPage(const char* name) {
    return testSite().resolved(QUrl(QLatin1String(name) + QStringLiteral(".html"))).toString();
}

#pragma once
// DisposableDesktop: a throw-away X11 desktop for integration tests.
//
// Starts, inside a fresh temporary state folder, everything a real session
// has and nothing of the user's: an isolated HOME/XDG folders/TMPDIR with
// LANG=C.UTF-8, an Xvfb display (number chosen by Xvfb), a private session
// bus, the accessibility bus (switched on) and the openbox window manager.
// Programs started through it run with that environment, each in a new
// session; the destructor signals exactly the processes of those sessions,
// and any that left them but carry the desktop's marker variable (TERM,
// then KILL after 2 s), and removes the state folder. Nothing is left
// behind, and nothing outside the state folder is written. If a test
// process is killed before it can clean up, the next desktop started on the
// machine stops what that process left (its children carry the owner's pid).
//
// Tests use it through DesktopTest.h: one desktop per test process (CTest
// runs each test in its own), started in main() before any X or D-Bus client.
//
// Browsers start with accessibility forced on (a loaded machine otherwise
// answers their start-up question too late) and with a dead proxy, so only
// pages from startHttpServer load.
//
// A missing tool makes `start` (or a start* helper) fail with a reason;
// tests then GTEST_SKIP. Timeouts are generous; waits poll every 20 ms.
//
// Thread: the test's main thread.

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

// How DisposableDesktop::startChromium starts it: accessibility forced on
// unless told to ask the desktop at its start, in the language given
// (LANGUAGE).
struct ChromiumOptions {
    QString language;
    bool forceAccessibility = true;
};

class DisposableDesktop final {
public:
    // nullptr, with the reason in `whyNot`, when a tool is missing or a part
    // did not come up.
    static std::unique_ptr<DisposableDesktop> start(QString* whyNot);
    ~DisposableDesktop();
    DisposableDesktop(const DisposableDesktop&) = delete;
    DisposableDesktop& operator=(const DisposableDesktop&) = delete;

    QString stateDir() const { return m_state.path(); }
    QString display() const { return m_display; }
    QProcessEnvironment environment() const { return m_environment; }
    qint64 xServerProcessIdentifier() const { return m_xServer; }

    // Gives this process the desktop's environment (DISPLAY, session bus,
    // HOME, XDG folders, TMPDIR, LANG), so in-process X, D-Bus and AT-SPI
    // clients use it. Call before any of them connects.
    void applyToThisProcess() const;

    // Starts a program in a new session with the desktop's environment;
    // output goes to logs/<name>.log in the state folder. -1 on failure.
    qint64 startProgram(const QString& program, const QStringList& arguments);
    // An xterm whose window is named `title` and that stays open.
    qint64 startXterm(const QString& title, const QStringList& moreArguments = {});
    static QStringList xtermArguments(const QString& title, const QStringList& moreArguments = {});
    // A Chromium on a fresh profile.
    qint64 startChromium(const QString& url, const ChromiumOptions& options = {});
    // Opens another tab (or, with "--incognito", a window) in the running
    // Chromium (same profile).
    bool openChromiumTab(const QString& url, const QStringList& moreArguments = {});
    // Opens the pages as tabs of a fresh profile.
    qint64 startFirefox(const QStringList& urls);
    qint64 startMousepad(const QString& file);
    qint64 startGedit(const QString& file);
    // Serves `folder` over HTTP on 127.0.0.1; an empty URL on failure.
    QUrl startHttpServer(const QString& folder);
    // Writes the small pages "one.html" ... "four.html" (titled "page one"
    // ...) into the state folder and serves them, once per desktop; the
    // address of the folder. Browser tests open testPage("two").
    QUrl testSite();
    QString testPage(const char* name);
    // Writes `content` to a file under the state folder (folders made as
    // needed); its absolute path, empty on failure.
    QString writeFile(const QString& relativePath, const QByteArray& content) const;
    // Stops one started program with everything in its session.
    void stopProgram(qint64 processIdentifier);

    // Runs a short tool (xdotool, xprop, ...) in the desktop and waits.
    bool run(const QString& program, const QStringList& arguments, QByteArray* output = nullptr,
             int timeoutMs = 5000) const;
    // A visible top-level window whose _NET_WM_PID is the process.
    std::optional<quint64> waitForWindowOfProcess(qint64 processIdentifier, int timeoutMs) const;
    // A visible window whose name contains `name` (for programs whose
    // _NET_WM_PID is not their pid here, or that share one process).
    std::optional<quint64> waitForWindowNamed(const QString& name, int timeoutMs) const;
    bool activateWindow(quint64 window) const;
    // The user at the keyboard ("ctrl+o") or the pointer, through xdotool.
    bool pressKeys(const QString& keys) const;
    bool movePointer(int x, int y) const;

    static bool waitUntil(const std::function<bool()>& condition, int timeoutMs, int stepMs = 20);
    // The same, handling this thread's Qt events (D-Bus signals, watchers)
    // while it waits.
    static bool waitWithEvents(const std::function<bool()>& condition, int timeoutMs = 5000);
    // The first of `tools` not found on PATH, or an empty string.
    static QString missingTool(const QStringList& tools);

private:
    DisposableDesktop();
    std::optional<quint64> waitForWindowMatching(const QStringList& criteria, int timeoutMs) const;
    bool prepareFolders();
    bool startXvfb();
    bool startSessionBus();
    bool startAccessibilityBus();
    bool startWindowManager();
    // Spawns with `fd` (1 or 3) of the child connected to a pipe whose
    // first line is returned in `firstLine`.
    qint64 spawn(const QString& program, const QStringList& arguments, int pipeFd,
                 QByteArray* firstLine, int timeoutMs);
    void stopSessions(const std::set<qint64>& sessions, const QByteArray& marker);

    QTemporaryDir m_state;
    QProcessEnvironment m_environment;
    QString m_display;
    qint64 m_xServer = -1;
    QUrl m_testSite;
    std::set<qint64> m_sessions;      // = the pids we spawned, each a session leader
    QByteArray m_marker;              // "VORLIX_DISPOSABLE_DESKTOP=<state folder>"
    std::vector<int> m_openFds;       // pipe ends kept open so children never get SIGPIPE
    int m_chromiumProfiles = 0;
    QString m_chromiumProfile;
};

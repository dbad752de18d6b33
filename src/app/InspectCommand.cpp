#include "app/InspectCommand.h"

#include <QDateTime>
#include <QEventLoop>
#include <QTimer>
#include <csignal>

#include "platform/AccessibilityElement.h"
#include "platform/RunningApplications.h"
#include "tracking/TRApplicationInfoExtractor.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRInfoExtractor.h"
#include "platform/WindowSystem.h"

namespace {

volatile std::sig_atomic_t g_interrupted = 0;

void onInterrupt(int) {
    g_interrupted = 1;
}

QString shown(const QString& value) {
    if (value.isNull()) return QStringLiteral("(none)");
    if (value.isEmpty()) return QStringLiteral("\"\"");
    return value;
}

QString line(const char* label, const QString& value) {
    return QStringLiteral("%1: %2\n").arg(QLatin1String(label), value);
}

// What to say when the front application is one that is never tracked.
QString describeExcluded(const TRExtractionContext& context) {
    QString text = line("application", QStringLiteral("(not tracked: the helper itself or one of "
                                                      "the desktop's own agents)"));
    const std::optional<qint32> pid = context.windowSystem->frontProcessIdentifier();
    if (!pid) return text;
    if (context.runningApplications != nullptr) {
        if (const auto application = context.runningApplications->runningApplication(*pid)) {
            text += line("id", shown(application->bundleIdentifier));
            text += line("executable", shown(application->executablePath));
        }
    }
    return text + line("pid", QString::number(*pid));
}

QString describe(const TRActivity& activity, const TRApplicationInfoExtractor& extractor,
                 bool startedBeforeAccessibility) {
    QString text;
    if (const RunningApplication* application = activity.runningApplication()) {
        text += line("application", shown(application->localizedName));
        text += line("id", shown(application->bundleIdentifier));
        text += line("executable", shown(application->executablePath));
        text += line("pid", application->processIdentifier > 0
                                ? QString::number(application->processIdentifier)
                                : QStringLiteral("(none: the window source names no process, so "
                                                 "only the application and title are recorded)"));
    } else {
        text += line("application", QStringLiteral("(none: no front window)"));
    }
    if (!activity.details()) {
        text += line("details", QStringLiteral("removed (the application is recorded without "
                                               "what it shows)"));
    } else {
        text += line("window title", shown(activity.windowTitle()));
        text += line("document path", shown(activity.documentPath()));
        if (!activity.documentTitle().isNull()) {
            text += line("document title", shown(activity.documentTitle()));
        }
        if (const auto components = activity.pathComponents()) {
            text += line("path components", components->join(QStringLiteral(" | ")));
        }
    }
    text += line("extractor", extractor.name());
    if (startedBeforeAccessibility) {
        text += line("note", QStringLiteral("this browser started before accessibility was "
                                            "switched on: its time is recorded, but no page "
                                            "until it is restarted"));
    }
    return text;
}

void printUsage(QTextStream& stream) {
    stream << "usage: vorlix-helper inspect [--once]\n"
              "Prints once a second, until interrupted, what the helper sees in front:\n"
              "application, id, pid, window title, document path and the extractor that ran.\n"
              "  --once  print one look and exit\n";
}

int lookUntilInterrupted(TRInfoExtractor& extractor, QTextStream& out) {
    g_interrupted = 0;
    const auto previous = std::signal(SIGINT, onInterrupt);
    QEventLoop loop;
    const auto printLook = [&out, &extractor] {
        out << "--- " << QDateTime::currentDateTime().toString(QStringLiteral("HH:mm:ss")) << '\n'
            << inspectFrontActivity(extractor) << '\n';
        out.flush();
    };
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, printLook);
    QTimer interruptCheck;
    QObject::connect(&interruptCheck, &QTimer::timeout, &loop, [&loop] {
        if (g_interrupted) loop.quit();
    });
    printLook();
    look.start(1000);
    interruptCheck.start(100);
    loop.exec();
    std::signal(SIGINT, previous);
    return 0;
}

}  // namespace

QString inspectFrontActivity(TRInfoExtractor& dispatch) {
    std::optional<TRActivity> activity = dispatch.currentActivity();
    if (!activity) return describeExcluded(dispatch.context());
    const TRApplicationInfoExtractor& extractor = dispatch.callInfoExtractorForActivity(*activity);
    return describe(*activity, extractor, dispatch.startedBeforeAccessibility(*activity));
}

int runInspectCommand(const QStringList& arguments, const TRExtractionContext& platform,
                      QTextStream& out, QTextStream& err, const QString& windowSourceAdvice) {
    bool once = false;
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--once")) {
            once = true;
        } else if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            printUsage(out);
            return 0;
        } else {
            err << "vorlix-helper inspect: unknown argument \"" << argument << "\"\n";
            printUsage(err);
            return 2;
        }
    }
    if (platform.windowSystem == nullptr) {
        err << "vorlix-helper inspect: this build has no window system for this desktop; "
               "nothing to inspect\n";
        return 1;
    }
    if (!platform.windowSystem->isAvailable()) {
        err << "vorlix-helper inspect: cannot reach the X display (is DISPLAY set?) nor, "
               "on sway, its IPC socket (SWAYSOCK)\n";
        return 1;
    }
    const TRExtractorRegistry registry = TRExtractorRegistry::withDefaultExtractors();
    TRInfoExtractor dispatch(platform, registry);
    if (platform.accessibility == nullptr || !platform.accessibility->isEnabled()) {
        out << "note: accessibility is off: window titles come from the window list only, "
               "and no document or page address is read\n\n";
    }
    if (const QString source = platform.windowSystem->sourceDescription(); !source.isEmpty()) {
        out << "window source: " << source << '\n';
    }
    if (!windowSourceAdvice.isEmpty()) {
        out << "note: only windows of X11 programs are seen on this Wayland desktop; to see "
               "the others, "
            << windowSourceAdvice << "\n\n";
    }
    if (once) {
        out << inspectFrontActivity(dispatch);
        return 0;
    }
    return lookUntilInterrupted(dispatch, out);
}

int runInspectCommand(const QStringList& arguments, const TRExtractionContext& platform,
                      const QString& windowSourceAdvice) {
    QTextStream out(stdout);
    QTextStream err(stderr);
    return runInspectCommand(arguments, platform, out, err, windowSourceAdvice);
}

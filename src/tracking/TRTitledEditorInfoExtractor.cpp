#include "tracking/TRTitledEditorInfoExtractor.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include "core/TRActivity.h"
#include "platform/ProcessSource.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRGenericInfoExtractor.h"

namespace {

// Title shapes, tried in order. Named groups: `path` (a path, absolute or
// relative), or `name` with `dir` (the folder it is in) or with `folder`
// (the name of the folder open in the editor).
struct TitleShape final {
    const char* editors;  // for the reader
    const char* expression;
};

constexpr TitleShape kTitleShapes[] = {
    {"gedit", R"(^\*?(?<name>.+) \((?<dir>[^()]*)\) - gedit$)"},
    {"Mousepad", R"(^\*?(?<path>.+) - Mousepad$)"},
    {"Kate, KWrite", R"(^(?<path>.+?)(?: \[\*\]| \*)? — (?:Kate|KWrite)$)"},
    {"VS Code, VSCodium",
     R"(^(?:● )?(?<name>.+?) — (?<folder>.+?) — (?:Visual Studio Code|VSCodium|Code - OSS)$)"},
    {"Geany", R"(^\*?(?<name>.+) - (?<dir>.+) - Geany$)"},
    {"GNOME Text Editor", R"(^\*?(?<name>.+) \((?<dir>[^()]*)\)(?: - Text Editor)?$)"},
    {"JetBrains IDEs", R"(^(?<folder>[^–]+?) – (?<name>[^–]+?)$)"},
};

const std::vector<QRegularExpression>& titleExpressions() {
    static const std::vector<QRegularExpression> expressions = [] {
        std::vector<QRegularExpression> compiled;
        for (const TitleShape& shape : kTitleShapes) {
            compiled.emplace_back(QString::fromUtf8(shape.expression));
        }
        return compiled;
    }();
    return expressions;
}

QString expandedHome(const QString& path, const QString& home) {
    if (path == QLatin1String("~")) return home;
    if (path.startsWith(QLatin1String("~/"))) return home + path.mid(1);
    return path;
}

// `relative` against each base that exists, or itself when absolute.
QStringList resolved(const QString& relative, const QStringList& bases) {
    if (QDir::isAbsolutePath(relative)) return {QDir::cleanPath(relative)};
    QStringList out;
    for (const QString& base : bases) {
        if (!base.isEmpty()) out.append(QDir::cleanPath(base + QLatin1Char('/') + relative));
    }
    return out;
}

}  // namespace

QStringList TRTitledEditorInfoExtractor::candidateFiles(const QString& title,
                                                        const QString& workingDirectory,
                                                        const QString& homeDirectory) {
    const QStringList bases{workingDirectory, homeDirectory};
    for (const QRegularExpression& expression : titleExpressions()) {
        const QRegularExpressionMatch match = expression.match(title);
        if (!match.hasMatch()) continue;
        const QString path = match.captured(QStringLiteral("path"));
        if (!path.isEmpty()) return resolved(expandedHome(path, homeDirectory), bases);
        const QString name = match.captured(QStringLiteral("name"));
        const QString dir = match.captured(QStringLiteral("dir"));
        if (!dir.isEmpty()) {
            return resolved(expandedHome(dir, homeDirectory) + QLatin1Char('/') + name, bases);
        }
        const QString folder = match.captured(QStringLiteral("folder"));
        QStringList out;
        // The editor was started in the folder it has open, or beside it.
        if (QFileInfo(workingDirectory).fileName() == folder) {
            out += resolved(name, {workingDirectory});
        }
        out += resolved(folder + QLatin1Char('/') + name, bases);
        return out;
    }
    return {};
}

void TRTitledEditorInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                          const TRExtractionContext& context) const {
    if (!activity.documentPath().isEmpty()) return;
    const RunningApplication* application = activity.runningApplication();
    if (application != nullptr && !activity.windowTitle().isEmpty()) {
        const QString workingDirectory =
            context.processes ? context.processes->workingDirectory(application->processIdentifier)
                              : QString();
        const QStringList candidates =
            candidateFiles(activity.windowTitle(), workingDirectory, QDir::homePath());
        for (const QString& candidate : candidates) {
            if (QFileInfo(candidate).isFile()) {
                activity.setDocumentPath(QUrl::fromLocalFile(candidate).toString(QUrl::FullyEncoded));
                return;
            }
        }
    }
    TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, context);
}

QString TRTitledEditorInfoExtractor::name() const {
    return QStringLiteral("TRTitledEditorInfoExtractor");
}

const TRTitledEditorInfoExtractor& TRTitledEditorInfoExtractor::instance() {
    static const TRTitledEditorInfoExtractor extractor;
    return extractor;
}

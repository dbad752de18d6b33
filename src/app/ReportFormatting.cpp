#include "app/ReportFormatting.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <functional>

#include "core/TRDurationToStringFormatter.h"

namespace {

constexpr int kBarCells = 30;
constexpr int kLongestName = 56;

double roundedSeconds(double seconds) {
    return std::round(seconds * 1000.0) / 1000.0;
}

QString secondsText(double seconds) {
    return QString::number(roundedSeconds(seconds), 'g', QLocale::FloatingPointShortest);
}

const char* kindName(ReportLine::Kind kind) {
    switch (kind) {
        case ReportLine::Kind::Project:
            return "project";
        case ReportLine::Kind::Application:
            return "application";
        case ReportLine::Kind::Path:
            return "path";
    }
    return "";
}

// Every line with its depth in the tree, in the tree's order.
void forEachLine(const std::vector<ReportLine>& lines,
                 const std::function<void(const ReportLine&, int)>& visit, int depth = 0) {
    for (const ReportLine& line : lines) {
        visit(line, depth);
        forEachLine(line.children, visit, depth + 1);
    }
}

QString daysText(const ReportRequest& request) {
    const QString first = request.firstDay.toString(Qt::ISODate);
    if (request.firstDay == request.lastDay) return first;
    return first + QStringLiteral(" to ") + request.lastDay.toString(Qt::ISODate);
}

// A name on one line of the terminal, cut to fit its column.
QString shownName(const QString& name, int room) {
    QString text = name;
    const auto control = [](QChar c) { return c.category() == QChar::Other_Control; };
    if (std::any_of(name.begin(), name.end(), control))
        std::replace_if(text.begin(), text.end(), control, QLatin1Char(' '));
    if (text.size() <= room) return text;
    return text.left(std::max(room - 1, 0)) + QChar(0x2026);
}

// Whole cells of U+2588, then one of the seven partial blocks for the rest.
QString bar(double seconds, double longest) {
    if (!(longest > 0) || !(seconds > 0)) return QString();
    const int eighths = std::max(1, int(std::lround(seconds / longest * kBarCells * 8)));
    QString text(eighths / 8, QChar(0x2588));
    if (eighths % 8) text += QChar(0x2590 - eighths % 8);
    return text;
}

QString csvField(const QString& value) {
    if (!value.contains(QLatin1Char(',')) && !value.contains(QLatin1Char('"')) &&
        !value.contains(QLatin1Char('\n')) && !value.contains(QLatin1Char('\r')))
        return value;
    QString quoted = value;
    return QLatin1Char('"') + quoted.replace(QLatin1String("\""), QLatin1String("\"\"")) +
           QLatin1Char('"');
}

QJsonObject jsonLine(const ReportLine& line) {
    QJsonArray children;
    for (const ReportLine& child : line.children) children.append(jsonLine(child));
    return QJsonObject{{QStringLiteral("kind"), QLatin1String(kindName(line.kind))},
                       {QStringLiteral("project"), line.project},
                       {QStringLiteral("application"), line.application},
                       {QStringLiteral("applicationId"), line.applicationId},
                       {QStringLiteral("path"), line.path},
                       {QStringLiteral("level"), line.level},
                       {QStringLiteral("seconds"), roundedSeconds(line.seconds)},
                       {QStringLiteral("children"), children}};
}

}  // namespace

QString reportAsTree(const Report& report) {
    int nameWidth = report.totalName.size();
    int durationWidth = 0;
    double longest = 0;
    // Each line's duration, written once: the column's width needs them all.
    std::vector<QString> durations;
    forEachLine(report.lines, [&](const ReportLine& line, int depth) {
        nameWidth = std::max(nameWidth, std::min(2 * depth + int(line.name.size()), kLongestName));
        durations.push_back(TRDurationToStringFormatter::stringFromNumber(line.seconds));
        durationWidth = std::max(durationWidth, int(durations.back().size()));
        longest = std::max(longest, line.seconds);
    });
    const QString total = TRDurationToStringFormatter::stringFromNumber(report.totalSeconds);
    durationWidth = std::max(durationWidth, int(total.size()));
    const bool byProject = report.request.grouping == ReportGrouping::Project;
    QString text = daysText(report.request) + (byProject ? QStringLiteral(", by project\n")
                                                         : QStringLiteral(", by application\n"));
    // Appended piece by piece: a five-year report has thousands of lines.
    size_t next = 0;
    const auto pad = [&text](qsizetype spaces) {
        if (spaces > 0) text.append(QString(spaces, QLatin1Char(' ')));
    };
    forEachLine(report.lines, [&](const ReportLine& line, int depth) {
        const qsizetype start = text.size();
        pad(2 * depth);
        text += shownName(line.name, kLongestName - 2 * depth);
        pad(nameWidth - (text.size() - start));
        text += QLatin1String("  ");
        const QString& duration = durations[next++];
        pad(durationWidth - duration.size());
        text += duration;
        text += QLatin1String("  ");
        text += bar(line.seconds, longest);
        text += QLatin1Char('\n');
    });
    text += report.totalName.leftJustified(nameWidth) + QStringLiteral("  ") +
            total.rightJustified(durationWidth) + QLatin1Char('\n');
    return text;
}

QString reportAsCsv(const Report& report) {
    QString text = QStringLiteral("kind,project,application,applicationId,path,level,seconds\r\n");
    forEachLine(report.lines, [&](const ReportLine& line, int) {
        const QStringList fields{
            QLatin1String(kindName(line.kind)), csvField(line.project), csvField(line.application),
            csvField(line.applicationId),       csvField(line.path),    QString::number(line.level),
            secondsText(line.seconds)};
        text += fields.join(QLatin1Char(',')) + QStringLiteral("\r\n");
    });
    return text + QStringLiteral("total,,,,,0,") + secondsText(report.totalSeconds) +
           QStringLiteral("\r\n");
}

QString reportAsJson(const Report& report) {
    QJsonArray lines;
    for (const ReportLine& line : report.lines) lines.append(jsonLine(line));
    const ReportRequest& request = report.request;
    const QJsonObject root{{QStringLiteral("from"), request.firstDay.toString(Qt::ISODate)},
                           {QStringLiteral("to"), request.lastDay.toString(Qt::ISODate)},
                           {QStringLiteral("by"), request.grouping == ReportGrouping::Project
                                                      ? QStringLiteral("project")
                                                      : QStringLiteral("app")},
                           {QStringLiteral("depth"), request.depth},
                           {QStringLiteral("minSeconds"), request.minimumSeconds},
                           {QStringLiteral("totalSeconds"), roundedSeconds(report.totalSeconds)},
                           {QStringLiteral("lines"), lines}};
    return QString::fromUtf8(QJsonDocument(root).toJson(QJsonDocument::Indented));
}

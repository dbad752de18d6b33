#include "tracking/TRTerminalInfoExtractor.h"

#include <QDir>

#include <unicode/uregex.h>

#include <cstring>
#include <memory>
#include <utility>

#include "core/StringAdditions.h"
#include "platform/LocalHostNames.h"
#include "platform/ProcessSource.h"
#include "tracking/TRGenericInfoExtractor.h"
#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

namespace {

constexpr char16_t kSessionPattern[] = uR"(((\w*)@([^:]+))?.*:\s*([~/][^:]*))";

// ssh options that take a value (the value may follow in the same word).
constexpr char kSshOptionsWithValue[] = "BbcDEeFIiJLlmOoPpQRSWw";

struct RegexCloser {
    void operator()(URegularExpression* expression) const { uregex_close(expression); }
};

using SessionExpression = std::unique_ptr<URegularExpression, RegexCloser>;

// Compiling the pattern costs more than all the rest of a tick: it is
// compiled once per thread (an expression holds its match state, so
// threads never share one). Null when it does not compile.
URegularExpression* sessionExpression() {
    thread_local const SessionExpression expression = [] {
        UErrorCode status = U_ZERO_ERROR;
        SessionExpression compiled(uregex_open(kSessionPattern, -1, 0, nullptr, &status));
        if (U_FAILURE(status)) compiled.reset();
        return compiled;
    }();
    return expression.get();
}

QString group(URegularExpression* expression, int32_t index, const QString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const int32_t start = uregex_start(expression, index, &status);
    const int32_t end = uregex_end(expression, index, &status);
    if (U_FAILURE(status) || start < 0 || end < start) return QStringLiteral("");
    return text.mid(start, end - start);
}

QString trimmedOfBlanksAndTabs(const QString& s) {
    qsizetype begin = 0;
    qsizetype end = s.size();
    auto blank = [](QChar c) { return c == QLatin1Char(' ') || c == QLatin1Char('\t'); };
    while (begin < end && blank(s[begin])) ++begin;
    while (end > begin && blank(s[end - 1])) --end;
    return s.mid(begin, end - begin);
}

QString fileUrlOfDirectory(const QString& directory) {
    QString path = directory;
    if (path == QLatin1String("~")) {
        path = QDir::homePath();
    } else if (path.startsWith(QLatin1String("~/"))) {
        path = QDir::homePath() + path.mid(1);
    }
    return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
}

}  // namespace

std::optional<TRTerminalInfoExtractor::SessionLine> TRTerminalInfoExtractor::parseSessionLine(
    const QString& line) {
    // The pattern needs a ':' and then a folder; most titles (a bare
    // program name) have none, and are answered without the matcher.
    const qsizetype colon = line.indexOf(QLatin1Char(':'));
    if (colon < 0 || (line.indexOf(QLatin1Char('/'), colon) < 0 &&
                      line.indexOf(QLatin1Char('~'), colon) < 0)) {
        return std::nullopt;
    }
    // The same title tick after tick: the last line's answer stands.
    thread_local std::optional<std::pair<QString, std::optional<SessionLine>>> last;
    if (last && last->first == line) return last->second;
    std::optional<SessionLine> parsed = matchSessionLine(line);
    last.emplace(line, parsed);
    return parsed;
}

std::optional<TRTerminalInfoExtractor::SessionLine> TRTerminalInfoExtractor::matchSessionLine(
    const QString& line) {
    URegularExpression* expression = sessionExpression();
    if (expression == nullptr) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    uregex_setText(expression, reinterpret_cast<const UChar*>(line.utf16()),
                   static_cast<int32_t>(line.size()), &status);
    if (U_FAILURE(status) || !uregex_find(expression, 0, &status) || U_FAILURE(status)) {
        return std::nullopt;
    }
    if (uregex_groupCount(expression, &status) < 4) return std::nullopt;
    return SessionLine{group(expression, 2, line), group(expression, 3, line),
                       group(expression, 4, line)};
}

bool TRTerminalInfoExtractor::isLocalHost(const QString& host, const QStringList& names) {
    for (const QString& name : names) {
        if (name.compare(host, Qt::CaseInsensitive) == 0) return true;
        const QString firstLabel = name.section(QLatin1Char('.'), 0, 0);
        if (firstLabel.compare(host, Qt::CaseInsensitive) == 0) return true;
    }
    return false;
}

QString TRTerminalInfoExtractor::sshDestination(const QStringList& arguments) {
    QString user;
    QString destination;
    for (qsizetype i = 1; i < arguments.size() && destination.isNull(); ++i) {
        const QString& word = arguments[i];
        if (word == QLatin1String("--")) {
            if (i + 1 < arguments.size()) destination = arguments[i + 1];
            break;
        }
        if (!word.startsWith(QLatin1Char('-')) || word.size() < 2) {
            destination = word;
            break;
        }
        for (qsizetype at = 1; at < word.size(); ++at) {
            const char option = word[at].toLatin1();
            if (option == 0 || std::strchr(kSshOptionsWithValue, option) == nullptr) continue;
            const QString value = at + 1 < word.size()
                                      ? word.mid(at + 1)
                                      : (i + 1 < arguments.size() ? arguments[++i] : QString());
            if (option == 'l') user = value;
            break;
        }
    }
    if (destination.isEmpty()) return {};
    if (destination.startsWith(QLatin1String("ssh://"))) {
        destination = destination.mid(6).section(QLatin1Char('/'), 0, 0);
        const qsizetype colon = destination.lastIndexOf(QLatin1Char(':'));
        if (colon > destination.lastIndexOf(QLatin1Char('@'))) destination.truncate(colon);
    }
    const qsizetype at = destination.lastIndexOf(QLatin1Char('@'));
    if (at >= 0) {
        user = destination.left(at);
        destination = destination.mid(at + 1);
    }
    if (destination.isEmpty()) return {};
    return QStringLiteral("%1@%2").arg(user, destination);
}

bool TRTerminalInfoExtractor::writeFrontSession(TRActivity& activity, ProcessSource& processes) {
    const RunningApplication* application = activity.runningApplication();
    if (application == nullptr) return false;
    // More than one session (tabs, or windows of one process): which one is
    // in front cannot be told from the process table.
    const QList<qint32> sessions = processes.children(application->processIdentifier);
    if (sessions.size() != 1) return false;
    qint32 front = processes.foregroundProcess(sessions.front());
    if (front <= 0) front = sessions.front();

    const QStringList arguments = processes.arguments(front);
    const QString command = arguments.isEmpty() ? processes.executablePath(front) : arguments.front();
    const QString program = command.mid(command.lastIndexOf(QLatin1Char('/')) + 1);
    if (program == QLatin1String("ssh")) {
        const QString destination = sshDestination(arguments);
        if (destination.isEmpty()) return false;
        activity.setPathComponents(QStringList{destination});
        return true;
    }
    const QString directory = processes.workingDirectory(front);
    if (directory.isEmpty()) return false;
    activity.setDocumentPath(QUrl::fromLocalFile(directory).toString(QUrl::FullyEncoded));
    return true;
}

void TRTerminalInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                      const TRExtractionContext& context) const {
    if (activity.windowTitle().isEmpty()) {
        TRGenericInfoExtractor::instance().writeDetailsForActivity(activity, context);
    }
    QString sessionLine;
    if (const auto target = targetFor(activity, context); target && target->isRunning()) {
        const QString customTitle =
            stringOf(target->get({element("cwin", 1), property("tcnt"), property("titl")}));
        if (!customTitle.isEmpty()) sessionLine = customTitle;
        const QString sessionName =
            stringOf(target->get({property("Ctrm"), property("Cssn"), property("pnam")}));
        const qsizetype blank = sessionName.lastIndexOf(QLatin1Char(' '));
        if (!sessionName.isEmpty() && blank >= 0) sessionLine = sessionName.left(blank);
    }
    if (sessionLine.isEmpty() && activity.details()) {
        const QString title = activity.windowTitle();
        const qsizetype dash = title.indexOf(QStringLiteral(" \u2014 "));
        sessionLine = trimmedOfBlanksAndTabs(dash >= 0 ? title.left(dash) : title);
    }

    const std::optional<SessionLine> session =
        sessionLine.isEmpty() ? std::nullopt : parseSessionLine(sessionLine);
    if (!session) {
        if (context.processes == nullptr || !writeFrontSession(activity, *context.processes)) {
            removeDetails(activity);
        }
        return;
    }
    const QStringList names =
        context.hostNames ? context.hostNames->currentHostNames() : QStringList();
    if (!session->host.isEmpty() && !isLocalHost(session->host, names)) {
        QStringList components{QStringLiteral("%1@%2").arg(session->user, session->host)};
        components += StringAdditions::componentsSeparatedByIncludedCharactersInSet(
            session->directory, QStringLiteral("/"));
        activity.setPathComponents(components);
        return;
    }
    activity.setDocumentPath(fileUrlOfDirectory(session->directory));
}

QString TRTerminalInfoExtractor::name() const {
    return QStringLiteral("TRTerminalInfoExtractor");
}

const TRTerminalInfoExtractor& TRTerminalInfoExtractor::instance() {
    static const TRTerminalInfoExtractor extractor;
    return extractor;
}

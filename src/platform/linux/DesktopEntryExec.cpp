#include "platform/linux/DesktopEntryExec.h"

#include <cstring>

#include <glib.h>

namespace DesktopEntryExec {
namespace {

QString withFieldCodesExpanded(const QString& execValue) {
    QString result;
    for (qsizetype i = 0; i < execValue.size(); ++i) {
        if (execValue[i] == QLatin1Char('%') && i + 1 < execValue.size()) {
            if (execValue[i + 1] == QLatin1Char('%')) result.append(QLatin1Char('%'));
            ++i;
        } else {
            result.append(execValue[i]);
        }
    }
    return result;
}

// Letters, digits and a few punctuation marks need no quotes; anything else
// (the format's reserved characters, blanks, controls, other scripts) is
// quoted, which is always allowed.
bool needsQuotes(const QString& word) {
    for (const QChar c : word) {
        const bool plain = (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
                           (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
                           (c >= QLatin1Char('0') && c <= QLatin1Char('9')) ||
                           QStringLiteral("/._-+,@:=").contains(c);
        if (!plain) return true;
    }
    return word.isEmpty();
}

// Inside double quotes '"', '`', '$' and '\' take a backslash.
QString quoted(const QString& word) {
    QString result = QStringLiteral("\"");
    for (const QChar c : word) {
        if (QStringLiteral("\"`$\\").contains(c)) result.append(QLatin1Char('\\'));
        result.append(c);
    }
    return result + QLatin1Char('"');
}

// The key file's string escapes, applied last.
QString keyFileEscaped(const QString& value) {
    QString result;
    for (const QChar c : value) {
        switch (c.unicode()) {
            case '\\': result.append(QStringLiteral("\\\\")); break;
            case '\n': result.append(QStringLiteral("\\n")); break;
            case '\r': result.append(QStringLiteral("\\r")); break;
            case '\t': result.append(QStringLiteral("\\t")); break;
            default: result.append(c);
        }
    }
    return result;
}

}  // namespace

QString programOf(const QString& execValue) {
    const QByteArray commandLine = withFieldCodesExpanded(execValue).toUtf8();
    gchar** argv = nullptr;
    if (!g_shell_parse_argv(commandLine.constData(), nullptr, &argv, nullptr)) return {};
    gchar** word = argv;
    if (g_strcmp0(*word, "env") == 0) {
        ++word;
        while (*word != nullptr && std::strchr(*word, '=') != nullptr) ++word;
    }
    QString program = QString::fromUtf8(*word);
    g_strfreev(argv);
    return program;
}

QString execLineFor(const QString& program) {
    QString value = needsQuotes(program) ? quoted(program) : program;
    value.replace(QLatin1Char('%'), QStringLiteral("%%"));
    return keyFileEscaped(value);
}

}  // namespace DesktopEntryExec

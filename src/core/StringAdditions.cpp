#include "core/StringAdditions.h"

#include <QUrl>

namespace StringAdditions {

bool startsWith(const QString& s, const QString& prefix) {
    return s.size() >= prefix.size() && s.startsWith(prefix, Qt::CaseSensitive);
}

bool endsWith(const QString& s, const QString& suffix) {
    return s.size() >= suffix.size() && s.endsWith(suffix, Qt::CaseSensitive);
}

bool containsString(const QString& s, const QString& needle) {
    return !needle.isEmpty() && s.contains(needle, Qt::CaseSensitive);
}

namespace {

// A cursor with the skipping rules of a text scanner: every scan first skips
// whitespace and newlines, and a scan that reads nothing fails.
class Scanner final {
public:
    Scanner(const QString& s, const QString& separators) : m_s(s), m_separators(separators) {}

    // A maximal run of separators; empty when there is none.
    QString scanSeparators() {
        skipWhitespace();
        const qsizetype start = m_pos;
        while (m_pos < m_s.size() && isSeparator(m_s[m_pos])) ++m_pos;
        return m_s.mid(start, m_pos - start);
    }

    // Everything up to the next separator; false when that is nothing.
    bool scanUpToSeparator(QString* text) {
        skipWhitespace();
        const qsizetype start = m_pos;
        while (m_pos < m_s.size() && !isSeparator(m_s[m_pos])) ++m_pos;
        *text = m_s.mid(start, m_pos - start);
        return m_pos > start;
    }

private:
    bool isSeparator(QChar c) const { return m_separators.contains(c); }
    void skipWhitespace() {
        while (m_pos < m_s.size() && m_s[m_pos].isSpace()) ++m_pos;
    }

    const QString& m_s;
    const QString& m_separators;
    qsizetype m_pos = 0;
};

}  // namespace

QStringList componentsSeparatedByIncludedCharactersInSet(const QString& s,
                                                         const QString& separators) {
    QStringList components;
    Scanner scanner(s, separators);
    QString run = scanner.scanSeparators();
    QString text;
    while (scanner.scanUpToSeparator(&text)) {
        if (!run.isEmpty() || !text.isEmpty()) components.append(run + text);
        run = scanner.scanSeparators();
    }
    if (components.isEmpty() && !run.isEmpty()) components.append(run);
    if (components.size() >= 2) {
        const QString& last = components.last();
        if (last.size() == 1 && separators.contains(last[0])) components.removeLast();
    }
    return components;
}

QString stringByRemovingPossibleWWWPrefix(const QString& s) {
    static const QString kPrefix = QStringLiteral("www.");
    return s.indexOf(kPrefix) == 0 ? s.mid(kPrefix.size()) : s;
}

QString stringByURLEncodingWithUTF8(const QString& s) {
    return QString::fromLatin1(QUrl::toPercentEncoding(s, QByteArray(), QByteArrayLiteral("_")));
}

}  // namespace StringAdditions

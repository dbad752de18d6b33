#include "platform/linux/DesktopEntry.h"

#include <QStringList>

namespace {

constexpr char kMainGroup[] = "[Desktop Entry]";

QString unescapeValue(const QString& raw) {
    QString out;
    out.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        const QChar c = raw.at(i);
        if (c != QLatin1Char('\\') || i + 1 == raw.size()) {
            out.append(c);
            continue;
        }
        const QChar next = raw.at(++i);
        switch (next.unicode()) {
        case 's': out.append(QLatin1Char(' ')); break;
        case 'n': out.append(QLatin1Char('\n')); break;
        case 't': out.append(QLatin1Char('\t')); break;
        case 'r': out.append(QLatin1Char('\r')); break;
        case '\\': out.append(QLatin1Char('\\')); break;
        default: out.append(QLatin1Char('\\')).append(next); break;
        }
    }
    return out;
}

bool isTrue(const QString& value) {
    return value.trimmed() == QLatin1String("true");
}

void assign(DesktopEntry& entry, const QString& key, const QString& value) {
    if (key == QLatin1String("Type")) {
        entry.type = value;
    } else if (key == QLatin1String("Name")) {
        entry.name = value;
    } else if (key.startsWith(QLatin1String("Name[")) && key.endsWith(QLatin1Char(']'))) {
        entry.localizedNames.insert(key.mid(5, key.size() - 6), value);
    } else if (key == QLatin1String("Exec")) {
        entry.exec = value;
    } else if (key == QLatin1String("StartupWMClass")) {
        entry.startupWMClass = value;
    } else if (key == QLatin1String("NoDisplay")) {
        entry.noDisplay = isTrue(value);
    } else if (key == QLatin1String("Hidden")) {
        entry.hidden = isTrue(value);
    }
}

// Splits an Exec line into words, honouring double quotes and backslashes
// inside them, as the desktop-entry format describes.
QStringList execWords(const QString& exec) {
    QStringList words;
    QString word;
    bool inQuotes = false;
    bool hasWord = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec.at(i);
        if (inQuotes && c == QLatin1Char('\\') && i + 1 < exec.size()) {
            word.append(exec.at(++i));
        } else if (c == QLatin1Char('"')) {
            inQuotes = !inQuotes;
            hasWord = true;
        } else if (!inQuotes && c.isSpace()) {
            if (hasWord) words.append(word);
            word.clear();
            hasWord = false;
        } else {
            word.append(c);
            hasWord = true;
        }
    }
    if (hasWord) words.append(word);
    return words;
}

}  // namespace

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray& text, const QString& id,
                                                const QString& filePath) {
    DesktopEntry entry;
    entry.id = id;
    entry.filePath = filePath;
    bool seenMain = false;
    bool inMain = false;
    for (const QByteArray& rawLine : text.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#'))) continue;
        if (line.startsWith(QLatin1Char('['))) {
            inMain = line == QLatin1String(kMainGroup) && !seenMain;
            seenMain = seenMain || inMain;
            continue;
        }
        if (!inMain) continue;
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (eq <= 0) continue;
        assign(entry, line.left(eq).trimmed(), unescapeValue(line.mid(eq + 1).trimmed()));
    }
    if (!seenMain) return std::nullopt;
    return entry;
}

QString DesktopEntry::localizedName(const QString& locale) const {
    QString lang = locale;
    QString modifier;
    const qsizetype at = lang.indexOf(QLatin1Char('@'));
    if (at >= 0) {
        modifier = lang.mid(at + 1);
        lang.truncate(at);
    }
    const qsizetype dot = lang.indexOf(QLatin1Char('.'));
    if (dot >= 0) lang.truncate(dot);
    const qsizetype underscore = lang.indexOf(QLatin1Char('_'));
    const QString language = underscore >= 0 ? lang.left(underscore) : lang;

    QStringList candidates;
    if (!modifier.isEmpty()) candidates << lang + QLatin1Char('@') + modifier;
    candidates << lang;
    if (!modifier.isEmpty()) candidates << language + QLatin1Char('@') + modifier;
    candidates << language;
    for (const QString& candidate : candidates) {
        const auto found = localizedNames.constFind(candidate);
        if (found != localizedNames.constEnd() && !found->isEmpty()) return *found;
    }
    return name;
}

QString DesktopEntry::execProgram() const {
    const QStringList words = execWords(exec);
    qsizetype i = 0;
    if (i < words.size() && words.at(i) == QLatin1String("env")) {
        ++i;
        while (i < words.size() && words.at(i).contains(QLatin1Char('='))) ++i;
    }
    return i < words.size() ? words.at(i) : QString();
}

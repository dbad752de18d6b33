#include "platform/linux/XdgAutostartLoginItems.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

const QString kEntryName = QStringLiteral("info.mallowby.VorlixHelper.desktop");

// The Exec value of the desktop entry's main group, with the quoting the
// entry format allows around a path that holds spaces undone.
struct EntryFacts {
    QString program;
    bool hidden = false;
};

QString unquote(QString value) {
    value = value.trimmed();
    if (value.size() >= 2 && value.startsWith(QLatin1Char('"')) &&
        value.endsWith(QLatin1Char('"'))) {
        value = value.mid(1, value.size() - 2);
        value.replace(QStringLiteral("\\\""), QStringLiteral("\""));
        value.replace(QStringLiteral("\\\\"), QStringLiteral("\\"));
    }
    return value;
}

EntryFacts readEntry(const QString& path) {
    EntryFacts facts;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return facts;
    bool inMainGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inMainGroup = line == QStringLiteral("[Desktop Entry]");
        } else if (inMainGroup && line.startsWith(QStringLiteral("Exec="))) {
            facts.program = unquote(line.mid(5));
        } else if (inMainGroup && line.startsWith(QStringLiteral("Hidden="))) {
            facts.hidden = line.mid(7).trimmed() == QStringLiteral("true");
        }
    }
    return facts;
}

// Exec arguments are quoted when they hold anything the entry format treats
// specially; backslash and double quote are escaped inside the quotes.
QString quotedForExec(QString path) {
    static const QString kSpecial = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool needsQuotes = false;
    for (const QChar c : path) needsQuotes = needsQuotes || kSpecial.contains(c);
    if (!needsQuotes) return path;
    path.replace(QStringLiteral("\\"), QStringLiteral("\\\\"));
    path.replace(QStringLiteral("\""), QStringLiteral("\\\""));
    return QLatin1Char('"') + path + QLatin1Char('"');
}

}  // namespace

XdgAutostartLoginItems::XdgAutostartLoginItems(QString autostartFolder)
    : m_folder(std::move(autostartFolder)) {
    if (m_folder.isEmpty()) {
        m_folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                   QStringLiteral("/autostart");
    }
}

QString XdgAutostartLoginItems::entryPath() const {
    return m_folder + QLatin1Char('/') + kEntryName;
}

bool XdgAutostartLoginItems::willItemStartAtLogin(const QString& programPath) {
    const EntryFacts facts = readEntry(entryPath());
    return !facts.hidden && !programPath.isEmpty() && facts.program == programPath;
}

void XdgAutostartLoginItems::setStartItemAtLogin(const QString& programPath, bool enabled) {
    const bool present = willItemStartAtLogin(programPath);
    if (!enabled) {
        if (present) QFile::remove(entryPath());
        return;
    }
    if (present || programPath.isEmpty() || !QDir().mkpath(m_folder)) return;
    QSaveFile file(entryPath());
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) return;
    const QString entry = QStringLiteral(
                              "[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Vorlix Helper\n"
                              "Comment=Records how you spend your time at the computer\n"
                              "Icon=vorlix-helper\n"
                              "Exec=%1\n"
                              "Terminal=false\n"
                              "NoDisplay=true\n"
                              "X-GNOME-Autostart-enabled=true\n")
                              .arg(quotedForExec(programPath));
    file.write(entry.toUtf8());
    file.commit();
}

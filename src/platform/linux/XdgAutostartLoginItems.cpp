#include "platform/linux/XdgAutostartLoginItems.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>
#include <memory>

#include "platform/linux/DesktopEntryExec.h"

#include <glib.h>

namespace {

const QString kEntryName = QStringLiteral("info.mallowby.VorlixHelper.desktop");

// What the helper needs of an autostart entry, read by GLib's key file:
// the program its Exec value starts and whether it is hidden.
struct EntryFacts {
    QString program;
    bool hidden = false;
};

EntryFacts readEntry(const QString& path) {
    EntryFacts facts;
    const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> file(g_key_file_new(),
                                                                     &g_key_file_free);
    if (!g_key_file_load_from_file(file.get(), QFile::encodeName(path).constData(),
                                   G_KEY_FILE_NONE, nullptr)) {
        return facts;
    }
    const std::unique_ptr<gchar, decltype(&g_free)> exec(
        g_key_file_get_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, "Exec", nullptr), &g_free);
    if (exec) facts.program = DesktopEntryExec::programOf(QString::fromUtf8(exec.get()));
    facts.hidden =
        g_key_file_get_boolean(file.get(), G_KEY_FILE_DESKTOP_GROUP, "Hidden", nullptr) != FALSE;
    return facts;
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
                              .arg(DesktopEntryExec::execLineFor(programPath));
    file.write(entry.toUtf8());
    file.commit();
}

#include "platform/linux/DesktopEntryIndex.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace {

constexpr char kSuffix[] = ".desktop";

bool isInterpreter(const QString& fileName) {
    static const QStringList kInterpreters = {
        QStringLiteral("sh"),   QStringLiteral("bash"), QStringLiteral("dash"),
        QStringLiteral("env"),  QStringLiteral("perl"), QStringLiteral("ruby"),
        QStringLiteral("node"), QStringLiteral("java"), QStringLiteral("wine")};
    return kInterpreters.contains(fileName) || fileName.startsWith(QLatin1String("python"));
}

// Prefer entries a user sees in menus, then the lowest id, so the choice
// does not depend on the order the folders were listed in.
bool isBetterCandidate(const DesktopEntry& candidate, const DesktopEntry* best) {
    if (best == nullptr) return true;
    if (candidate.noDisplay != best->noDisplay) return !candidate.noDisplay;
    return candidate.id < best->id;
}

}  // namespace

DesktopEntryIndex::DesktopEntryIndex(QStringList applicationFolders, bool watch)
    : m_folders(std::move(applicationFolders)), m_watch(watch) {
    QObject::connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_watcher,
                     [this] { m_stale = true; });
}

QStringList DesktopEntryIndex::defaultApplicationFolders() {
    QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty()) dataHome = QDir::homePath() + QStringLiteral("/.local/share");
    QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty()) dataDirs = QStringLiteral("/usr/local/share:/usr/share");
    QStringList folders{dataHome + QStringLiteral("/applications")};
    for (const QString& dir : dataDirs.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        const QString folder = QDir::cleanPath(dir) + QStringLiteral("/applications");
        if (!folders.contains(folder)) folders << folder;
    }
    return folders;
}

const DesktopEntry* DesktopEntryIndex::entry(const QString& id) {
    refreshIfStale();
    const auto found = m_byId.constFind(id);
    return found == m_byId.constEnd() ? nullptr : &m_entries[static_cast<size_t>(*found)];
}

const DesktopEntry* DesktopEntryIndex::entryForWindowClass(const QString& instance,
                                                           const QString& className) {
    refreshIfStale();
    for (const QString& wanted : {className, instance}) {
        if (wanted.isEmpty()) continue;
        for (const DesktopEntry& e : m_entries) {
            if (e.startupWMClass == wanted) return &e;
        }
    }
    for (const QString& wanted : {className, instance}) {
        if (wanted.isEmpty()) continue;
        for (const DesktopEntry& e : m_entries) {
            if (e.id.compare(wanted, Qt::CaseInsensitive) == 0) return &e;
        }
    }
    return nullptr;
}

const DesktopEntry* DesktopEntryIndex::entryForExecutable(const QString& executablePath) {
    refreshIfStale();
    const QString fileName = QFileInfo(executablePath).fileName();
    if (fileName.isEmpty() || isInterpreter(fileName)) return nullptr;
    const DesktopEntry* samePath = nullptr;
    const DesktopEntry* sameName = nullptr;
    for (const DesktopEntry& e : m_entries) {
        const QString program = e.execProgram();
        if (program.isEmpty()) continue;
        if (program == executablePath) {
            if (isBetterCandidate(e, samePath)) samePath = &e;
        } else if (QFileInfo(program).fileName() == fileName) {
            if (isBetterCandidate(e, sameName)) sameName = &e;
        }
    }
    return samePath != nullptr ? samePath : sameName;
}

quint64 DesktopEntryIndex::generation() {
    refreshIfStale();
    return m_generation;
}

void DesktopEntryIndex::refreshIfStale() {
    if (!m_stale) return;
    m_stale = false;
    load();
    ++m_generation;
    if (m_watch) watchFolders();
}

void DesktopEntryIndex::load() {
    m_entries.clear();
    m_byId.clear();
    QSet<QString> seen;
    for (const QString& folder : m_folders) loadFolder(folder, QString(), seen);
    std::sort(m_entries.begin(), m_entries.end(),
              [](const DesktopEntry& a, const DesktopEntry& b) { return a.id < b.id; });
    for (qsizetype i = 0; i < static_cast<qsizetype>(m_entries.size()); ++i) {
        m_byId.insert(m_entries[static_cast<size_t>(i)].id, i);
    }
}

// Entries in sub-folders get ids joined with '-' ("kde4/foo.desktop" is
// "kde4-foo"). An id already seen in an earlier folder wins, also when the
// earlier one is hidden: that is how a user hides a system entry.
void DesktopEntryIndex::loadFolder(const QString& dir, const QString& idPrefix,
                                   QSet<QString>& seen) {
    const QDir qdir(dir);
    const QFileInfoList infos =
        qdir.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& info : infos) {
        if (info.isDir()) {
            loadFolder(info.filePath(), idPrefix + info.fileName() + QLatin1Char('-'), seen);
            continue;
        }
        if (!info.fileName().endsWith(QLatin1String(kSuffix))) continue;
        const QString id = idPrefix + info.fileName().chopped(int(sizeof(kSuffix) - 1));
        if (seen.contains(id)) continue;
        seen.insert(id);
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly)) continue;
        auto parsed = DesktopEntry::parse(file.readAll(), id, info.filePath());
        if (!parsed || parsed->hidden || parsed->type != QLatin1String("Application")) continue;
        m_entries.push_back(std::move(*parsed));
    }
}

// Watches each folder that exists and the parent of each that does not, so
// that an "applications" folder created later (a first user-installed
// application) is noticed too.
void DesktopEntryIndex::watchFolders() {
    QStringList paths;
    for (const QString& folder : m_folders) {
        const QFileInfo info(folder);
        if (info.isDir()) {
            paths << folder;
            const QDir dir(folder);
            for (const QString& sub : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                paths << dir.filePath(sub);
            }
        } else if (QFileInfo(info.path()).isDir()) {
            paths << info.path();
        }
    }
    const QStringList watched = m_watcher.directories();
    for (const QString& path : paths) {
        if (!watched.contains(path)) m_watcher.addPath(path);
    }
}

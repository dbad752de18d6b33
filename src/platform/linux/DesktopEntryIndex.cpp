#include "platform/linux/DesktopEntryIndex.h"

#include "platform/linux/DesktopEntryExec.h"

#include <QFileInfo>
#include <QStringList>
#include <algorithm>

#include <gio/gdesktopappinfo.h>

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

// GIO's own executable is Exec's first word as written ("env", or half of a
// quoted path); the program is read the way GIO starts the entry.
QString execProgram(GAppInfo* info) {
    const char* exec = g_app_info_get_commandline(info);
    return exec == nullptr ? QString() : DesktopEntryExec::programOf(QString::fromUtf8(exec));
}

DesktopEntry entryFromInfo(GDesktopAppInfo* info) {
    DesktopEntry entry;
    entry.id = QString::fromUtf8(g_app_info_get_id(G_APP_INFO(info)));
    if (entry.id.endsWith(QLatin1String(kSuffix))) entry.id.chop(int(sizeof(kSuffix) - 1));
    entry.localizedName = QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info)));
    entry.startupWMClass = QString::fromUtf8(g_desktop_app_info_get_startup_wm_class(info));
    entry.execProgram = execProgram(G_APP_INFO(info));
    entry.noDisplay = g_desktop_app_info_get_nodisplay(info) != FALSE;
    return entry;
}

}  // namespace

// GIO's monitor of the application folders (inotify, in GLib's worker
// thread) posts "changed" to the main context that was the creating thread's
// default; the handler only marks the index stale, so a burst of changes
// costs one reading at the next lookup.
struct DesktopEntryIndex::ChangeWatch final {
    GAppInfoMonitor* monitor = g_app_info_monitor_get();
    gulong handler = 0;

    ~ChangeWatch() {
        g_signal_handler_disconnect(monitor, handler);
        g_object_unref(monitor);
    }
};

DesktopEntryIndex::DesktopEntryIndex() : m_watch(std::make_unique<ChangeWatch>()) {
    m_watch->handler = g_signal_connect_swapped(
        m_watch->monitor, "changed",
        G_CALLBACK(+[](DesktopEntryIndex* self, GAppInfoMonitor*) { self->m_stale = true; }),
        this);
}

DesktopEntryIndex::~DesktopEntryIndex() = default;

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
        if (e.execProgram.isEmpty()) continue;
        if (e.execProgram == executablePath) {
            if (isBetterCandidate(e, samePath)) samePath = &e;
        } else if (QFileInfo(e.execProgram).fileName() == fileName) {
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
}

// g_app_info_get_all() reads the files again (GIO keeps only the folder
// listings); the monitor reports changes only once it has been called.
void DesktopEntryIndex::load() {
    m_entries.clear();
    m_byId.clear();
    GList* all = g_app_info_get_all();
    for (GList* item = all; item != nullptr; item = item->next) {
        if (G_IS_DESKTOP_APP_INFO(item->data)) {
            m_entries.push_back(entryFromInfo(G_DESKTOP_APP_INFO(item->data)));
        }
    }
    g_list_free_full(all, g_object_unref);
    std::sort(m_entries.begin(), m_entries.end(),
              [](const DesktopEntry& a, const DesktopEntry& b) { return a.id < b.id; });
    for (qsizetype i = 0; i < static_cast<qsizetype>(m_entries.size()); ++i) {
        m_byId.insert(m_entries[static_cast<size_t>(i)].id, i);
    }
}

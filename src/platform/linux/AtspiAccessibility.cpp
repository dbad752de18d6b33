#include "platform/linux/AtspiAccessibility.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFileInfo>
#include <QLoggingCategory>

#include "platform/linux/AtspiSession.h"

Q_LOGGING_CATEGORY(lcAtspi, "vorlix.platform.linux.atspi", QtInfoMsg)

namespace {

constexpr int kCallTimeoutMs = 250;
// A process without an application is looked for again after a change on
// the accessibility bus (below), for kSettleMs after it every kMissRetryMs,
// since an application registers a moment after it connects; else (the bus
// cannot be watched) every kMissRetryMs. kMissRecheckMs is the safety net.
constexpr qint64 kMissRetryMs = 2000;
constexpr qint64 kSettleMs = 10000;
constexpr qint64 kMissRecheckMs = 30000;
// Each iteration dispatches one message; the front application's change
// events of a busy second come on top of the replies.
constexpr int kMaxDrainIterations = 512;

const QString kBusService = QStringLiteral("org.a11y.Bus");
const QString kBusPath = QStringLiteral("/org/a11y/bus");
const QString kStatusInterface = QStringLiteral("org.a11y.Status");
const QString kPropertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

bool processExists(qint32 processIdentifier) {
    return QFileInfo::exists(QStringLiteral("/proc/%1").arg(processIdentifier));
}

// An application joining the accessibility bus first connects to it: the
// bus announces the new connection (NameOwnerChanged), and libatspi, which
// asks for these announcements itself, passes them on to later filters. (It
// keeps the registry's ChildrenChanged on the desktop to itself.)
DBusHandlerResult countApplicationListChanges(DBusConnection*, DBusMessage* message, void* data) {
    if (dbus_message_is_signal(message, "org.freedesktop.DBus", "NameOwnerChanged")) {
        auto* session = static_cast<AtspiAccessibilityProvider::Session*>(data);
        ++session->listGeneration;
        session->listChangedAt.start();
    }
    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
}

}  // namespace

bool AtspiAccessibilityProvider::Session::ensureStarted() {
    if (started) return available;
    started = true;
    thread = std::this_thread::get_id();
    context = g_main_context_new();
    g_main_context_push_thread_default(context);
    atspi_set_timeout(kCallTimeoutMs, kCallTimeoutMs);
    const int status = atspi_init();
    available = status == 0 || status == 1;  // 1: this process had already started it
    if (!available) {
        qCInfo(lcAtspi) << "no accessibility bus; window documents come from window titles only";
        return false;
    }
    // Own the bus traffic on this thread's context, away from the Qt main loop.
    atspi_set_main_context(context);
    // The list of applications is asked for afresh each time: libatspi's
    // copy misses applications that registered after it was first read.
    AccessiblePtr desktop(atspi_get_desktop(0));
    if (desktop) {
        atspi_accessible_set_cache_mask(desktop.get(),
                                        AtspiCache(ATSPI_CACHE_DEFAULT & ~ATSPI_CACHE_CHILDREN));
    }
    watchApplicationList();
    registerForChanges();
    return true;
}

void AtspiAccessibilityProvider::Session::watchApplicationList() {
    DBusConnection* bus = atspi_get_a11y_bus();
    listWatched = bus != nullptr &&
                  dbus_connection_add_filter(bus, countApplicationListChanges, this, nullptr);
}

void AtspiAccessibilityProvider::Session::unwatchApplicationList() {
    if (!listWatched) return;
    if (DBusConnection* bus = atspi_get_a11y_bus()) {
        dbus_connection_remove_filter(bus, countApplicationListChanges, this);
    }
    listWatched = false;
}

bool AtspiAccessibilityProvider::Session::mayLookAgain(const Miss& miss) const {
    if (!listWatched) return miss.at.elapsed() >= kMissRetryMs;
    if (miss.generation != listGeneration) return true;
    const bool settling = listChangedAt.isValid() && listChangedAt.elapsed() < kSettleMs;
    return miss.at.elapsed() >= (settling ? kMissRetryMs : kMissRecheckMs);
}

void AtspiAccessibilityProvider::Session::assertThread() const {
    Q_ASSERT_X(!started || thread == std::this_thread::get_id(), "AtspiAccessibilityProvider",
               "AT-SPI used from a second thread");
}

void AtspiAccessibilityProvider::Session::drain() {
    if (context == nullptr) return;
    for (int i = 0; i < kMaxDrainIterations && g_main_context_iteration(context, FALSE); ++i) {
    }
}

std::shared_ptr<AtspiApplicationState> AtspiAccessibilityProvider::Session::state(qint32 processIdentifier) {
    auto& entry = states[processIdentifier];
    if (!entry) {
        entry = std::make_shared<AtspiApplicationState>();
        entry->processIdentifier = processIdentifier;
    }
    return entry;
}

void AtspiAccessibilityProvider::Session::forget(qint32 processIdentifier) {
    const auto known = states.find(processIdentifier);
    if (known == states.end()) return;
    if (watched == known->second) unwatch();
    states.erase(known);
}

// Looks through the registered applications once and remembers every pid
// it saw; a pid without an application is looked for again only after a
// change on the bus (a window in front that never joins, such as a
// terminal's, costs no look a tick).
std::optional<AtspiAccessibilityProvider::Session::Asked> AtspiAccessibilityProvider::Session::ask(
    qint32 processIdentifier) {
    assertThread();
    if (processIdentifier <= 0 || !ensureStarted()) return std::nullopt;
    drain();
    AtspiAccessible* app = application(processIdentifier);
    if (app == nullptr) return std::nullopt;
    std::shared_ptr<AtspiApplicationState> asked = state(processIdentifier);
    watch(asked, app);
    return Asked{app, std::move(asked)};
}

AtspiAccessible* AtspiAccessibilityProvider::Session::application(qint32 processIdentifier) {
    if (const auto known = applications.find(processIdentifier); known != applications.end()) {
        return known->second.get();
    }
    if (const auto miss = misses.find(processIdentifier);
        miss != misses.end() && !mayLookAgain(miss->second)) {
        return nullptr;
    }
    for (auto it = applications.begin(); it != applications.end();) {
        if (processExists(it->first)) {
            ++it;
            continue;
        }
        forget(it->first);
        it = applications.erase(it);
    }
    std::erase_if(misses, [](const auto& miss) { return !processExists(miss.first); });
    // A change announced while the list is read makes this look's misses stale.
    const quint64 generation = listGeneration;
    AccessiblePtr desktop(atspi_get_desktop(0));
    const int count = desktop ? atspi_accessible_get_child_count(desktop.get(), nullptr) : 0;
    for (int i = 0; i < count; ++i) {
        AccessiblePtr app(atspi_accessible_get_child_at_index(desktop.get(), i, nullptr));
        if (!app) continue;
        const auto pid = qint32(atspi_accessible_get_process_id(app.get(), nullptr));
        if (pid > 0 && applications.find(pid) == applications.end()) {
            // Applications keep the full cache; their questions clear it.
            atspi_accessible_set_cache_mask(app.get(), ATSPI_CACHE_DEFAULT);
            applications.emplace(pid, std::move(app));
        }
    }
    qCDebug(lcAtspi) << "looked for process" << processIdentifier << "among" << count
                     << "applications";
    if (const auto found = applications.find(processIdentifier); found != applications.end()) {
        misses.erase(processIdentifier);
        return found->second.get();
    }
    Miss& miss = misses[processIdentifier];
    miss.generation = generation;
    miss.at.start();
    return nullptr;
}

AtspiAccessibilityProvider::AtspiAccessibilityProvider(DialogOwnerSource* dialogOwners)
    : d(std::make_unique<Session>()) {
    d->dialogOwners = dialogOwners;
}

AtspiAccessibilityProvider::~AtspiAccessibilityProvider() {
    d->assertThread();
    d->unwatchApplicationList();
    d->unwatch();
    d->deregisterFromChanges();
    d->applications.clear();
    // Give the thread back the default context it had: whoever pushed that
    // one (Qt's event dispatcher, when AT-SPI ran on the main thread) pops it
    // on the way out and expects it on top. The context itself stays alive,
    // as libatspi keeps it until the process ends.
    if (d->context != nullptr && d->thread == std::this_thread::get_id() &&
        g_main_context_get_thread_default() == d->context) {
        g_main_context_pop_thread_default(d->context);
    }
}

bool AtspiAccessibilityProvider::isEnabled() {
    return m_enabled.value();
}

bool AtspiAccessibilityProvider::enable() {
    QDBusMessage set = QDBusMessage::createMethodCall(kBusService, kBusPath, kPropertiesInterface,
                                                      QStringLiteral("Set"));
    set << kStatusInterface << QStringLiteral("IsEnabled") << QVariant::fromValue(QDBusVariant(true));
    const QDBusMessage reply = QDBusConnection::sessionBus().call(set, QDBus::Block, kCallTimeoutMs);
    m_enabled.forget();
    return reply.type() == QDBusMessage::ReplyMessage;
}

AccessibilityElementRef AtspiAccessibilityProvider::applicationElement(qint32 processIdentifier) {
    d->assertThread();
    if (processIdentifier <= 0 || !d->ensureStarted()) return nullptr;
    d->drain();
    AtspiAccessible* app = d->application(processIdentifier);
    if (app == nullptr) return nullptr;
    // Applications report changes only to registered listeners: the one in
    // front is watched, and what was found in it stays until it reports a
    // change. One that cannot be watched starts afresh with each new
    // application element (one a tick), whose first question clears the cache.
    const std::shared_ptr<AtspiApplicationState> state = d->state(processIdentifier);
    d->watch(state, app);
    if (!state->changes.watched) state->tickFront = AtspiApplicationState::TickFront{};
    // Kept answers are given only while the process runs: each tick looks
    // at the process table afresh before anything else.
    state->stopCheckedAt.invalidate();
    return makeAtspiApplicationElement(*d, state, app);
}

void AtspiAccessibilityProvider::noteFrontWindowTitle(qint32 processIdentifier,
                                                      const QString& title) {
    d->assertThread();
    if (processIdentifier <= 0) return;
    d->state(processIdentifier)->frontWindowTitle = title;
}

bool AtspiAccessibilityProvider::isAnswering(qint32 processIdentifier) {
    d->assertThread();
    const auto known = d->states.find(processIdentifier);
    return known == d->states.end() || known->second->responsive();
}

void AtspiAccessibilityProvider::processPendingEvents() {
    d->assertThread();
    if (d->ensureStarted()) d->drain();
}

std::optional<WindowDocumentSource::DocumentInfo> AtspiAccessibilityProvider::document(
    qint32 processIdentifier, int windowIndex) {
    const auto asked = d->ask(processIdentifier);
    if (!asked) return std::nullopt;
    AtspiAccessible* app = asked->app;
    const std::shared_ptr<AtspiApplicationState>& state = asked->state;
    if (!state->checkNotStopped()) {
        const auto* remembered = windowIndex == 1 ? state->rememberedFront() : nullptr;
        return remembered ? remembered->document : std::nullopt;
    }
    if (windowIndex != 1) atspi_accessible_clear_cache(app);
    AtspiQuery query(*state);
    AccessiblePtr window = query.windowAt(app, windowIndex);
    const AtspiQuery::DocumentFacts facts =
        window ? query.documentOf(window.get()) : AtspiQuery::DocumentFacts{};
    if (!facts.document) {
        // A question that failed on the way: the same window in front keeps
        // its last answer.
        const auto* remembered = windowIndex == 1 ? state->rememberedFront() : nullptr;
        return remembered ? remembered->document : std::nullopt;
    }
    DocumentInfo info;
    info.address = facts.address.value_or(QString());
    info.name = facts.name.value_or(QString());
    if (windowIndex == 1 && query.responsive()) state->frontToRemember().document = info;
    return info;
}

std::optional<QString> AtspiAccessibilityProvider::windowName(qint32 processIdentifier,
                                                              int windowIndex) {
    const auto asked = d->ask(processIdentifier);
    if (!asked) return std::nullopt;
    AtspiAccessible* app = asked->app;
    const std::shared_ptr<AtspiApplicationState>& state = asked->state;
    if (!state->checkNotStopped()) {
        const auto* remembered = windowIndex == 1 ? state->rememberedFront() : nullptr;
        return remembered ? remembered->windowName : std::nullopt;
    }
    if (windowIndex != 1) atspi_accessible_clear_cache(app);
    AtspiQuery query(*state);
    AccessiblePtr window = query.windowAt(app, windowIndex);
    std::optional<QString> name = window ? query.name(window.get()) : std::nullopt;
    if (windowIndex != 1) return name;
    if (name && query.responsive()) state->frontToRemember().windowName = name;
    if (!name) {
        if (const auto* remembered = state->rememberedFront()) return remembered->windowName;
    }
    return name;
}

std::optional<QString> AtspiAccessibilityProvider::applicationName(qint32 processIdentifier) {
    const auto asked = d->ask(processIdentifier);
    if (!asked) return std::nullopt;
    AtspiAccessible* app = asked->app;
    const std::shared_ptr<AtspiApplicationState>& state = asked->state;
    // The name an application gives itself does not change: asked once.
    if (state->applicationName) return state->applicationName;
    if (!state->checkNotStopped()) return std::nullopt;
    AtspiQuery query(*state);
    std::optional<QString> name = query.name(app);
    if (!name || name->isEmpty()) return std::nullopt;
    state->applicationName = name;
    return name;
}

// File managers' location bars. The field found in the window in front is
// kept while that window stays in front (AtspiApplicationState::LocationField).
std::optional<QString> AtspiAccessibilityProvider::locationText(qint32 processIdentifier,
                                                                int windowIndex) {
    const auto asked = d->ask(processIdentifier);
    if (!asked) return std::nullopt;
    AtspiAccessible* app = asked->app;
    const std::shared_ptr<AtspiApplicationState>& state = asked->state;
    if (!state->checkNotStopped()) return std::nullopt;
    if (windowIndex != 1) atspi_accessible_clear_cache(app);
    AtspiQuery query(*state);
    AccessiblePtr window = query.windowAt(app, windowIndex);
    if (!window) return std::nullopt;
    if (windowIndex == 1) d->watchLocation(*state);
    auto& kept = state->locationField;
    const quint64 seen = state->changes.location;
    if (windowIndex == 1 && kept && kept->window.get() == window.get()) {
        // Nothing reported since it was read: its text stands.
        if (state->changes.textWatched && kept->text && kept->seen == seen) return kept->text;
        // Found through a Collection request, the field is not among the
        // children the tick's cache clearing reaches.
        atspi_accessible_clear_cache(kept->field.get());
        if (query.hasState(kept->field.get(), ATSPI_STATE_SHOWING)) {
            if (std::optional<QString> text = query.shownText(kept->field.get())) {
                kept->text = text;
                kept->seen = seen;
                return text;
            }
        }
        kept.reset();
    }
    AccessiblePtr field = query.toolBarField(window.get());
    if (!field) return std::nullopt;
    std::optional<QString> text = query.shownText(field.get());
    if (windowIndex == 1 && text && query.responsive()) {
        kept = AtspiApplicationState::LocationField{std::move(window), std::move(field), text, seen};
    }
    return text;
}

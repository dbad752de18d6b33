#include "platform/linux/SwayWindowSystem.h"

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>
#include <cstring>

#include "platform/linux/LinuxPlatformLog.h"
#include "platform/linux/SwayWindowModel.h"

namespace {

// The IPC's framing: "i3-ipc", the payload's length and the message type,
// both 32-bit in the machine's byte order, then the JSON payload. Replies
// carry the request's type; events the type of the event with the top bit
// set.
constexpr char kMagic[] = "i3-ipc";
constexpr qsizetype kMagicSize = 6;
constexpr qsizetype kHeaderSize = kMagicSize + 8;
constexpr quint32 kSubscribe = 2;
constexpr quint32 kGetTree = 4;
constexpr quint32 kWorkspaceEvent = 0x80000000u | 0;
constexpr quint32 kWindowEvent = 0x80000000u | 3;
// A tree of a few hundred windows is well under a megabyte; more is noise.
constexpr quint32 kLargestPayload = 64u << 20;

QByteArray encode(quint32 type, const QByteArray& payload) {
    QByteArray message(kMagic, kMagicSize);
    const auto length = quint32(payload.size());
    message.append(reinterpret_cast<const char*>(&length), sizeof length);
    message.append(reinterpret_cast<const char*>(&type), sizeof type);
    return message + payload;
}

struct Message final {
    quint32 type = 0;
    QByteArray payload;
};

enum class Take { Message, Incomplete, Corrupt };

// Takes one whole message off the front of `buffer`.
Take takeMessage(QByteArray& buffer, Message& message) {
    if (buffer.size() < kHeaderSize) return Take::Incomplete;
    if (std::memcmp(buffer.constData(), kMagic, kMagicSize) != 0) return Take::Corrupt;
    quint32 length = 0;
    std::memcpy(&length, buffer.constData() + kMagicSize, sizeof length);
    std::memcpy(&message.type, buffer.constData() + kMagicSize + 4, sizeof message.type);
    if (length > kLargestPayload) return Take::Corrupt;
    if (buffer.size() < kHeaderSize + qsizetype(length)) return Take::Incomplete;
    message.payload = buffer.mid(kHeaderSize, length);
    buffer.remove(0, kHeaderSize + length);
    return Take::Message;
}

}  // namespace

struct SwayWindowSystem::Private final {
    QLocalSocket socket;
    QByteArray buffer;
    SwayWindowModel model;
    bool haveTree = false;
    bool treeRequested = false;
    bool broken = false;

    void requestTree() {
        if (treeRequested) return;
        treeRequested = true;
        socket.write(encode(kGetTree, {}));
        socket.flush();
    }
    void readWhatArrived();
    void handle(const Message& message);
    // The events already on the socket, without waiting.
    void catchUp() {
        if (socket.state() != QLocalSocket::ConnectedState) return;
        socket.waitForReadyRead(0);
        readWhatArrived();
    }
};

void SwayWindowSystem::Private::readWhatArrived() {
    buffer += socket.readAll();
    Message message;
    while (!broken) {
        const Take taken = takeMessage(buffer, message);
        if (taken == Take::Incomplete) return;
        if (taken == Take::Corrupt) {
            broken = true;
            qCWarning(lcPlatformLinux) << "sway IPC: unreadable message; window tracking is off";
            socket.abort();
            return;
        }
        handle(message);
    }
}

void SwayWindowSystem::Private::handle(const Message& message) {
    const QJsonDocument json = QJsonDocument::fromJson(message.payload);
    using Follow = SwayWindowModel::Follow;
    Follow follow = Follow::Nothing;
    switch (message.type) {
        case kGetTree:
            model.resetFromTree(json.object());
            haveTree = true;
            treeRequested = false;
            break;
        case kSubscribe:
            if (!json.object().value(QLatin1String("success")).toBool()) {
                qCWarning(lcPlatformLinux) << "sway IPC: the compositor refused window events";
            }
            break;
        case kWindowEvent:
            follow = model.applyWindowEvent(json.object());
            break;
        case kWorkspaceEvent:
            follow = SwayWindowModel::followWorkspaceEvent(json.object());
            break;
        default:
            break;
    }
    if (follow == Follow::RereadTree) requestTree();
}

SwayWindowSystem::SwayWindowSystem(const QString& socketPath, int timeoutMs)
    : d(std::make_unique<Private>()) {
    QDeadlineTimer deadline(timeoutMs);
    QLocalSocket& socket = d->socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(int(deadline.remainingTime()))) {
        qCInfo(lcPlatformLinux) << "sway IPC: cannot connect:" << socket.errorString();
        return;
    }
    // Subscribed before the tree is read, so no change falls between the two.
    socket.write(encode(kSubscribe, QByteArrayLiteral(R"(["window","workspace"])")));
    d->requestTree();
    while (!d->haveTree && !d->broken && !deadline.hasExpired() &&
           socket.waitForReadyRead(int(deadline.remainingTime()))) {
        d->readWhatArrived();
    }
    if (!d->haveTree) {
        qCWarning(lcPlatformLinux) << "sway IPC: no window tree from the compositor";
        socket.abort();
        return;
    }
    QObject::connect(&socket, &QLocalSocket::readyRead, &socket,
                     [p = d.get()] { p->readWhatArrived(); });
    qCInfo(lcPlatformLinux) << "front window from sway IPC";
}

SwayWindowSystem::~SwayWindowSystem() = default;

bool SwayWindowSystem::isAvailable() const {
    return d->haveTree && !d->broken && d->socket.state() == QLocalSocket::ConnectedState;
}

QString SwayWindowSystem::sourceDescription() const {
    return QStringLiteral("sway IPC (window events)");
}

std::optional<quint64> SwayWindowSystem::activeWindow() {
    d->catchUp();
    if (!isAvailable()) return std::nullopt;
    const std::optional<SwayWindow> front = d->model.focused();
    if (!front) return std::nullopt;
    return quint64(front->id);
}

std::optional<qint32> SwayWindowSystem::frontProcessIdentifier() {
    d->catchUp();
    if (!isAvailable()) return std::nullopt;
    const std::optional<SwayWindow> front = d->model.focused();
    if (!front || front->processIdentifier <= 0) return std::nullopt;
    return front->processIdentifier;
}

std::vector<WindowInfo> SwayWindowSystem::windowList() {
    d->catchUp();
    if (!isAvailable()) return {};
    std::vector<WindowInfo> list;
    list.reserve(d->model.frontToBack().size());
    for (const SwayWindow& window : d->model.frontToBack()) {
        WindowInfo info;
        info.windowId = quint64(window.id);
        info.ownerProcessIdentifier = window.processIdentifier;
        info.name = window.name;
        list.push_back(info);
    }
    return list;
}

std::optional<WindowHints> SwayWindowSystem::windowHintsForProcess(qint32 processIdentifier) {
    if (!isAvailable() || processIdentifier <= 0) return std::nullopt;
    for (const SwayWindow& window : d->model.frontToBack()) {
        if (window.processIdentifier != processIdentifier) continue;
        WindowHints hints;
        // An app_id names the desktop entry by convention, as a WM_CLASS
        // does on X11; it is matched the same way rather than trusted.
        hints.instance = window.appId.isEmpty() ? window.x11Instance : window.appId;
        hints.className = window.appId.isEmpty() ? window.x11Class : window.appId;
        return hints;
    }
    return std::nullopt;
}

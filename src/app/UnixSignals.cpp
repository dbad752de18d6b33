#include "app/UnixSignals.h"

#include <sys/socket.h>
#include <unistd.h>
#include <csignal>

namespace {

int gSignalSockets[2] = {-1, -1};

void handleSignal(int signalNumber) {
    const char byte = static_cast<char>(signalNumber);
    const ssize_t written = ::write(gSignalSockets[0], &byte, 1);
    static_cast<void>(written);
}

bool installHandler(int signalNumber) {
    struct sigaction action = {};
    action.sa_handler = handleSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    return ::sigaction(signalNumber, &action, nullptr) == 0;
}

}  // namespace

UnixSignals::UnixSignals(QObject* parent) : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, gSignalSockets) != 0) {
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(gSignalSockets[1], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &UnixSignals::readSignal);
    // Logout stops the session's processes with SIGTERM and then SIGHUP:
    // both must end in a save, never in a silent death.
    if (!installHandler(SIGTERM) || !installHandler(SIGINT) || !installHandler(SIGHUP)) {
        m_notifier.reset();
    }
}

UnixSignals::~UnixSignals() {
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGHUP, SIG_DFL);
    m_notifier.reset();
    for (int& fd : gSignalSockets) {
        if (fd >= 0) {
            ::close(fd);
            fd = -1;
        }
    }
}

void UnixSignals::readSignal() {
    char byte = 0;
    if (::read(gSignalSockets[1], &byte, 1) == 1) {
        Q_EMIT terminationRequested(static_cast<int>(byte));
    }
}

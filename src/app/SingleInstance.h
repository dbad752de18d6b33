#pragma once
// SingleInstance: at most one helper per user.
//
// An exclusive flock() on "$XDG_RUNTIME_DIR/info.mallowby.VorlixHelper.lock"
// (the runtime folder is per user and lives as long as the user's login);
// without XDG_RUNTIME_DIR, the same name with the uid in the temporary
// folder. The kernel drops the lock when the process ends, however it ends,
// so a crashed helper never blocks the next start. The lock is held for the
// object's lifetime.

#include <QString>

class SingleInstance final {
public:
    SingleInstance() = default;
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    enum class Result { Acquired, HeldByAnother, Failed };
    Result acquire();

    QString lockFilePath() const;
    // The pid written by the holder, 0 when unknown.
    qint64 holderPid() const;

private:
    int m_fd = -1;
};

#pragma once
// LogindMock: drives python3-dbusmock's logind template on a PrivateDBus of
// system type: a session, the GetSessionByPID method the template lacks,
// sleep signals, the session's Active property and the inhibitor list.

#include <QString>

class PrivateDBus;

namespace LogindMock {

inline constexpr char kService[] = "org.freedesktop.login1";

// Starts the mock and adds session `sessionId` (active) for uid 1000. With
// answerGetSessionByPID, GetSessionByPID returns that session for any pid.
bool start(PrivateDBus& bus, const QString& sessionId, bool answerGetSessionByPID, QString* whyNot);
QString sessionPath(const QString& sessionId);

// Returns false when the mock refused the call.
bool emitPrepareForSleep(PrivateDBus& bus, bool goingToSleep);
bool setSessionActive(PrivateDBus& bus, const QString& sessionId, bool active);

// Delay sleep inhibitors held by `who`; -1 when the mock did not answer.
int sleepDelayInhibitors(PrivateDBus& bus, const QString& who);

}  // namespace LogindMock

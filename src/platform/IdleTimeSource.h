#pragma once
// IdleTimeSource: seconds since the user last touched the keyboard or mouse.
//
// The tracking loop asks once per tick on the main thread. An implementation
// that cannot learn the idle time on this desktop reports that once (through
// isAvailable() and its own log line) and answers 0 from then on, so the user
// is simply never considered idle. Calls must be cheap and bounded in time:
// no process is started and no connection opened per call.

class IdleTimeSource {
public:
    virtual ~IdleTimeSource() = default;

    // Seconds without any input event in the user's session, >= 0.
    virtual double secondsSinceLastInput() = 0;

    // Says that secondsSinceLastInput() will be asked within a moment: a
    // source whose answer takes a round trip may send its question now and
    // collect the answer then, so that the caller does not wait for it. An
    // answer prepared too long before it is asked for is not used.
    virtual void prepareSecondsSinceLastInput() {}

    // False when no way of measuring idle time was found on this desktop.
    virtual bool isAvailable() const = 0;
};

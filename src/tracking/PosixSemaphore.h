#pragma once
// PosixSemaphore: a POSIX semaphore for the tick's hand-overs between the
// main thread and the worker.
//
// Chosen over a condition variable, whose woken thread takes the mutex back
// marked as contended and pays one more system call to release it, and over
// the standard library's semaphore, which yields the processor a few times
// before it sleeps: each tick would pay for either. ThreadSanitizer follows
// its posts and waits.

#include <semaphore.h>

#include <cerrno>
#include <ctime>

class PosixSemaphore final {
public:
    PosixSemaphore() { sem_init(&m_value, 0, 0); }
    ~PosixSemaphore() { sem_destroy(&m_value); }
    PosixSemaphore(const PosixSemaphore&) = delete;
    PosixSemaphore& operator=(const PosixSemaphore&) = delete;

    void post() { sem_post(&m_value); }

    void wait() {
        while (sem_wait(&m_value) != 0 && errno == EINTR) {
        }
    }

    // False when nothing was posted within `nanoseconds` (of the monotonic
    // clock: a change of the wall clock neither stretches nor cuts the wait).
    bool waitFor(long nanoseconds) {
        timespec until{};
        clock_gettime(CLOCK_MONOTONIC, &until);
        until.tv_nsec += nanoseconds;
        until.tv_sec += until.tv_nsec / 1000000000;
        until.tv_nsec %= 1000000000;
        int result = 0;
        while ((result = sem_clockwait(&m_value, CLOCK_MONOTONIC, &until)) != 0 && errno == EINTR) {
        }
        return result == 0;
    }

private:
    sem_t m_value;
};

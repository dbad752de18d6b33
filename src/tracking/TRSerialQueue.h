#pragma once
// TRSerialQueue: one worker thread that runs submitted tasks one after the
// other, in submission order.
//
// async() may be called from any thread and returns at once; sync() blocks
// the caller until every task submitted before it has finished (it must not
// be called from the worker itself). The destructor finishes the queued
// tasks and joins the thread. The thread is named after the label given at
// construction (cut to the 15 characters Linux keeps), so it can be told
// apart in a debugger or `top -H`.
//
// Built on std::thread and std::mutex rather than a Qt event loop so that
// ThreadSanitizer sees every hand-over between the threads. The worker
// sleeps on a POSIX semaphore, not on a condition variable: a thread woken
// from a condition variable takes the mutex back marked as contended, and so
// pays one more system call to release it, and the standard library's
// semaphore yields the processor a few times before it sleeps; each tick
// would pay for either.

#include <QString>
#include <semaphore.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

class TRSerialQueue final {
public:
    explicit TRSerialQueue(const QString& label);
    ~TRSerialQueue();
    TRSerialQueue(const TRSerialQueue&) = delete;
    TRSerialQueue& operator=(const TRSerialQueue&) = delete;

    void async(std::function<void()> task);
    void sync();

private:
    void run(const QByteArray& threadName);

    struct Semaphore {
        Semaphore() { sem_init(&value, 0, 0); }
        ~Semaphore() { sem_destroy(&value); }
        Semaphore(const Semaphore&) = delete;
        Semaphore& operator=(const Semaphore&) = delete;
        sem_t value;
    };

    std::mutex m_mutex;
    Semaphore m_queued;  // one post per task, one to stop
    std::condition_variable m_finishedChanged;
    std::deque<std::function<void()>> m_tasks;
    std::uint64_t m_submitted = 0;
    std::uint64_t m_finished = 0;
    int m_syncWaiters = 0;
    bool m_stopping = false;
    std::thread m_thread;  // last: started once the members above exist
};

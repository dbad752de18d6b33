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
// sleeps on a PosixSemaphore.

#include <QString>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "tracking/PosixSemaphore.h"

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

    std::mutex m_mutex;
    PosixSemaphore m_queued;  // one post per task, one to stop
    std::condition_variable m_finishedChanged;
    std::deque<std::function<void()>> m_tasks;
    std::uint64_t m_submitted = 0;
    std::uint64_t m_finished = 0;
    int m_syncWaiters = 0;
    bool m_stopping = false;
    std::thread m_thread;  // last: started once the members above exist
};

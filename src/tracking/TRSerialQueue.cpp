#include "tracking/TRSerialQueue.h"

#include <pthread.h>


TRSerialQueue::TRSerialQueue(const QString& label)
    : m_thread([this, name = label.toUtf8().left(15)] { run(name); }) {}

TRSerialQueue::~TRSerialQueue() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_queued.post();
    m_thread.join();
}

void TRSerialQueue::async(std::function<void()> task) {
    {
        std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        ++m_submitted;
    }
    m_queued.post();
}

void TRSerialQueue::sync() {
    std::unique_lock lock(m_mutex);
    const std::uint64_t target = m_submitted;
    ++m_syncWaiters;
    m_finishedChanged.wait(lock, [this, target] { return m_finished >= target; });
    --m_syncWaiters;
}

void TRSerialQueue::run(const QByteArray& threadName) {
    pthread_setname_np(pthread_self(), threadName.constData());
    for (;;) {
        m_queued.wait();
        std::function<void()> task;
        {
            std::lock_guard lock(m_mutex);
            if (m_tasks.empty()) {
                if (m_stopping) return;  // every task has run
                continue;
            }
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        task();
        task = nullptr;
        bool waiters = false;
        {
            std::lock_guard lock(m_mutex);
            ++m_finished;
            waiters = m_syncWaiters > 0;
        }
        if (waiters) m_finishedChanged.notify_all();
    }
}

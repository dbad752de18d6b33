#include "tracking/TRSerialQueue.h"

#include <pthread.h>

TRSerialQueue::TRSerialQueue(const QString& label)
    : m_thread([this, name = label.toUtf8().left(15)] { run(name); }) {}

TRSerialQueue::~TRSerialQueue() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void TRSerialQueue::async(std::function<void()> task) {
    {
        std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        ++m_submitted;
    }
    m_changed.notify_all();
}

void TRSerialQueue::sync() {
    std::unique_lock lock(m_mutex);
    const std::uint64_t target = m_submitted;
    m_changed.wait(lock, [this, target] { return m_finished >= target; });
}

void TRSerialQueue::run(const QByteArray& threadName) {
    pthread_setname_np(pthread_self(), threadName.constData());
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopping || !m_tasks.empty(); });
        if (m_tasks.empty()) {
            return;  // stopping, and every task has run
        }
        std::function<void()> task = std::move(m_tasks.front());
        m_tasks.pop_front();
        lock.unlock();
        task();
        task = nullptr;
        lock.lock();
        ++m_finished;
        m_changed.notify_all();
    }
}

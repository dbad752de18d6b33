#include "TRSerialQueue.h"

#include <QObject>

TRSerialQueue::TRSerialQueue(const QString& label) : m_context(std::make_unique<QObject>()) {
    m_thread.setObjectName(label);
    m_context->moveToThread(&m_thread);
    m_thread.start();
}

TRSerialQueue::~TRSerialQueue() {
    sync();
    m_thread.quit();
    m_thread.wait();
}

void TRSerialQueue::async(std::function<void()> task) {
    QMetaObject::invokeMethod(m_context.get(), std::move(task), Qt::QueuedConnection);
}

void TRSerialQueue::sync() {
    Q_ASSERT(QThread::currentThread() != &m_thread);
    QMetaObject::invokeMethod(m_context.get(), [] {}, Qt::BlockingQueuedConnection);
}

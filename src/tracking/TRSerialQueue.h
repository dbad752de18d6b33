#pragma once
// TRSerialQueue: one worker thread that runs submitted tasks one after the
// other, in submission order.
//
// async() may be called from any thread and returns at once; sync() blocks
// the caller until every task submitted before it has finished (it must not
// be called from the worker itself). The destructor finishes the queued
// tasks and joins the thread. The thread carries the label given at
// construction, so it can be told apart in a debugger or `top -H`.

#include <QThread>
#include <functional>
#include <memory>

class QObject;

class TRSerialQueue final {
public:
    explicit TRSerialQueue(const QString& label);
    ~TRSerialQueue();
    TRSerialQueue(const TRSerialQueue&) = delete;
    TRSerialQueue& operator=(const TRSerialQueue&) = delete;

    void async(std::function<void()> task);
    void sync();

private:
    QThread m_thread;
    std::unique_ptr<QObject> m_context;  // lives in m_thread
};

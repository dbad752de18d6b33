#pragma once
// An in-memory stand-in for the session bus: every centre attached to one
// FakeNotificationBus receives every post (the poster included), later, from
// the event loop, as the real bus delivers. The bus keeps a log of posts.
// Main thread only.

#include <QCoreApplication>
#include <QMetaObject>
#include <map>
#include <memory>
#include <vector>

#include "platform/DistributedNotificationCenter.h"

struct FakePostedNotification {
    QString name;
    QString object;
    DistributedNotificationCenter::UserInfo userInfo;
};

class FakeDistributedNotificationCenter;

class FakeNotificationBus final {
public:
    std::vector<FakePostedNotification> posted;
    std::vector<FakeDistributedNotificationCenter*> centers;

    inline void deliver(const FakePostedNotification& notification);
    std::vector<FakePostedNotification> postedNamed(const QString& name) const {
        std::vector<FakePostedNotification> result;
        for (const auto& p : posted)
            if (p.name == name) result.push_back(p);
        return result;
    }
};

class FakeDistributedNotificationCenter final : public DistributedNotificationCenter {
public:
    explicit FakeDistributedNotificationCenter(std::shared_ptr<FakeNotificationBus> bus)
        : m_bus(std::move(bus)) {
        m_bus->centers.push_back(this);
    }
    ~FakeDistributedNotificationCenter() override {
        *m_alive = false;
        std::erase(m_bus->centers, this);
    }

    void post(const QString& name, const QString& object, const UserInfo& userInfo) override {
        m_bus->deliver({name, object, userInfo});
    }
    int addObserver(const QString& name, Observer observer) override {
        m_observers.emplace(m_next, std::make_pair(name, std::move(observer)));
        return m_next++;
    }
    void removeObserver(int token) override { m_observers.erase(token); }

    void receive(const FakePostedNotification& n) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [this, alive = std::weak_ptr<bool>(m_alive), n] {
                if (alive.expired() || !*alive.lock()) return;
                for (const auto& [token, entry] : m_observers)
                    if (entry.first == n.name) entry.second(n.name, n.object, n.userInfo);
            },
            Qt::QueuedConnection);
    }

private:
    std::shared_ptr<FakeNotificationBus> m_bus;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    std::map<int, std::pair<QString, Observer>> m_observers;
    int m_next = 0;
};

void FakeNotificationBus::deliver(const FakePostedNotification& notification) {
    posted.push_back(notification);
    for (FakeDistributedNotificationCenter* center : centers) center->receive(notification);
}

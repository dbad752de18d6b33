#pragma once
// LoginItems: the programs the user's session starts at login.
//
// An item is keyed by the program's absolute path: a program moved to
// another folder is a different item, and the query for the new path answers
// false until that path is added. Failures are silent: an unreadable list
// answers false, and a change that cannot be written changes nothing.
// Main thread only.

#include <QString>

class LoginItems {
public:
    virtual ~LoginItems() = default;

    virtual bool willItemStartAtLogin(const QString& programPath) = 0;
    // Adding twice keeps one item; removing an absent item does nothing.
    virtual void setStartItemAtLogin(const QString& programPath, bool enabled) = 0;
};

#pragma once
// LocalHostNames: the names this computer answers to.
//
// A terminal's session line names a host; when that host is this computer,
// the directory is a local folder, otherwise it belongs to a remote shell.
// The Linux answer reads the system's host name and its files; tests use a
// fake.
//
// Thread: any; every call asks afresh (a host may be renamed while the
// helper runs).

#include <QStringList>

class LocalHostNames {
public:
    virtual ~LocalHostNames() = default;

    // Every name of this computer, duplicates allowed, none empty.
    virtual QStringList currentHostNames() = 0;
};

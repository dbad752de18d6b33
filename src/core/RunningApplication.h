#pragma once
// RunningApplication: what the helper knows about one running program.
//
// A plain value filled by the platform layer: the process identifier, the
// application id (a desktop entry id such as "org.gnome.Terminal"; null when
// none could be found), the executable path and the name shown to the user.
// Copies are cheap and may cross threads freely.

#include <QString>
#include <QtGlobal>

struct RunningApplication final {
    qint32 processIdentifier = 0;
    QString bundleIdentifier;  // null when the program has no application id
    QString executablePath;    // null when /proc/PID/exe was unreadable
    QString localizedName;

    // The id that names the program in the store: the application id when
    // there is one, else the executable's file name.
    QString identifier() const;
    QString description() const;

    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

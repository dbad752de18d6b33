#pragma once
// DesktopEntryExec: a desktop entry's Exec value, read and written the way
// GLib reads it.
//
// Reading takes the value as the key file gives it (its string escapes
// undone), expands the field codes as GLib does when it starts the entry
// ("%%" is "%", the others name files, icons and the like and are left
// out), undoes the quoting with GLib's shell rules and skips a leading
// "env VAR=value ...". Writing is the reverse for a program without
// arguments, down to the key file's escapes, so that what the helper writes
// into its own login entry is read back as the same program by itself and
// by the session that starts it.
//
// Pure functions; any thread.

#include <QString>

namespace DesktopEntryExec {

// The program the value starts; empty when it does not parse or names none.
QString programOf(const QString& execValue);

// The text after "Exec=" in the file (key-file escapes included) that
// starts exactly `program`.
QString execLineFor(const QString& program);

}  // namespace DesktopEntryExec

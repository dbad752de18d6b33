#pragma once
// Installed applications for the tests that identify processes: .desktop
// files in a temporary XDG_DATA_HOME and XDG_DATA_DIRS, their programs on
// PATH, LC_ALL=C.UTF-8. GLib reads these variables once per process, so a
// test calls root() before it builds anything that reads desktop entries.

#include <QByteArray>
#include <QString>

namespace TestApplications {

// The temporary folder; everything is installed on the first call.
QString root();
// Writes an entry into XDG_DATA_HOME/applications (a folder that exists only
// from the first such entry on), or removes it when `text` is empty.
void setUserEntry(const QString& fileName, const QByteArray& text);

}  // namespace TestApplications

// The helper's own login entry, written and read back: for any program
// path, the entry it writes must be read as naming that program, both by
// its own reading and by GLib's (the reading the desktop's session uses
// to start it). The program is a real file, so GLib finds it.
//
// (TMPDIR on a memory file system makes it run about twice as fast.)
// Any other Exec value is read as well, for what reading it may trip over.
//
// Input: the program's file name as UTF-8, NUL, an Exec value as UTF-8.
#include <fcntl.h>
#include <unistd.h>

#include <QTemporaryDir>

#include <gio/gdesktopappinfo.h>

#include "FuzzSupport.h"
#include "platform/linux/DesktopEntryExec.h"
#include "platform/linux/XdgAutostartLoginItems.h"

namespace {

// Removed when the run ends.
const QTemporaryDir& folder() {
    static const QTemporaryDir dir;
    return dir;
}

// A file name made of the input: no '/', no NUL, short enough for the file
// system, whole characters.
QString programName(const QByteArray& bytes) {
    QString name = QString::fromUtf8(bytes).left(60);
    // A path read from the file system never ends in half a surrogate pair.
    if (!name.isEmpty() && name.back().isHighSurrogate()) name.chop(1);
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    name.replace(QChar(0), QLatin1Char('_'));
    return QStringLiteral("p") + name;
}

bool glibFindsProgram(const QString& entryPath) {
    GDesktopAppInfo* info = g_desktop_app_info_new_from_filename(entryPath.toUtf8().constData());
    if (info == nullptr) return false;
    g_object_unref(info);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const QString program = folder().filePath(programName(input.bytes()));
    DesktopEntryExec::programOf(QString::fromUtf8(input.bytes()));
    const QByteArray programFile = program.toUtf8();
    const int fd = open(programFile.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0700);
    if (fd < 0) return 0;  // a name this file system refuses
    close(fd);
    XdgAutostartLoginItems items(folder().filePath(QStringLiteral("autostart")));
    items.setStartItemAtLogin(program, true);
    fuzz::require(items.willItemStartAtLogin(program), "the written entry is read as ours");
    // GLib's check of Exec leaves '%' as written, while its start expands it.
    if (!program.contains(QLatin1Char('%')))
        fuzz::require(glibFindsProgram(items.entryPath()), "GLib reads the program we wrote");
    // Removed directly: asking again before the removal costs a reading.
    unlink(items.entryPath().toUtf8().constData());
    unlink(programFile.constData());
    return 0;
}

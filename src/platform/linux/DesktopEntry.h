#pragma once
// DesktopEntry: one parsed ".desktop" file of an installed application.
//
// A small reader of the freedesktop desktop-entry format, written here
// because QSettings treats ';' and '\' differently from the format and
// loses localised keys. Only the "[Desktop Entry]" group is read (action
// groups carry their own Name and Exec, which must not leak into the
// application's). Values are unescaped (\s \n \t \r \\).
//
// Plain value; any thread.

#include <QByteArray>
#include <QHash>
#include <QString>
#include <optional>

struct DesktopEntry final {
    QString id;        // file name without ".desktop"; sub-folders joined by '-'
    QString filePath;
    QString type;      // "Application", "Link", ...
    QString name;      // the unlocalised Name
    QHash<QString, QString> localizedNames;  // "de_DE" -> Name[de_DE]
    QString exec;
    QString startupWMClass;
    bool noDisplay = false;
    bool hidden = false;

    // nullopt when the text has no "[Desktop Entry]" group.
    static std::optional<DesktopEntry> parse(const QByteArray& text, const QString& id,
                                             const QString& filePath);

    // Name for a POSIX locale such as "de_DE.UTF-8@euro": tries
    // lang_COUNTRY@MODIFIER, lang_COUNTRY, lang@MODIFIER, lang, then Name.
    QString localizedName(const QString& locale) const;

    // The program the Exec line starts: its first word, unquoted, after a
    // leading "env VAR=value ..." if any. Empty when there is none.
    QString execProgram() const;
};

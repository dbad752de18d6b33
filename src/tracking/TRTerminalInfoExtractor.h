#pragma once
// TRTerminalInfoExtractor: the directory of the terminal's front session, a
// local folder or the user, host and directory of a remote shell.
//
// The session line is the selected tab's custom title (window 1 'cwin',
// selected tab 'tcnt', custom title 'titl'), replaced by the name of the
// current session of the current terminal ('Ctrm', 'Cssn', 'pnam') without
// its last word (the running program); without either, the window title cut
// before the first " — ". The line is read as "[user@host...]:dir" by the
// regular expression in parseSessionLine(). A host that is one of this
// computer's names (or the first label of one, ignoring case), or no host at
// all: the directory's file URL is the document path ("~" is the home
// folder). Another host: the path components are "user@host" and the
// directory's pieces, each piece with its leading "/".
//
// On Linux (ids in TRExtractorTables: xterm, GNOME Terminal, Konsole,
// xfce4-terminal, Tilix, Terminator, kitty, Alacritty, ...):
//   - the session line is the window title (the selected tab's title for a
//     tabbed terminal), which shells set to "user@host: dir"; the bridge
//     answers no custom title or session name;
//   - this computer's names come from LocalHostNames (host name, /etc/hostname,
//     the names of 127.0.1.1 in /etc/hosts);
//   - when the title gives no directory, the front session is read from the
//     process table, but only where it can be told apart: a terminal process
//     with exactly one session (one shell per window, as xterm). Its
//     foreground process's working directory is the document path; a
//     foreground ssh gives its destination "user@host" alone (its working
//     directory is a local folder that says nothing about the remote shell).
//   Otherwise the details are removed, as for a line of the wrong shape.
//
// Stateless. Thread: the tracking worker.

#include <optional>

#include "tracking/TRApplicationInfoExtractor.h"

class ProcessSource;

class TRTerminalInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRTerminalInfoExtractor& instance();

    struct SessionLine final {
        QString user;  // each empty when its group did not take part
        QString host;
        QString directory;
    };
    // The first match of "((\w*)@([^:]+))?.*:\s*([~/][^:]*)"; nullopt when
    // the line does not match.
    static std::optional<SessionLine> parseSessionLine(const QString& line);
    // Whether `host` is one of `names`, or the first label of one, ignoring case.
    static bool isLocalHost(const QString& host, const QStringList& names);
    // "user@host" (or "@host" without a user) of an ssh command line; null
    // when it names no destination.
    static QString sshDestination(const QStringList& arguments);

private:
    static std::optional<SessionLine> matchSessionLine(const QString& line);
    // The front session from the process table, when it can be told apart.
    static bool writeFrontSession(TRActivity& activity, ProcessSource& processes);
};

#pragma once
// `vorlix-helper projects ...`: the projects and the blacklist from the
// command line, for a user without the main application.
//
//   projects [list] [--from DATE] [--to DATE]   each project with its total
//                                               (today unless given) and members
//   projects create NAME [--color COLOR]
//   projects rename NAME NEW-NAME
//   projects add-app|remove-app PROJECT [--executable] APP...
//   projects add-path|remove-path PROJECT PATH...
//   projects blacklist [--executable] APP-OR-PATH...
//
// PROJECT is a project's name, or "Blacklist". An APP is an application id
// (a desktop entry's name without ".desktop"), or with --executable the
// program's file name. A PATH is a file or folder (made absolute) or a web
// address, cut into components as recording cuts them. Changes are saved at
// once; a running helper sees them at its next recording.
//
// Exit codes: 0 done, 1 failed (no such project, a name taken, a store that
// cannot be opened or saved), 2 usage error. Errors go to standard error as
// "vorlix-helper projects: error: ...".
//
// Thread: the main thread, with a QCoreApplication.

#include <QStringList>
#include <QTextStream>
#include <memory>

class TRInstalledApplications;

// `arguments` are those after "projects". The stores are the shared ones.
int runProjectsCommand(const QStringList& arguments);
int runProjectsCommand(const QStringList& arguments, QTextStream& out, QTextStream& err);

// The installed applications as the desktop entries list them.
std::shared_ptr<TRInstalledApplications> desktopInstalledApplications();

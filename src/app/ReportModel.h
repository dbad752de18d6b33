#pragma once
// What `vorlix-helper report` shows, gathered from the stores and handed to
// the formatters (ReportFormatting.h): a tree of lines, each with its seconds
// within the report's days, longest first.
//
// By application the top lines are applications and below them the path
// components of their trees; by project the top lines are projects, each
// with the applications and components it counts. Lines whose time does not
// exceed the report's minimum are left out, as the main application hides
// them; the total is "All Activities" (everything but the blacklisted) and
// counts every line, shown or not.
//
// Plain values; any thread.

#include <QDate>
#include <QString>
#include <vector>

enum class ReportGrouping { Application, Project };

// What the user asked for, the days already resolved from the calendar.
struct ReportRequest final {
    QDate firstDay;
    QDate lastDay;  // REQUIRES: not before firstDay
    ReportGrouping grouping = ReportGrouping::Application;
    int depth = 2;  // path components below an application
    double minimumSeconds = 0;
};

struct ReportLine final {
    enum class Kind { Project, Application, Path };
    Kind kind = Kind::Application;
    QString name;           // as the tree shows it: project, application or last component
    QString project;        // the project's name when grouped by project
    QString application;    // the application's name (empty on a project line)
    QString applicationId;  // its id, else its program's file name
    QString path;           // the components from the application down, joined
    int level = 0;          // how many components `path` has
    double seconds = 0;
    std::vector<ReportLine> children;  // longest first
};

struct Report final {
    ReportRequest request;
    QString totalName;  // "All Activities", translated
    double totalSeconds = 0;
    std::vector<ReportLine> lines;  // longest first
};

#pragma once
// A gathered report as text: a tree for people, CSV and JSON for scripts.
//
// The tree indents each level by two spaces, writes durations with the
// status menu's formatter (TRDurationToStringFormatter, two units) and
// draws a bar per line scaled to the longest line; the total comes last.
//
// CSV (RFC 4180, a header row) and JSON carry the same lines with the same
// field names, in the tree's order, seconds rounded to the millisecond:
//   kind           "project", "application", "path"; CSV ends with "total"
//   project        the project's name (grouped by project), else empty
//   application    the application's name (empty on a project line)
//   applicationId  its id (desktop entry name), else its program's file name
//   path           the components from the application down, joined
//   level          how many components `path` has
//   seconds        the time within the report's days
// JSON nests lines under "children" and adds the report's "from", "to"
// (YYYY-MM-DD), "by" ("app" or "project"), "depth", "minSeconds",
// "totalSeconds" and "lines". These names are kept stable for scripts.
//
// Pure functions; any thread.

#include <QString>

#include "app/ReportModel.h"

QString reportAsTree(const Report& report);
QString reportAsCsv(const Report& report);
QString reportAsJson(const Report& report);

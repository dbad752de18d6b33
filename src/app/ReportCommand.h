#pragma once
// `vorlix-helper report`: where the time went, from the stores, for a user
// without the main application.
//
//   report [--today | --yesterday | --week | --month | --from DATE [--to DATE]]
//          [--by app|project] [--depth N] [--min DURATION] [--format tree|csv|json]
//
// Days follow the user's calendar (TZ, LANG): --week and --month are the
// store's week and month (Calculations::beginningOfWeek .. endOfWeek, and
// the month's first to last day); DATE is YYYY-MM-DD. The stores are read,
// never written, beside a running helper: the report sees what it saved.
// ReportFormatting.h describes the three formats.
//
// Exit codes: 0 done; 1 a store could not be read; 2 usage error (also a
// range that ends before it starts); 3 nothing recorded in the range.
// Errors go to standard error as "vorlix-helper report: error: ...".
//
// Thread: the main thread, with a QCoreApplication.

#include <QStringList>
#include <QTextStream>

// `arguments` are those after "report". The stores are the user's. Ends
// the process once the report is written (its stores are not taken apart).
int runReportCommand(const QStringList& arguments);
int runReportCommand(const QStringList& arguments, QTextStream& out, QTextStream& err);

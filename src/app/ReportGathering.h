#pragma once
// Gathers a report from the stores with their own aggregation: the filtered
// aggregation of the activity store over the report's days for the tree of
// each application, and the project store's rules for what a project, the
// Unassigned project, the Blacklist and "All Activities" count.
//
// Days are the user's calendar days: from the first day's beginning to the
// last day's end, an hour counting when it begins inside (the store's rule).
// Only reads: the aggregation's totals stay in memory and nothing is saved.
//
// Main thread (the stores').

#include "app/ReportModel.h"

class TRProjectStore;

// REQUIRES: the project store and its activity store are open.
Report gatherReport(TRProjectStore& projects, const ReportRequest& request);

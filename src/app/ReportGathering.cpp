#include "app/ReportGathering.h"

#include <algorithm>

#include "core/DateCalculations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "store/project/TRPSProject.h"
#include "store/project/TRProjectStore.h"

namespace {

// Noon, so that a day whose midnight a clock change skips still has a time.
QDateTime dayStart(const QDate& day) {
    return Calculations::beginningOfDay(QDateTime(day, QTime(12, 0)).toUTC());
}

QString applicationIdOf(TRASApplication* application) {
    if (!application) return QString();
    return !application->bundleIdentifier().isEmpty() ? application->bundleIdentifier()
                                                      : application->executableName();
}

void sortLongestFirst(std::vector<ReportLine>& lines) {
    std::sort(lines.begin(), lines.end(), [](const ReportLine& a, const ReportLine& b) {
        if (a.seconds != b.seconds) return a.seconds > b.seconds;
        return a.name < b.name;
    });
}

void addPathLines(TRASPathComponent& node, ReportLine& line, const ReportRequest& request) {
    if (line.level >= request.depth) return;
    for (TRASPathComponent* child : node.filteredChildComponents(request.minimumSeconds)) {
        ReportLine below;
        below.kind = ReportLine::Kind::Path;
        below.name = child->value();
        below.project = line.project;
        below.application = line.application;
        below.applicationId = line.applicationId;
        below.path = line.path + child->value();
        below.level = line.level + 1;
        below.seconds = child->totalDurationWithFilterValue();
        addPathLines(*child, below, request);
        line.children.push_back(std::move(below));
    }
    sortLongestFirst(line.children);
}

// The applications with time under the filter the store last aggregated.
std::vector<ReportLine> applicationLines(TRActivityStore& activities, const ReportRequest& request,
                                         const QString& project) {
    std::vector<ReportLine> lines;
    for (TRASPathComponent* root :
         activities.rootPathComponentsWithFilter(request.minimumSeconds)) {
        ReportLine line;
        line.applicationId = applicationIdOf(root->application());
        line.name =
            root->titleForDisplay().isEmpty() ? line.applicationId : root->titleForDisplay();
        line.project = project;
        line.application = line.name;
        line.seconds = root->totalDurationWithFilterValue();
        addPathLines(*root, line, request);
        lines.push_back(std::move(line));
    }
    sortLongestFirst(lines);
    return lines;
}

// Aggregates what a selection of projects counts (none: "All Activities").
void filterFor(TRProjectStore& projects, const std::vector<TRPSProject*>& selection,
               const ReportRequest& request) {
    TRASEventFilter filter;
    filter.start = dayStart(request.firstDay);
    filter.stop = Calculations::endOfDay(dayStart(request.lastDay));
    filter.include = projects.pathComponentTreesToIncludeForProjects(selection);
    filter.exclude = projects.pathComponentTreesToExcludeForProjects(selection);
    projects.activityStore().filterEventsBetweenDate(filter);
}

void gatherByApplication(TRProjectStore& projects, Report& report) {
    TRActivityStore& activities = projects.activityStore();
    filterFor(projects, {}, report.request);
    // Every application's total, shown or not: the aggregation has them, so
    // a second pass over the events for the same sum is not needed.
    for (TRASPathComponent* root : activities.rootPathComponentsWithFilter(0))
        report.totalSeconds += root->totalDurationWithFilterValue();
    report.lines = applicationLines(activities, report.request, QString());
}

void gatherByProject(TRProjectStore& projects, Report& report) {
    const ReportRequest& request = report.request;
    TRActivityStore& activities = projects.activityStore();
    activities.setFirstFilterDay(dayStart(request.firstDay));
    activities.setLastFilterDay(dayStart(request.lastDay));
    projects.refreshProjectDurations();
    report.totalSeconds = projects.totalDurationWithFilterValue();
    for (TRPSProject* project : projects.childElements()) {
        const double seconds = project->cachedTotalDurationWithFilterValue();
        if (!(seconds > request.minimumSeconds)) continue;
        ReportLine line;
        line.kind = ReportLine::Kind::Project;
        line.name = project->localizedName();
        line.project = line.name;
        line.seconds = seconds;
        filterFor(projects, {project}, request);
        line.children = applicationLines(activities, request, line.name);
        report.lines.push_back(std::move(line));
    }
    sortLongestFirst(report.lines);
}

}  // namespace

Report gatherReport(TRProjectStore& projects, const ReportRequest& request) {
    Report report;
    report.request = request;
    report.totalName = projects.localizedName();
    if (request.grouping == ReportGrouping::Project)
        gatherByProject(projects, report);
    else
        gatherByApplication(projects, report);
    return report;
}

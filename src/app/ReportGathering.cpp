#include "app/ReportGathering.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

#include "core/DateCalculations.h"
#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"
#include "store/graph/TRObjectContext.h"
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

// The nodes a report prints: roots over the minimum and, down to the
// requested depth, children over it. Only the roots with time are read as
// objects (for their applications).
class PrintedNodes final {
public:
    PrintedNodes(const ActivityStoreOutline& outline, const ReportRequest& request,
                 TRObjectContext& context)
        : m_outline(outline), m_request(request) {
        for (int root : outline.roots()) {
            if (!(outline.total(root) > 0)) continue;
            auto* object = context.objectWithId<TRASPathComponent>(outline.key(root));
            // The total counts every root with time, shown or not.
            if (!object || !object->application()) continue;
            m_roots.emplace_back(root, object);
            if (outline.total(root) > request.minimumSeconds) take(root, 0);
        }
    }

    // Roots with any time, of an application still recorded.
    const std::vector<std::pair<int, TRASPathComponent*>>& roots() const { return m_roots; }
    const std::vector<int>& printedChildren(int node) const { return m_children.at(node); }

private:
    void take(int node, int level) {
        std::vector<int>& shown = m_children[node];
        if (level >= m_request.depth) return;
        for (int child : m_outline.children(node)) {
            if (!(m_outline.total(child) > m_request.minimumSeconds)) continue;
            shown.push_back(child);
            take(child, level + 1);
        }
    }

    const ActivityStoreOutline& m_outline;
    const ReportRequest& m_request;
    std::vector<std::pair<int, TRASPathComponent*>> m_roots;
    std::unordered_map<int, std::vector<int>> m_children;
};

void addPathLines(const ActivityStoreOutline& outline, const PrintedNodes& printed, int node,
                  ReportLine& line) {
    for (int child : printed.printedChildren(node)) {
        const QString& value = outline.value(child);
        ReportLine below;
        below.kind = ReportLine::Kind::Path;
        below.name = value;
        below.project = line.project;
        below.application = line.application;
        below.applicationId = line.applicationId;
        below.path = line.path + value;
        below.level = line.level + 1;
        below.seconds = outline.total(child);
        addPathLines(outline, printed, child, below);
        line.children.push_back(std::move(below));
    }
    sortLongestFirst(line.children);
}

// The applications with time under the filter last summed into the
// outline, over the minimum; `total` gets every application's time.
std::vector<ReportLine> applicationLines(const ActivityStoreOutline& outline,
                                         const ReportRequest& request, const QString& project,
                                         TRObjectContext& context, double* total = nullptr) {
    const PrintedNodes printed(outline, request, context);
    std::vector<ReportLine> lines;
    for (const auto& [node, root] : printed.roots()) {
        if (total) *total += outline.total(node);
        if (!(outline.total(node) > request.minimumSeconds)) continue;
        ReportLine line;
        line.applicationId = applicationIdOf(root->application());
        line.name =
            root->titleForDisplay().isEmpty() ? line.applicationId : root->titleForDisplay();
        line.project = project;
        line.application = line.name;
        line.seconds = outline.total(node);
        addPathLines(outline, printed, node, line);
        lines.push_back(std::move(line));
    }
    sortLongestFirst(lines);
    return lines;
}

// Aggregates what a selection of projects counts (none: "All Activities").
void filterFor(TRProjectStore& projects, const std::vector<TRPSProject*>& selection,
               const ReportRequest& request, ActivityStoreOutline& outline) {
    TRASEventFilter filter;
    filter.start = dayStart(request.firstDay);
    filter.stop = Calculations::endOfDay(dayStart(request.lastDay));
    filter.include = projects.pathComponentTreesToIncludeForProjects(selection);
    filter.exclude = projects.pathComponentTreesToExcludeForProjects(selection);
    projects.activityStore().filterEventsBetweenDate(filter, outline);
}

void gatherByApplication(TRProjectStore& projects, ActivityStoreOutline& outline, Report& report) {
    filterFor(projects, {}, report.request, outline);
    // Every application's total, shown or not: the sums have them, so a
    // second pass over the events for the same sum is not needed.
    report.lines =
        applicationLines(outline, report.request, QString(),
                         *projects.activityStore().managedObjectContext(), &report.totalSeconds);
}

void gatherByProject(TRProjectStore& projects, ActivityStoreOutline& outline, Report& report) {
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
        filterFor(projects, {project}, request, outline);
        line.children =
            applicationLines(outline, request, line.name, *activities.managedObjectContext());
        report.lines.push_back(std::move(line));
    }
    sortLongestFirst(report.lines);
}

}  // namespace

Report gatherReport(TRProjectStore& projects, const ReportRequest& request) {
    Report report;
    report.request = request;
    report.totalName = projects.localizedName();
    // The report changes nothing, so the stores hold no unsaved changes.
    std::optional<ActivityStoreOutline> outline =
        projects.activityStore().savedOutline(request.depth);
    if (!outline) return report;
    if (request.grouping == ReportGrouping::Project)
        gatherByProject(projects, *outline, report);
    else
        gatherByApplication(projects, *outline, report);
    return report;
}

// The extraction logic's own cost per tick, measured over fake platform
// objects: what currentActivity() and the worker step add on top of the
// window system's and the accessibility tree's round trips (those are
// measured against a real desktop). Medians of batches, per call.

#include <QTextStream>
#include <algorithm>
#include <ctime>
#include <functional>
#include <vector>

#include "fakes/FakeAccessibility.h"
#include "fakes/FakeRunningApplications.h"
#include "fakes/FakeScriptingTargets.h"
#include "fakes/FakeWindowSystem.h"
#include "tracking/TRExtractionContext.h"
#include "tracking/TRExtractorRegistry.h"
#include "tracking/TRInfoExtractor.h"

namespace {

constexpr int kBatches = 51;
constexpr int kCallsPerBatch = 2000;
constexpr qint32 kPid = 4242;

double seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Median microseconds per call, wall and CPU.
std::pair<double, double> measure(const std::function<void()>& call) {
    std::vector<double> wall;
    std::vector<double> cpu;
    for (int batch = 0; batch < kBatches; ++batch) {
        const double wall0 = seconds(CLOCK_MONOTONIC);
        const double cpu0 = seconds(CLOCK_PROCESS_CPUTIME_ID);
        for (int i = 0; i < kCallsPerBatch; ++i) call();
        wall.push_back((seconds(CLOCK_MONOTONIC) - wall0) * 1e6 / kCallsPerBatch);
        cpu.push_back((seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu0) * 1e6 / kCallsPerBatch);
    }
    std::nth_element(wall.begin(), wall.begin() + kBatches / 2, wall.end());
    std::nth_element(cpu.begin(), cpu.begin() + kBatches / 2, cpu.end());
    return {wall[kBatches / 2], cpu[kBatches / 2]};
}

void print(QTextStream& out, const char* name, std::pair<double, double> figures) {
    out << name << "_wall: " << QString::number(figures.first, 'f', 3) << " us\n"
        << name << "_cpu: " << QString::number(figures.second, 'f', 3) << " us\n";
}

}  // namespace

int main() {
    FakeWindowSystem windows;
    FakeRunningApplications applications;
    FakeAccessibilityProvider accessibility;
    FakeScriptingTargets scripting;
    RunningApplication editor;
    editor.processIdentifier = kPid;
    editor.bundleIdentifier = QStringLiteral("org.example.Editor");
    editor.executablePath = QStringLiteral("/usr/bin/editor");
    applications.add(editor);
    windows.setFrontProcess(kPid);
    // A desktop with 30 windows, the editor's behind ten others.
    std::vector<WindowInfo> list;
    for (int i = 0; i < 30; ++i) {
        list.push_back(WindowInfo{static_cast<quint64>(i), i == 10 ? kPid : 100 + i,
                                  QStringLiteral("Window %1").arg(i), 1});
    }
    windows.setWindows(list);
    auto application = FakeAccessibilityElement::create();
    application->set(QStringLiteral("AXMainWindow"),
                     AccessibilityElementRef(FakeAccessibilityElement::window(
                         QStringLiteral("notes.txt"), QStringLiteral("file:///home/u/notes.txt"))));
    accessibility.add(kPid, application);
    const TRExtractionContext context{&windows, &applications, &accessibility, &scripting};
    const TRExtractorRegistry registry = TRExtractorRegistry::withDefaultExtractors();
    TRInfoExtractor dispatch(context, registry);

    QTextStream out(stdout);
    print(out, "extraction_current_activity_fake",
          measure([&] { (void)dispatch.currentActivity(); }));
    print(out, "extraction_worker_step_fake", measure([&] {
              std::optional<TRActivity> activity = dispatch.currentActivity();
              dispatch.completeActivity(activity, false);
          }));
    return 0;
}

#pragma once
// Small helpers for the store benchmarks: a store on a temporary folder,
// wall-clock timing and medians. Figures print as "name: value unit".

#include <QDateTime>
#include <QSettings>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "store/activity/TRASApplication.h"
#include "store/activity/TRASPathComponent.h"
#include "store/activity/TRActivityStore.h"

namespace bench {

// The benchmarks' tree: four levels of ten nodes under `application` with
// ten one-hour intervals per leaf, saved after every third-level node.
inline void createTestData(TRActivityStore& store, TRASApplication* application,
                           const QDateTime& reference) {
    TRASPathComponent* root = application ? application->pathRoot() : nullptr;
    if (!root) return;
    const auto child = [](TRASPathComponent* parent, int level, int index) {
        return parent->childComponentWithValue(
            QStringLiteral("Level%1Test%2").arg(level).arg(index), true);
    };
    for (int a = 0; a < 10; ++a) {
        TRASPathComponent* n1 = child(root, 1, a);
        for (int b = 0; b < 10; ++b) {
            TRASPathComponent* n2 = child(n1, 2, b);
            for (int c = 0; c < 10; ++c) {
                TRASPathComponent* n3 = child(n2, 3, c);
                for (int d = 0; d < 10; ++d) {
                    TRASPathComponent* leaf = child(n3, 4, d);
                    for (int hour = 0; hour < 10; ++hour) {
                        store.addActivity(TRActivity(), leaf, reference.addSecs(3600 * hour),
                                          reference.addSecs(3600 * (hour + 1)));
                    }
                }
                store.save();
            }
        }
    }
}

using Clock = std::chrono::steady_clock;

inline double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// CPU time of this process, which the other programs on a shared machine
// do not inflate the way they inflate wall-clock time.
inline double cpuMicroseconds() {
    timespec ts{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e6 + double(ts.tv_nsec) / 1e3;
}

inline double percentile(std::vector<double> values, double p) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1, size_t(p * double(values.size() - 1) + 0.5));
    return values[index];
}

inline double median(std::vector<double> values) {
    return percentile(std::move(values), 0.5);
}

inline void print(const char* name, double value, const char* unit) {
    std::printf("%s: %.3f %s\n", name, value, unit);
    std::fflush(stdout);
}

// Our figure and the plain reference's, measured in three alternating
// rounds of `runs` calls each (CPU time of this process, which the other
// programs on a shared machine do not inflate); prints the median of the
// rounds' medians for both and their ratio. `scale` turns microseconds into
// `unit`.
template <class Ours, class Reference>
void compareWithReference(const char* name, int runs, double scale, const char* unit, Ours ours,
                          Reference reference) {
    std::vector<double> oursRounds, referenceRounds, wallRatios;
    const auto round = [runs](auto& work, std::vector<double>* wall) {
        std::vector<double> cpu;
        for (int i = 0; i < runs; ++i) {
            const auto start = Clock::now();
            const double cpuStart = cpuMicroseconds();
            work();
            cpu.push_back(cpuMicroseconds() - cpuStart);
            wall->push_back(microsecondsSince(start));
        }
        return median(cpu);
    };
    for (int r = 0; r < 3; ++r) {
        std::vector<double> oursWall, referenceWall;
        oursRounds.push_back(round(ours, &oursWall));
        referenceRounds.push_back(round(reference, &referenceWall));
        wallRatios.push_back(median(oursWall) / median(referenceWall));
    }
    const double o = median(oursRounds), ref = median(referenceRounds);
    const std::string base(name);
    print((base + "_ours").c_str(), o * scale, unit);
    print((base + "_reference").c_str(), ref * scale, unit);
    print((base + "_ratio").c_str(), o / ref, "x");
    print((base + "_wall_ratio").c_str(), median(wallRatios), "x");
}

inline TRActivityStore::Options storeOptions(const QTemporaryDir& dir) {
    TRActivityStore::Options options;
    options.dataFolder = dir.filePath(QStringLiteral("info.mallowby.Vorlix"));
    options.settings = std::make_shared<TRSettings>(dir.filePath(QStringLiteral("VorlixHelper.conf")));
    return options;
}

}  // namespace bench

#pragma once
// FakeStatusMenu: counts icon resets and, when offersWindow is set, hands
// out a controller that remembers how the loop preset it.

#include <QDateTime>
#include <optional>

#include "tracking/TRStatusMenuDelegate.h"

class FakeCustomActivityController final : public TRCustomActivityCreationController {
public:
    void setActivityStartDate(const QDateTime& start) override { startDate = start; }
    void setActivityDurationTimeInterval(double seconds) override { duration = seconds; }
    QDateTime startDate;
    std::optional<double> duration;
};

class FakeStatusMenu final : public TRStatusMenuDelegate {
public:
    void resetStatusItemImages() override { ++resets; }
    TRCustomActivityCreationController* presentCustomActivityCreationViewController() override {
        ++windowsRequested;
        controller = FakeCustomActivityController();
        return offersWindow ? &controller : nullptr;
    }

    bool offersWindow = true;
    int resets = 0;
    int windowsRequested = 0;
    FakeCustomActivityController controller;
};

// The main-thread step of a tick: which application is in front, whether it
// is ever tracked, and the window list's title for it.

#include <gtest/gtest.h>

#include <functional>

#include "ExtractionFixture.h"

namespace {

constexpr qint32 kPid = 42;

WindowInfo window(qint32 pid, const char* name, int sharingState = 1) {
    WindowInfo info;
    info.ownerProcessIdentifier = pid;
    info.name = q(name);
    info.sharingState = sharingState;
    return info;
}

class TRInfoExtractorCurrentActivityTest : public ExtractionTest {
protected:
    void frontIs(const RunningApplication& application) {
        m_applications.add(application);
        m_windows.setFrontProcess(application.processIdentifier);
    }
};

TEST_F(TRInfoExtractorCurrentActivityTest, ReturnsNothingForApplicationsThatAreNeverTracked) {
    const struct {
        const char* name;
        const char* id;
        const char* executable;
        bool excluded;
    } cases[] = {
        {"the helper's own id", "info.mallowby.VorlixHelper", nullptr, true},
        {"ccc_helper, whatever its id", "org.example.Backup", "ccc_helper", true},
        {"a panel by its id", "xfce4-panel", nullptr, true},
        {"a notification agent by its executable", "org.example.Other", "dunst", true},
        {"the file manager that also draws the desktop", "pcmanfm", "pcmanfm", false},
        {"an ordinary editor", "org.gnome.gedit", "gedit", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        frontIs(makeApplication(kPid, q(c.id), q(c.executable)));
        EXPECT_EQ(extractor().currentActivity().has_value(), !c.excluded);
    }
}

TEST_F(TRInfoExtractorCurrentActivityTest, TakesTheTitleOfTheFirstQualifyingWindowOfTheProcess) {
    const struct {
        const char* name;
        std::vector<WindowInfo> windows;
        const char* wantTitle;
    } cases[] = {
        {"the front window of the process",
         {window(kPid, "Front"), window(kPid, "Behind")},
         "Front"},
        {"other processes' windows are passed over",
         {window(7, "Other"), window(kPid, "Mine")},
         "Mine"},
        {"a window that is not shared is skipped",
         {window(kPid, "Private", 0), window(7, "Other"), window(kPid, "Shared")},
         "Shared"},
        {"an activity window is passed over",
         {window(kPid, "Activity window for Mail"), window(kPid, "Inbox")},
         "Inbox"},
        {"no qualifying window leaves no title",
         {window(kPid, "Hidden", 0), window(kPid, "Activity window for X"), window(7, "Other")},
         nullptr},
    };
    frontIs(makeApplication(kPid, u"org.example.Editor"_s));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        m_windows.setWindows(c.windows);
        const auto activity = extractor().currentActivity();
        ASSERT_TRUE(activity.has_value());
        ASSERT_TRUE(activity->details().has_value());
        EXPECT_EQ(activity->windowTitle(), q(c.wantTitle));
        EXPECT_EQ(activity->windowTitle().isNull(), c.wantTitle == nullptr);
        EXPECT_TRUE(activity->documentPath().isNull());
        EXPECT_EQ(activity->processIdentifier(), kPid);
    }
}

TEST_F(TRInfoExtractorCurrentActivityTest, GivesAnActivityWithoutApplicationWhenNoneIsKnown) {
    const struct {
        const char* name;
        std::function<void()> prepare;
        const char* wantTitle;
    } cases[] = {
        {"a process without an application record", [this] { m_applications.setFailing(true); },
         "Window"},
        {"a display that cannot be reached", [this] { m_windows.setAvailable(false); }, nullptr},
        {"no active window on the first tick", [this] { m_windows.setFrontProcess(std::nullopt); },
         nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        m_applications.setFailing(false);
        m_windows.setAvailable(true);
        frontIs(makeApplication(kPid, u"org.example.Editor"_s));
        m_windows.setWindows({window(kPid, "Window")});
        c.prepare();
        const auto activity = extractor().currentActivity();
        ASSERT_TRUE(activity.has_value());
        EXPECT_EQ(activity->runningApplication(), nullptr);
        EXPECT_EQ(activity->windowTitle(), q(c.wantTitle));
    }
}

// Focus passing between two windows leaves no active window for a moment;
// two ticks in a row without one are real.
TEST_F(TRInfoExtractorCurrentActivityTest, BridgesOneTickWithoutAnActiveWindow) {
    frontIs(makeApplication(kPid, u"org.example.Editor"_s));
    const std::optional<qint32> none;
    const std::pair<std::optional<qint32>, qint32> ticks[] = {
        {kPid, kPid}, {none, kPid}, {kPid, kPid}, {none, kPid}, {none, 0}, {none, 0}, {kPid, kPid},
    };
    int second = 0;
    for (const auto& [front, wantPid] : ticks) {
        SCOPED_TRACE(second++);
        m_windows.setFrontProcess(front);
        const auto activity = extractor().currentActivity();
        ASSERT_TRUE(activity.has_value());
        EXPECT_EQ(activity->processIdentifier(), wantPid);
    }
}

}  // namespace

// When an interval ends: changes of the front activity and what the
// extractor found, and when the extractor runs at all.

#include "TrackingTestFixture.h"

namespace {

TRActivityDetails detailsWith(const QString& documentPath, const QString& windowTitle) {
    TRActivityDetails details;
    details.setDocumentPath(documentPath);
    details.setWindowTitle(windowTitle);
    return details;
}

}  // namespace

TEST_F(TrackingTest, IntervalEndsWhenFrontActivityChanges) {
    struct Case {
        const char* name;
        std::optional<TRActivity> first;
        std::optional<TRActivity> next;
        bool ends;
    };
    const auto a = [](const QString& title) {
        return FakeActivitySource::activityFor(101, QStringLiteral("xterm"), title);
    };
    const Case cases[] = {
        {"same process, same title", a(QStringLiteral("~")), a(QStringLiteral("~")), false},
        {"same process, new window title", a(QStringLiteral("~")), a(QStringLiteral("/tmp")), true},
        {"another launch of the same program", a(QStringLiteral("~")),
         FakeActivitySource::activityFor(102, QStringLiteral("xterm"), QStringLiteral("~")), true},
        {"an untracked application comes to the front", a(QStringLiteral("~")), std::nullopt, true},
        {"untracked twice in a row", std::nullopt, std::nullopt, false},
        {"tracked after untracked", std::nullopt, a(QStringLiteral("~")), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        restart();
        source.setFront(c.first);
        logger->setShouldTrack(true);
        activeSeconds(1);
        const QDateTime start = clock.now();
        activeSeconds(4);
        source.setFront(c.next);
        activeSeconds(1);
        ASSERT_EQ(recorder.stored().size(), c.ends ? 1u : 0u);
        if (c.ends) {
            expectInterval(0, 101, start, clock.now());
        }
        if (c.next) {
            EXPECT_EQ(logger->previousActivityStartDate(),
                      c.ends || !c.first ? clock.now() : start);
        }
    }
}

TEST_F(TrackingTest, NewDocumentUnderSameWindowTitleEndsInterval) {
    source.setExtractedDetails(
        detailsWith(QStringLiteral("/home/u/a.txt"), QStringLiteral("Editor")));
    startOn(appC());
    const QDateTime start = clock.now();
    activeSeconds(3);
    EXPECT_TRUE(recorder.stored().empty());
    source.setExtractedDetails(
        detailsWith(QStringLiteral("/home/u/b.txt"), QStringLiteral("Editor")));
    activeSeconds(1);
    ASSERT_EQ(recorder.stored().size(), 1u);
    expectInterval(0, 303, start, clock.now());
    EXPECT_EQ(recorder.stored()[0].activity.documentPath(), QStringLiteral("/home/u/a.txt"));
}

// Where the user switched scripted tracking off for an application, nothing
// its extractor would find is recorded; other applications still get it.
TEST_F(TrackingTest, ExtractorSkippedWhereUserSwitchedItOff) {
    recorder.disableExtractionFor(QStringLiteral("chromium"));
    source.setExtractedDetails(
        detailsWith(QStringLiteral("/home/u/a.txt"), QStringLiteral("Editor")));
    startOn(appB());
    activeSeconds(2);
    source.setFront(appA());
    activeSeconds(2);
    logger->endTracking();
    ASSERT_EQ(recorder.stored().size(), 2u);
    EXPECT_TRUE(recorder.stored()[0].activity.documentPath().isNull());
    EXPECT_EQ(recorder.stored()[1].activity.documentPath(), QStringLiteral("/home/u/a.txt"));
}

TEST_F(TrackingTest, DetailsRemovedByExtractorStillCount) {
    source.setExtractedDetails(std::nullopt);
    startOn(appA());
    const QDateTime start = clock.now();
    activeSeconds(3);
    source.setFront(appB());
    activeSeconds(1);
    ASSERT_EQ(recorder.stored().size(), 1u);
    expectInterval(0, 101, start, clock.now());
    EXPECT_FALSE(recorder.stored()[0].activity.details().has_value());
}

// The worker may take seconds to ask a slow application about its window;
// the switch still happened when the tick saw it, and those seconds belong
// to the application switched to.
TEST_F(TrackingTest, SwitchIsDatedWhenTickSawItNotWhenExtractorFinished) {
    for (const double extractorSeconds : {0.0, 0.4, 2.5, 9.0}) {
        SCOPED_TRACE(QStringLiteral("extractor takes %1 s").arg(extractorSeconds).toStdString());
        restart();
        startOn(appA());
        const QDateTime start = logger->previousActivityStartDate();
        activeSeconds(4);
        source.setFront(appB());
        source.closeGate();
        clock.advance(1.0);
        idle.touch();
        logger->trackingHandler();
        const QDateTime seen = clock.now();
        clock.advance(extractorSeconds);
        source.openGate();
        waitForDecision();
        activeSeconds(3);
        logger->endTracking();
        ASSERT_EQ(recorder.stored().size(), 2u);
        expectInterval(0, 101, start, seen);
        expectInterval(1, 202, seen, clock.now());
    }
}

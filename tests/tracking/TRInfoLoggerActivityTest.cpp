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
        return FakeActivitySource::activityFor(101, u"xterm"_s, title);
    };
    const Case cases[] = {
        {"same process, same title", a(u"~"_s), a(u"~"_s), false},
        {"same process, new window title", a(u"~"_s), a(u"/tmp"_s), true},
        {"another launch of the same program", a(u"~"_s),
         FakeActivitySource::activityFor(102, u"xterm"_s, u"~"_s), true},
        {"an untracked application comes to the front", a(u"~"_s), std::nullopt, true},
        {"tracked after untracked", std::nullopt, a(u"~"_s), false},
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
        if (c.ends)
            expectStored({{101, start, clock.now()}});
        else
            EXPECT_TRUE(recorder.stored().empty());
        if (c.next) {
            EXPECT_EQ(logger->previousActivityStartDate(),
                      c.ends || !c.first ? clock.now() : start);
        }
    }
}

TEST_F(TrackingTest, NewDocumentUnderSameWindowTitleEndsInterval) {
    source.setExtractedDetails(detailsWith(u"/home/u/a.txt"_s, u"Editor"_s));
    startOn(appC());
    const QDateTime start = clock.now();
    activeSeconds(3);
    EXPECT_TRUE(recorder.stored().empty());
    source.setExtractedDetails(detailsWith(u"/home/u/b.txt"_s, u"Editor"_s));
    activeSeconds(1);
    expectStored({{303, start, clock.now()}});
    EXPECT_EQ(recorder.stored()[0].activity.documentPath(), u"/home/u/a.txt"_s);
}

// Where the user switched scripted tracking off for an application, nothing
// its extractor would find is recorded; other applications still get it.
TEST_F(TrackingTest, ExtractorSkippedWhereUserSwitchedItOff) {
    recorder.disableExtractionFor(u"chromium"_s);
    source.setExtractedDetails(detailsWith(u"/home/u/a.txt"_s, u"Editor"_s));
    startOn(appB());
    activeSeconds(2);
    source.setFront(appA());
    activeSeconds(2);
    logger->endTracking();
    ASSERT_EQ(recorder.stored().size(), 2u);
    EXPECT_TRUE(recorder.stored()[0].activity.documentPath().isNull());
    EXPECT_EQ(recorder.stored()[1].activity.documentPath(), u"/home/u/a.txt"_s);
}

// The worker may take seconds to ask a slow application about its window;
// the switch still happened when the tick saw it, and those seconds belong
// to the application switched to.
TEST_F(TrackingTest, SwitchIsDatedWhenTickSawItNotWhenExtractorFinished) {
    for (const double extractorSeconds : {0.0, 9.0}) {
        SCOPED_TRACE(u"extractor takes %1 s"_s.arg(extractorSeconds).toStdString());
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
        expectStored({{101, start, seen}, {202, seen, clock.now()}});
    }
}

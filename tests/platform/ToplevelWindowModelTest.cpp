// The toplevel list a wlroots compositor gives task bars, as the helper
// keeps it: who is in front and in which order, after each `done` the
// compositor sends. Pure logic at the platform boundary.

#include <gtest/gtest.h>

#include <QStringList>

#include "platform/linux/ToplevelWindowModel.h"

namespace {

ToplevelWindow window(quint64 id, const char* title, bool activated, bool minimized = false) {
    return {id, QStringLiteral("foot"), QString::fromUtf8(title), activated, minimized};
}

QStringList titles(const ToplevelWindowModel& model) {
    QStringList names;
    for (const ToplevelWindow& w : model.frontToBack()) names << w.title;
    return names;
}

// Each step is one `done` (or a close) after foot "A" (front) and "B" are
// listed; the model answers the front window and the list's order.
TEST(ToplevelWindowModelTest, TheActivatedWindowIsInFrontAndNothingWhenNoneIs) {
    const struct {
        const char* name;
        std::optional<ToplevelWindow> apply;  // nullopt: close window 1 ("A")
        std::optional<quint64> wantFront;
        QStringList wantTitles;
    } steps[] = {
        {"B activated before A says it lost the keyboard", window(2, "B", true), 2, {"B", "A"}},
        {"A's own deactivation arrives", window(1, "A", false), 2, {"B", "A"}},
        {"B's title changes in front", window(2, "B2", true), 2, {"B2", "A"}},
        {"B minimised: nothing in front, not A", window(2, "B2", false, true), std::nullopt, {"A"}},
        {"A activated again", window(1, "A", true), 1, {"A"}},
        {"A closed while in front", std::nullopt, std::nullopt, {}},
    };
    ToplevelWindowModel model;
    model.apply(window(1, "A", true));
    model.apply(window(2, "B", false));
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        if (step.apply) {
            model.apply(*step.apply);
        } else {
            model.remove(1);
        }
        const std::optional<ToplevelWindow> front = model.front();
        EXPECT_EQ(front ? std::optional<quint64>(front->id) : std::nullopt, step.wantFront);
        EXPECT_EQ(titles(model), step.wantTitles);
    }
}

}  // namespace

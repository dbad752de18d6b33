#include <gtest/gtest.h>

#include <QTranslator>
#include <limits>

#include "core/TRDurationToStringFormatter.h"

namespace {

struct DurationCase {
    double seconds;
    unsigned max;
    const char* text;
};

TEST(TRDurationToStringFormatter, ShortTextTruncatesAndLimitsUnits) {
    const DurationCase cases[] = {
        {0, 2, "0s"},          {59.9, 2, "59s"},      {60, 2, "1m"},        {61, 2, "1m 1s"},
        {3600, 2, "1h"},       {3601, 2, "1h"},       {3660, 2, "1h 1m"},   {3725, 2, "1h 2m"},
        {3601, 3, "1h 1s"},    {3725, 3, "1h 2m 5s"}, {3660, 1, "1h"},      {125, 1, "2m"},
        // No units wanted: hours still appear, minutes never, seconds only alone.
        {3725, 0, "1h"},       {5, 0, "5s"},          {60, 0, ""},          {0, 0, "0s"},
        // Negative values use the same floor arithmetic.
        {-30, 2, "-1h 59m"},   {-30, 3, "-1h 59m 30s"}, {-3600, 2, "-1h"},  {-0.5, 2, "-1h 59m"},
        {86400 * 3 + 1, 3, "72h 1s"}, {0.999, 2, "0s"}, {3599.99, 3, "59m 59s"},
    };
    EXPECT_EQ(TRDurationToStringFormatter::shortStringForDuration(
                  std::numeric_limits<double>::quiet_NaN(), 2),
              QString());
    for (const DurationCase& c : cases) {
        SCOPED_TRACE(testing::Message() << c.seconds << " max " << c.max);
        EXPECT_EQ(TRDurationToStringFormatter::shortStringForDuration(c.seconds, c.max),
                  QString::fromLatin1(c.text));
    }
}

TEST(TRDurationToStringFormatter, UnitFormatsComeFromTheTranslation) {
    int argc = 1;
    char name[] = "core_tests";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    QTranslator german;
    ASSERT_TRUE(german.load(QStringLiteral(":/i18n/vorlix_de.qm")));
    QCoreApplication::installTranslator(&german);
    EXPECT_EQ(TRDurationToStringFormatter::shortStringForDuration(3725.0, 3),
              QStringLiteral("1 Std. 2 Min. 5 Sek."));
    EXPECT_EQ(TRDurationToStringFormatter::shortStringForDuration(0.0, 2), QStringLiteral("0 Sek."));
    QCoreApplication::removeTranslator(&german);
    EXPECT_EQ(TRDurationToStringFormatter::shortStringForDuration(3725.0, 3),
              QStringLiteral("1h 2m 5s"));
}

}  // namespace

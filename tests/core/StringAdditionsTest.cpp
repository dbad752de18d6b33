#include <gtest/gtest.h>

#include "core/StringAdditions.h"

namespace {

using namespace StringAdditions;

QString u(const char16_t* s) { return QString::fromUtf16(s); }

// How titles and paths are cut into the path components the store keeps.
TEST(StringAdditionsSplit, KeepsSeparatorRunsInFrontOfTheNextComponent) {
    const QString slash = QStringLiteral("/");
    const struct {
        const char* name;
        QString input;
        QString separators;
        QStringList expected;
    } cases[] = {
        {"run before text", QStringLiteral("//a"), slash, {QStringLiteral("//a")}},
        {"trailing separator dropped", QStringLiteral("a/b/"), slash,
         {QStringLiteral("a"), QStringLiteral("/b")}},
        {"inner run kept whole", QStringLiteral("a//b"), slash,
         {QStringLiteral("a"), QStringLiteral("//b")}},
        {"whitespace before a separator stays, after it goes", QStringLiteral(" a / b"), slash,
         {QStringLiteral("a "), QStringLiteral("/b")}},
        {"text after a separator and a blank is lost", QStringLiteral("a/ /b"), slash,
         {QStringLiteral("a")}},
        {"astral characters are two units and never separators", u(u"\U0001F600/\U0001F4C4"),
         slash, {u(u"\U0001F600"), u(u"/\U0001F4C4")}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(componentsSeparatedByIncludedCharactersInSet(c.input, c.separators), c.expected);
    }
}

}  // namespace

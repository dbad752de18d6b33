#include <gtest/gtest.h>

#include "core/StringAdditions.h"

namespace {

using namespace StringAdditions;

QString u(const char16_t* s) { return QString::fromUtf16(s); }

struct SplitCase {
    const char* name;
    QString input;
    QString separators;
    QStringList expected;
};

TEST(StringAdditionsSplit, KeepsSeparatorRunsInFrontOfTheNextComponent) {
    const QString slash = QStringLiteral("/");
    const QString titleSeparators = u(u"/-\u2014:\u203A");
    const SplitCase cases[] = {
        {"empty string", QString(), slash, {}},
        {"lone separator", QStringLiteral("/"), slash, {QStringLiteral("/")}},
        {"separators only", QStringLiteral("///"), slash, {QStringLiteral("///")}},
        {"run before text", QStringLiteral("//a"), slash, {QStringLiteral("//a")}},
        {"no separator", QStringLiteral("a"), slash, {QStringLiteral("a")}},
        {"absolute path", QStringLiteral("/Users/a"), slash,
         {QStringLiteral("/Users"), QStringLiteral("/a")}},
        {"trailing separator dropped", QStringLiteral("a/b/"), slash,
         {QStringLiteral("a"), QStringLiteral("/b")}},
        {"inner run kept whole", QStringLiteral("a//b"), slash,
         {QStringLiteral("a"), QStringLiteral("//b")}},
        {"whitespace before a separator stays, after it goes", QStringLiteral(" a / b"), slash,
         {QStringLiteral("a "), QStringLiteral("/b")}},
        {"leading whitespace skipped", QStringLiteral("  \t\na"), slash, {QStringLiteral("a")}},
        {"whitespace only", QStringLiteral("   "), slash, {}},
        {"text after a separator and a blank is lost", QStringLiteral("a/ /b"), slash,
         {QStringLiteral("a")}},
        {"em-dash title", u(u"Report \u2014 Draft: v2"), titleSeparators,
         {QStringLiteral("Report "), u(u"\u2014Draft"), QStringLiteral(":v2")}},
        {"astral characters are two units and never separators", u(u"\U0001F600/\U0001F4C4"),
         slash, {u(u"\U0001F600"), u(u"/\U0001F4C4")}},
    };
    for (const SplitCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(componentsSeparatedByIncludedCharactersInSet(c.input, c.separators), c.expected);
    }
}

TEST(StringAdditionsSplit, AstralCharacterCountsTwoUnits) {
    const QStringList parts =
        componentsSeparatedByIncludedCharactersInSet(u(u"\U0001F600/x"), QStringLiteral("/"));
    ASSERT_EQ(parts.size(), 2);
    EXPECT_EQ(parts[0].size(), 2);
}

struct AffixCase {
    const char* name;
    QString s;
    QString affix;
    bool starts;
    bool ends;
    bool contains;
};

TEST(StringAdditionsTests, PrefixSuffixAndContainment) {
    const AffixCase cases[] = {
        {"empty argument", QStringLiteral("abc"), QString(), true, true, false},
        {"argument longer than receiver", QStringLiteral("ab"), QStringLiteral("abc"), false,
         false, false},
        {"exact match", QStringLiteral("abc"), QStringLiteral("abc"), true, true, true},
        {"case-sensitive", QStringLiteral("Abc"), QStringLiteral("abc"), false, false, false},
        {"inside only", QStringLiteral("xabcx"), QStringLiteral("abc"), false, false, true},
        {"suffix", QStringLiteral("xabc"), QStringLiteral("bc"), false, true, true},
        {"empty receiver, empty argument", QString(), QString(), true, true, false},
    };
    for (const AffixCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(startsWith(c.s, c.affix), c.starts);
        EXPECT_EQ(endsWith(c.s, c.affix), c.ends);
        EXPECT_EQ(containsString(c.s, c.affix), c.contains);
    }
}

TEST(StringAdditionsTests, RemovesOneLeadingWWW) {
    const std::pair<QString, QString> cases[] = {
        {QStringLiteral("www.example.com"), QStringLiteral("example.com")},
        {QStringLiteral("www.www.example.com"), QStringLiteral("www.example.com")},
        {QStringLiteral("awww.example.com"), QStringLiteral("awww.example.com")},
        {QStringLiteral("WWW.example.com"), QStringLiteral("WWW.example.com")},
        {QStringLiteral("www."), QString()},
        {QStringLiteral("ww"), QStringLiteral("ww")},
    };
    for (const auto& [in, out] : cases) {
        SCOPED_TRACE(qPrintable(in));
        EXPECT_EQ(stringByRemovingPossibleWWWPrefix(in), out);
    }
}

TEST(StringAdditionsTests, URLEncodingEscapesReservedCharactersAndUnderscore) {
    EXPECT_EQ(stringByURLEncodingWithUTF8(QStringLiteral("!*'();:@&=+$,/?%#[]_")),
              QStringLiteral("%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D%5F"));
    EXPECT_EQ(stringByURLEncodingWithUTF8(QStringLiteral("a-b.c~d e")),
              QStringLiteral("a-b.c~d%20e"));
    EXPECT_EQ(stringByURLEncodingWithUTF8(u(u"\u00e9\U0001F600")),
              QStringLiteral("%C3%A9%F0%9F%98%80"));
}

}  // namespace

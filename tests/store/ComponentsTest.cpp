// How texts become path components, without a store.
#include <gtest/gtest.h>

#include "StoreTestSupport.h"
#include "TRActivityComponents.h"

namespace {

using TRActivityComponents::componentsForDetails;
using TRActivityComponents::componentsForPath;

struct DetailsCase {
    const char* name;
    std::function<void(TRActivityDetails&)> fill;
    int maxLevel;
    QStringList expected;
};

TEST(ActivityComponents, CutsTextsAsRecordingExpects) {
    const DetailsCase cases[] = {
        {"document path wins over titles",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("/a"));
             d.setDocumentTitle(QStringLiteral("T"));
         },
         5,
         {QStringLiteral("/a")}},
        {"document title before window title",
         [](TRActivityDetails& d) {
             d.setDocumentTitle(QStringLiteral("x: y"));
             d.setWindowTitle(QStringLiteral("w"));
         },
         5,
         {QStringLiteral("x"), QStringLiteral(":y")}},
        {"explicit components win even when empty",
         [](TRActivityDetails& d) {
             d.setPathComponents(QStringList());
             d.setDocumentPath(QStringLiteral("/a"));
         },
         5,
         {}},
        {"ftp keeps no port 21",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("ftp://files.example.org:21/pub/x"));
         },
         5,
         {QStringLiteral("files.example.org"), QStringLiteral("/pub"), QStringLiteral("/x")}},
        {"http on 443 loses its port too",
         [](TRActivityDetails& d) { d.setDocumentPath(QStringLiteral("http://example.org:443/")); },
         5,
         {QStringLiteral("example.org")}},
        {"other ports stay",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("http://127.0.0.1:8000/a/"));
         },
         5,
         {QStringLiteral("127.0.0.1:8000"), QStringLiteral("/a")}},
        {"fragment is not used",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("https://example.org/a?q=1#top"));
         },
         5,
         {QStringLiteral("example.org"), QStringLiteral("/a"), QStringLiteral("?q=1")}},
        {"level limit of one keeps the host",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("https://www.example.org/a/b"));
         },
         1,
         {QStringLiteral("example.org")}},
        {"only the first www goes",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("https://www.www.example.org/"));
         },
         5,
         {QStringLiteral("www.example.org")}},
        {"file address keeps decoded path",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("file:///home/u/My%20Notes/./a.txt"));
         },
         5,
         {QStringLiteral("/home"), QStringLiteral("/u"), QStringLiteral("/My Notes"),
          QStringLiteral("/a.txt")}},
        {"title with an angle quote",
         [](TRActivityDetails& d) {
             d.setWindowTitle(QString::fromUtf16(u"Settings \u203A Privacy"));
         },
         5,
         {QStringLiteral("Settings "), QString::fromUtf16(u"\u203APrivacy")}},
        {"title with a hyphen",
         [](TRActivityDetails& d) { d.setWindowTitle(QStringLiteral("a-b")); },
         5,
         {QStringLiteral("a"), QStringLiteral("-b")}},
    };
    for (const DetailsCase& c : cases) {
        SCOPED_TRACE(c.name);
        TRActivityDetails details;
        c.fill(details);
        int asked = 0;
        const QStringList got = componentsForDetails(details, [&] {
            ++asked;
            return c.maxLevel;
        });
        EXPECT_EQ(got, c.expected);
    }
    EXPECT_EQ(componentsForDetails(std::nullopt, [] { return 5; }), QStringList());
}

TEST(ActivityComponents, AsksForTheLevelLimitOnlyForWebAddresses) {
    int asked = 0;
    TRActivityDetails details;
    details.setDocumentPath(QStringLiteral("/a/b"));
    componentsForDetails(details, [&] {
        ++asked;
        return 5;
    });
    EXPECT_EQ(asked, 0);
    details.setDocumentPath(QStringLiteral("https://example.org/"));
    componentsForDetails(details, [&] {
        ++asked;
        return 5;
    });
    EXPECT_EQ(asked, 1);
}

TEST(ActivityComponents, CollapsesOnlyTheTwoRandomTemporaryLevels) {
    const struct {
        const char* name;
        QString path;
        QStringList expected;
    } cases[] = {
        {"two levels",
         QStringLiteral("/var/folders/ab/cd/T/x"),
         {QStringLiteral("/var"), QStringLiteral("/folders"), QStringLiteral("/*"),
          QStringLiteral("/T"), QStringLiteral("/x")}},
        {"one level",
         QStringLiteral("/var/folders/ab"),
         {QStringLiteral("/var"), QStringLiteral("/folders"), QStringLiteral("/*")}},
        {"elsewhere untouched",
         QStringLiteral("/tmp/var/folders2/x"),
         {QStringLiteral("/tmp"), QStringLiteral("/var"), QStringLiteral("/folders2"),
          QStringLiteral("/x")}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(componentsForPath(c.path), c.expected);
    }
}

}  // namespace

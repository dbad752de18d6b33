// How texts become path components, without a store.
#include <gtest/gtest.h>

#include "StoreTestSupport.h"
#include "store/activity/TRActivityComponents.h"

namespace {

using TRActivityComponents::componentsForDetails;
using TRActivityComponents::componentsForPath;

using Fill = std::function<void(TRActivityDetails&)>;

Fill document(const char* path) {
    return [path](TRActivityDetails& d) { d.setDocumentPath(QString::fromUtf8(path)); };
}
Fill windowTitle(const QString& title) {
    return [title](TRActivityDetails& d) { d.setWindowTitle(title); };
}

TEST(ActivityComponents, CutsTextsAsRecordingExpects) {
    const struct {
        const char* name;
        Fill fill;
        QStringList expected;
        int maxLevel = 5;
    } cases[] = {
        {"document path wins over titles",
         [](TRActivityDetails& d) {
             d.setDocumentPath(QStringLiteral("/a"));
             d.setDocumentTitle(QStringLiteral("T"));
         },
         {"/a"}},
        {"document title before window title",
         [](TRActivityDetails& d) {
             d.setDocumentTitle(QStringLiteral("x: y"));
             d.setWindowTitle(QStringLiteral("w"));
         },
         {"x", ":y"}},
        {"explicit components win even when empty",
         [](TRActivityDetails& d) {
             d.setPathComponents(QStringList());
             d.setDocumentPath(QStringLiteral("/a"));
         },
         {}},
        {"ftp keeps no port 21",
         document("ftp://files.example.org:21/pub/x"),
         {"files.example.org", "/pub", "/x"}},
        {"http on 443 loses its port too", document("http://example.org:443/"), {"example.org"}},
        {"other ports stay", document("http://127.0.0.1:8000/a/"), {"127.0.0.1:8000", "/a"}},
        {"fragment is not used",
         document("https://example.org/a?q=1#top"),
         {"example.org", "/a", "?q=1"}},
        {"level limit of one keeps the host",
         document("https://www.example.org/a/b"),
         {"example.org"},
         1},
        {"only the first www goes", document("https://www.www.example.org/"), {"www.example.org"}},
        {"file address keeps decoded path",
         document("file:///home/u/My%20Notes/./a.txt"),
         {"/home", "/u", "/My Notes", "/a.txt"}},
        {"title with an angle quote",
         windowTitle(QString::fromUtf16(u"Settings \u203A Privacy")),
         {"Settings ", QString::fromUtf16(u"\u203APrivacy")}},
        {"title with a hyphen", windowTitle("a-b"), {"a", "-b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TRActivityDetails details;
        c.fill(details);
        EXPECT_EQ(componentsForDetails(details, [&] { return c.maxLevel; }), c.expected);
    }
    EXPECT_EQ(componentsForDetails(std::nullopt, [] { return 5; }), QStringList());
}

TEST(ActivityComponents, AsksForTheLevelLimitOnlyForWebAddresses) {
    for (const auto& [path, asks] : {std::pair{"/a/b", 0}, std::pair{"https://example.org/", 1}}) {
        SCOPED_TRACE(path);
        int asked = 0;
        TRActivityDetails details;
        document(path)(details);
        componentsForDetails(details, [&] {
            ++asked;
            return 5;
        });
        EXPECT_EQ(asked, asks);
    }
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

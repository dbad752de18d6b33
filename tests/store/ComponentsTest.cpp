// How texts become path components, without a store.
#include <gtest/gtest.h>

#include "StoreTestSupport.h"
#include "store/activity/TRActivityComponents.h"

namespace {

using Fill = std::function<void(TRActivityDetails&)>;

Fill document(const char* path) {
    return [path](TRActivityDetails& d) { d.setDocumentPath(QString::fromUtf8(path)); };
}
Fill documentTitle(const char* title) {
    return [title](TRActivityDetails& d) { d.setDocumentTitle(QString::fromUtf8(title)); };
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
        {"http on port 80 loses port and www",
         document("http://www.example.com:80/"),
         {"example.com"}},
        {"http on 443 loses its port too", document("http://example.org:443/"), {"example.org"}},
        {"ftp keeps no port 21",
         document("ftp://files.example.org:21/pub/x"),
         {"files.example.org", "/pub", "/x"}},
        {"other ports stay", document("http://127.0.0.1:8000/a/"), {"127.0.0.1:8000", "/a"}},
        {"fragment is not used",
         document("https://example.org/a?q=1#top"),
         {"example.org", "/a", "?q=1"}},
        {"level limit of one keeps the host",
         document("https://www.example.org/a/b"),
         {"example.org"},
         1},
        {"only the first www goes", document("https://www.www.example.org/"), {"www.example.org"}},
        {"file address is standardised and decoded",
         document("file:///home/u/x/../My%20Notes/./a.txt"),
         {"/home", "/u", "/My Notes", "/a.txt"}},
        {"two random temporary levels collapse",
         document("/var/folders/ab/cd/T/x"),
         {"/var", "/folders", "/*", "/T", "/x"}},
        {"one random temporary level collapses",
         document("/var/folders/ab"),
         {"/var", "/folders", "/*"}},
        {"temporary look-alikes elsewhere stay",
         document("/tmp/var/folders2/x"),
         {"/tmp", "/var", "/folders2", "/x"}},
        {"three leading slashes count as one", documentTitle("///a/b"), {"/a", "/b"}},
        {"address without host is cut as a title",
         documentTitle("http:///path"),
         {"http", ":///path"}},
        {"address with only a scheme is cut as a title", documentTitle("https://"), {"https"}},
        {"title with an em dash",
         windowTitle(QString::fromUtf16(u"Report \u2014 Editor")),
         {"Report ", QString::fromUtf16(u"\u2014Editor")}},
        {"title with an angle quote",
         windowTitle(QString::fromUtf16(u"Settings \u203A Privacy")),
         {"Settings ", QString::fromUtf16(u"\u203APrivacy")}},
        {"title with a hyphen", windowTitle("a-b"), {"a", "-b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TRActivityDetails details;
        c.fill(details);
        EXPECT_EQ(TRActivityComponents::componentsForDetails(details, [&] { return c.maxLevel; }),
                  c.expected);
    }
    EXPECT_EQ(TRActivityComponents::componentsForDetails(std::nullopt, [] { return 5; }),
              QStringList());
}

}  // namespace

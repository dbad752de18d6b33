// How texts become path components, without a store.
#include "StoreTestSupport.h"
#include "store/activity/TRActivityComponents.h"

namespace {

TEST(ActivityComponents, CutsTextsAsRecordingExpects) {
    // Each line of `text` sets the detail its prefix names: "doc:" the
    // document path, "title:" the document title, "window:" the window title,
    // "components:" the explicit list (empty).
    const struct {
        const char* text;
        QStringList expected;
        int maxLevel = 5;
    } cases[] = {
        {"title:T\nwindow:w", {"T"}},
        {"window:w\ndoc:/a\ntitle:T", {"/a"}},
        {"doc:/a\ncomponents:", {}},
        {"doc:http://www.example.com:80/", {"example.com"}},
        {"doc:ftp://files.example.org:21/pub/x", {"files.example.org", "/pub", "/x"}},
        {"doc:http://127.0.0.1:8000/a/", {"127.0.0.1:8000", "/a"}},
        {"doc:https://example.org/a?q=1#top", {"example.org", "/a", "?q=1"}},
        {"doc:https://www.example.org/a/b", {"example.org"}, 1},
        {"doc:https://www.www.example.org/", {"www.example.org"}},
        // Addresses cut by hand and ones left to the URL parser agree.
        {"doc:https://host1.example.org/s/2/page?id=7&x=a,b:c+d",
         {"host1.example.org", "/s", "/2", "/page", "?id=7&x=a,b:c+d"},
         -1},
        {"doc:https://example.org/a", {}, 0},
        {"doc:https://Example.ORG/A/b", {"example.org", "/A", "/b"}},
        {"doc:https://example.org/%41%20b?q=%41&r=a%20b", {"example.org", "/A b", "?q=A&r=a%20b"}},
        {"doc:https://example.org/a/./b/../c", {"example.org", "/a", "/.", "/b", "/..", "/c"}, -1},
        {"doc:https://xn--bcher-kva.de/x", {"b\u00fccher.de", "/x"}},
        {"doc:file:///home/u/x/../My%20Notes/./a.txt", {"/home", "/u", "/My Notes", "/a.txt"}},
        {"doc:/var/folders/ab/cd/T/x", {"/var", "/folders", "/*", "/T", "/x"}},
        {"title:///a/b", {"/a", "/b"}},
        {"window:Report \u2014 Editor", {"Report ", "\u2014Editor"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        TRActivityDetails details;
        for (const QString& text : QString::fromUtf8(c.text).split(QLatin1Char('\n'))) {
            const QString value = text.mid(text.indexOf(QLatin1Char(':')) + 1);
            if (text.startsWith(QLatin1String("doc:"))) details.setDocumentPath(value);
            if (text.startsWith(QLatin1String("title:"))) details.setDocumentTitle(value);
            if (text.startsWith(QLatin1String("window:"))) details.setWindowTitle(value);
            if (text.startsWith(QLatin1String("components:")))
                details.setPathComponents(QStringList());
        }
        EXPECT_EQ(TRActivityComponents::componentsForDetails(details, [&] { return c.maxLevel; }),
                  c.expected);
    }
}

}  // namespace

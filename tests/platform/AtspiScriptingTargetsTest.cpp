// The generic document terms answered from a window document source.

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <map>

#include "platform/linux/AtspiScriptingTargets.h"

namespace {

class FakeDocuments final : public WindowDocumentSource {
public:
    std::optional<DocumentInfo> document(qint32, int windowIndex) override {
        ++asked;
        const auto found = documents.find(windowIndex);
        if (found == documents.end()) return std::nullopt;
        return found->second;
    }
    std::optional<QString> windowName(qint32, int windowIndex) override {
        const auto found = windowNames.find(windowIndex);
        if (found == windowNames.end()) return std::nullopt;
        return found->second;
    }
    std::map<int, DocumentInfo> documents;
    std::map<int, QString> windowNames;
    int asked = 0;
};

ScriptStep property(const char* code) { return ScriptStep::property(QLatin1String(code)); }
ScriptStep element(const char* code, int index) { return ScriptStep::element(QLatin1String(code), index); }

enum class Kind { Missing, String, Url, File, Reference };

Kind kindOf(const ScriptValue& value) {
    if (value.isMissing()) return Kind::Missing;
    if (value.string()) return Kind::String;
    if (std::holds_alternative<QUrl>(value.value)) return Kind::Url;
    if (std::holds_alternative<ScriptFileReference>(value.value)) return Kind::File;
    if (value.objectReference()) return Kind::Reference;
    return Kind::Missing;
}

}  // namespace

TEST(AtspiScriptingTargetsTest, AnswersTheGenericTermsFromTheShownDocumentAndWindows) {
    FakeDocuments documents;
    documents.documents[1] = {QStringLiteral("https://example.org/a?b=c"), QStringLiteral("Page A")};
    documents.documents[2] = {QStringLiteral("file:///home/u/report.pdf"), QStringLiteral("report.pdf")};
    documents.documents[3] = {QString(), QString()};
    documents.windowNames = {{1, QStringLiteral("Page A - Browser")}, {-1, QStringLiteral("Last window")}};
    AtspiScriptingTargets targets(documents, QStringLiteral("/nonexistent"));
    const auto target = targets.targetForProcess(42);

    const struct {
        const char* name;
        ScriptReference reference;
        Kind kind;
        QString text;  // string value, or the URL's string form
    } cases[] = {
        {"current document", {property("pADc")}, Kind::Reference, {}},
        {"document 1", {element("docu", 1)}, Kind::Reference, {}},
        {"document 2 is unknown", {element("docu", 2)}, Kind::Missing, {}},
        {"document of window 2", {element("cwin", 2), property("docu")}, Kind::Reference, {}},
        {"document of a window without one", {element("cwin", 5), property("docu")}, Kind::Missing, {}},
        {"URL of the current document", {property("pADc"), property("pURL")}, Kind::Url,
         QStringLiteral("https://example.org/a?b=c")},
        {"file URL is a file reference", {element("cwin", 2), property("docu"), property("pURL")}, Kind::File,
         QStringLiteral("file:///home/u/report.pdf")},
        {"empty address is missing", {element("cwin", 3), property("docu"), property("pURL")}, Kind::Missing, {}},
        {"document name", {element("docu", 1), property("pnam")}, Kind::String, QStringLiteral("Page A")},
        {"empty document name is missing", {element("cwin", 3), property("docu"), property("pnam")},
         Kind::Missing, {}},
        {"path is not known", {property("pADc"), property("ppth")}, Kind::Missing, {}},
        {"file is not known", {property("pADc"), property("file")}, Kind::Missing, {}},
        {"alternative URL is not known", {property("pADc"), property("url ")}, Kind::Missing, {}},
        {"window 1 name", {element("cwin", 1), property("pnam")}, Kind::String,
         QStringLiteral("Page A - Browser")},
        {"last window name", {element("cwin", -1), property("pnam")}, Kind::String, QStringLiteral("Last window")},
        {"window 7 name", {element("cwin", 7), property("pnam")}, Kind::Missing, {}},
        {"window 1", {element("cwin", 1)}, Kind::Reference, {}},
        {"empty reference", {}, Kind::Missing, {}},
        {"unknown application property", {property("pisf")}, Kind::Missing, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ScriptValue value = target->get(c.reference);
        EXPECT_EQ(kindOf(value), c.kind);
        if (kindOf(value) != c.kind) continue;
        switch (c.kind) {
        case Kind::String: EXPECT_EQ(*value.string(), c.text); break;
        case Kind::Url: EXPECT_EQ(std::get<QUrl>(value.value), QUrl(c.text)); break;
        case Kind::File: EXPECT_EQ(std::get<ScriptFileReference>(value.value).url, QUrl(c.text)); break;
        case Kind::Reference: EXPECT_EQ(value.objectReference()->reference, c.reference); break;
        case Kind::Missing: break;
        }
    }
}

TEST(AtspiScriptingTargetsTest, RunningMeansALiveProcessInProc) {
    QTemporaryDir proc;
    const auto write = [&](int pid, const char* state) {
        QDir().mkpath(proc.path() + QStringLiteral("/%1").arg(pid));
        QFile stat(proc.path() + QStringLiteral("/%1/stat").arg(pid));
        ASSERT_TRUE(stat.open(QIODevice::WriteOnly));
        stat.write(QByteArray::number(pid) + " (x) y) " + state + " 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 9\n");
    };
    write(10, "S");
    write(11, "Z");
    FakeDocuments documents;
    AtspiScriptingTargets targets(documents, proc.path());
    EXPECT_TRUE(targets.targetForProcess(10)->isRunning());
    EXPECT_FALSE(targets.targetForProcess(11)->isRunning());
    EXPECT_FALSE(targets.targetForProcess(12)->isRunning());
    EXPECT_FALSE(targets.targetForProcess(0)->isRunning());
}

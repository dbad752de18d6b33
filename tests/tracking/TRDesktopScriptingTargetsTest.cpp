// The extractors' terms answered from the desktop's document and process sources.

#include <gtest/gtest.h>

#include <map>

#include "tracking/bridge/TRDesktopScriptingTargets.h"

namespace {

class FakeDocuments final : public WindowDocumentSource {
public:
    std::optional<DocumentInfo> document(qint32, int windowIndex) override {
        return documents.count(windowIndex) ? std::optional(documents[windowIndex]) : std::nullopt;
    }
    std::optional<QString> windowName(qint32, int windowIndex) override {
        return windowNames.count(windowIndex) ? std::optional(windowNames[windowIndex]) : std::nullopt;
    }
    std::map<int, DocumentInfo> documents;
    std::map<int, QString> windowNames;
};

class FakeProcesses final : public ProcessSource {
public:
    bool isRunning(qint32 pid) override { return running.contains(pid); }
    QString executablePath(qint32) override { return {}; }
    QString workingDirectory(qint32) override { return {}; }
    QList<qint32> children(qint32) override { return {}; }
    qint32 foregroundProcess(qint32) override { return 0; }
    QList<qint32> running;
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

TEST(TRDesktopScriptingTargetsTest, AnswersTheGenericTermsFromTheShownDocumentAndWindows) {
    FakeDocuments documents;
    documents.documents[1] = {QStringLiteral("https://example.org/a?b=c"), QStringLiteral("Page A")};
    documents.documents[2] = {QStringLiteral("file:///home/u/report.pdf"), QStringLiteral("report.pdf")};
    documents.documents[3] = {QString(), QString()};
    documents.windowNames = {{1, QStringLiteral("Page A - Browser")}, {-1, QStringLiteral("Last window")}};
    FakeProcesses processes;
    processes.running = {42};
    TRDesktopScriptingTargets targets(documents, processes);
    const auto target = targets.targetForProcess(42);
    EXPECT_TRUE(target->isRunning());
    EXPECT_FALSE(targets.targetForProcess(43)->isRunning());
    EXPECT_FALSE(targets.targetForProcess(0)->isRunning());

    const struct {
        const char* name;
        ScriptReference reference;
        Kind kind;
        QString text;  // string value, or the URL's string form
    } cases[] = {
        {"current document", {property("pADc")}, Kind::Reference, {}},
        {"document 1", {element("docu", 1)}, Kind::Reference, {}},
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
        {"window 1 name", {element("cwin", 1), property("pnam")}, Kind::String,
         QStringLiteral("Page A - Browser")},
        {"last window name", {element("cwin", -1), property("pnam")}, Kind::String, QStringLiteral("Last window")},
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

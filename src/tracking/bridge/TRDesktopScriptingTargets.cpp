#include "tracking/bridge/TRDesktopScriptingTargets.h"

#include "tracking/bridge/TRBrowserWindowMode.h"

namespace {

const QString kCurrentDocument = QStringLiteral("pADc");
const QString kDocument = QStringLiteral("docu");
const QString kWindow = QStringLiteral("cwin");
const QString kUrl = QStringLiteral("pURL");
const QString kName = QStringLiteral("pnam");
const QString kMode = QStringLiteral("mode");
const QString kActiveTab = QStringLiteral("acTa");
const QString kTabURL = QStringLiteral("URL ");

bool isWindow(const ScriptStep& step) {
    return step.kind == ScriptStep::Kind::Element && step.code == kWindow;
}

ScriptValue missing() { return ScriptValue{ScriptMissing{}}; }

// Which window a document reference points into: 1 for the application's
// current document and document 1, n for "document of window n"; 0 when
// the reference names no document this transport knows.
int documentWindow(const ScriptReference& reference) {
    if (reference.size() == 1) {
        const ScriptStep& step = reference.front();
        if (step == ScriptStep::property(kCurrentDocument)) return 1;
        if (step == ScriptStep::element(kDocument, 1)) return 1;
        return 0;
    }
    if (reference.size() == 2 && reference[0].kind == ScriptStep::Kind::Element &&
        reference[0].code == kWindow && reference[1] == ScriptStep::property(kDocument)) {
        return reference[0].index;
    }
    return 0;
}

class DesktopScriptingTarget final : public ScriptingTarget {
public:
    DesktopScriptingTarget(WindowDocumentSource& provider, ProcessSource& processes,
                           qint32 processIdentifier)
        : m_provider(provider), m_processes(processes), m_pid(processIdentifier) {}

    bool isRunning() override { return m_pid > 0 && m_processes.isRunning(m_pid); }

    ScriptValue get(const ScriptReference& reference) override {
        if (reference.empty()) return missing();
        if (const int window = documentWindow(reference); window != 0) {
            if (!m_provider.document(m_pid, window)) return missing();
            return ScriptValue{ScriptObjectReference{reference}};
        }
        const ScriptReference owner(reference.begin(), reference.end() - 1);
        const ScriptStep& last = reference.back();
        if (const int window = documentWindow(owner); window != 0) {
            return documentProperty(window, last);
        }
        if (owner.size() == 1 && isWindow(owner[0])) return windowProperty(owner[0].index, last);
        if (owner.size() == 2 && isWindow(owner[0]) &&
            owner[1] == ScriptStep::property(kActiveTab) && last == ScriptStep::property(kTabURL)) {
            const auto document = m_provider.document(m_pid, owner[0].index);
            if (!document || document->address.isEmpty()) return missing();
            return ScriptValue{document->address};
        }
        if (reference.size() == 1 && last.kind == ScriptStep::Kind::Element && last.code == kWindow) {
            if (!m_provider.windowName(m_pid, last.index)) return missing();
            return ScriptValue{ScriptObjectReference{reference}};
        }
        return missing();
    }

private:
    // A window's name, its mode (private or not) and its active tab.
    ScriptValue windowProperty(int window, const ScriptStep& property) {
        if (property == ScriptStep::property(kName)) {
            const std::optional<QString> name = m_provider.windowName(m_pid, window);
            return name ? ScriptValue{*name} : missing();
        }
        if (property == ScriptStep::property(kMode)) {
            const std::optional<QString> name = m_provider.windowName(m_pid, window);
            if (!name) return missing();
            const std::optional<QString> browser = m_provider.applicationName(m_pid);
            if (!browser) return missing();
            const std::optional<QString> mode = TRBrowserWindowMode::modeOfWindow(*name, *browser);
            return mode ? ScriptValue{*mode} : missing();
        }
        if (property == ScriptStep::property(kActiveTab)) {
            if (!m_provider.document(m_pid, window)) return missing();
            return ScriptValue{ScriptObjectReference{
                {ScriptStep::element(kWindow, window), ScriptStep::property(kActiveTab)}}};
        }
        return missing();
    }

    ScriptValue documentProperty(int window, const ScriptStep& property) {
        if (property != ScriptStep::property(kUrl) && property != ScriptStep::property(kName)) {
            return missing();
        }
        const auto document = m_provider.document(m_pid, window);
        if (!document) return missing();
        if (property.code == kName) {
            return document->name.isEmpty() ? missing() : ScriptValue{document->name};
        }
        if (document->address.isEmpty()) return missing();
        const QUrl url(document->address);
        if (url.isLocalFile()) return ScriptValue{ScriptFileReference{url}};
        return ScriptValue{url};
    }

    WindowDocumentSource& m_provider;
    ProcessSource& m_processes;
    qint32 m_pid;
};

}  // namespace

TRDesktopScriptingTargets::TRDesktopScriptingTargets(WindowDocumentSource& documents,
                                                     ProcessSource& processes)
    : m_documents(documents), m_processes(processes) {}

std::unique_ptr<ScriptingTarget> TRDesktopScriptingTargets::targetForProcess(
    qint32 processIdentifier) {
    return std::make_unique<DesktopScriptingTarget>(m_documents, m_processes, processIdentifier);
}

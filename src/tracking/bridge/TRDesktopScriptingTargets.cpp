#include "tracking/bridge/TRDesktopScriptingTargets.h"

#include <QDir>
#include <QFileInfo>
#include "tracking/bridge/TRBrowserWindowMode.h"
#include "tracking/bridge/TRMailTerms.h"

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

// What file managers put after the folder in their window titles: " - Thunar",
// " — Dolphin", " – Nemo".
constexpr const char16_t* kTitleSuffixSeparators[] = {u" - ", u" \u2014 ", u" \u2013 "};

// A location bar's text: an existing local folder's file URL, another
// scheme's URL as it is; null for anything else (a half-typed path).
QString folderUrlFromLocation(const QString& text) {
    const QUrl url(text.trimmed());
    if (url.isLocalFile()) {
        const QString path = url.toLocalFile();
        return QFileInfo(path).isDir()
                   ? QUrl::fromLocalFile(QDir::cleanPath(path)).toString(QUrl::FullyEncoded)
                   : QString();
    }
    if (text.contains(QLatin1String("://")) && url.isValid() && !url.scheme().isEmpty()) {
        return url.toString(QUrl::FullyEncoded);
    }
    return QString();
}

// The folder a file manager's window title names with a full path (or one
// from the home folder, "~/..."): its file URL; null otherwise. A location
// bar holds the same shapes.
QString folderUrlFromTitle(const QString& title) {
    QStringList candidates{title};
    for (const char16_t* separator : kTitleSuffixSeparators) {
        const qsizetype at = title.lastIndexOf(QString::fromUtf16(separator));
        if (at > 0) candidates.append(title.left(at));
    }
    for (QString candidate : candidates) {
        if (candidate == QLatin1String("~")) candidate = QDir::homePath();
        if (candidate.startsWith(QLatin1String("~/"))) candidate = QDir::homePath() + candidate.mid(1);
        if (QDir::isAbsolutePath(candidate) && QFileInfo(candidate).isDir()) {
            return QUrl::fromLocalFile(QDir::cleanPath(candidate)).toString(QUrl::FullyEncoded);
        }
    }
    return {};
}

// URL 'pURL' of the target 'fvtg' of file-manager window n 'brow': n, or 0.
int fileManagerWindow(const ScriptReference& reference) {
    if (reference.size() != 3 || reference[0].kind != ScriptStep::Kind::Element ||
        reference[0].code != QLatin1String("brow")) {
        return 0;
    }
    if (reference[1] != ScriptStep::property(QStringLiteral("fvtg"))) return 0;
    if (reference[2] != ScriptStep::property(QStringLiteral("pURL"))) return 0;
    return reference[0].index;
}

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
                           WindowLocationSource* locations, MailSelectionSource* mail,
                           qint32 processIdentifier)
        : m_provider(provider), m_processes(processes), m_locations(locations),
          m_pid(processIdentifier) {
        if (mail != nullptr) m_mail.emplace(*mail, processIdentifier);
    }

    bool isRunning() override { return m_pid > 0 && m_processes.isRunning(m_pid); }

    ScriptValue get(const ScriptReference& reference) override {
        if (reference.empty()) return missing();
        if (m_mail) {
            if (std::optional<ScriptValue> answer = m_mail->answer(reference)) return *answer;
        }
        if (const int window = fileManagerWindow(reference); window != 0) {
            QString folder;
            if (m_locations != nullptr) {
                const std::optional<QString> location = m_locations->locationText(m_pid, window);
                if (location) folder = folderUrlFromLocation(*location);
                if (location && folder.isNull()) folder = folderUrlFromTitle(*location);
            }
            if (folder.isNull()) {
                const std::optional<QString> name = m_provider.windowName(m_pid, window);
                if (name) folder = folderUrlFromTitle(*name);
            }
            return folder.isNull() ? missing() : ScriptValue{folder};
        }
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
    WindowLocationSource* m_locations;
    std::optional<TRMailTerms> m_mail;
    qint32 m_pid;
};

}  // namespace

TRDesktopScriptingTargets::TRDesktopScriptingTargets(WindowDocumentSource& documents,
                                                     ProcessSource& processes,
                                                     WindowLocationSource* locations,
                                                     MailSelectionSource* mail)
    : m_documents(documents), m_processes(processes), m_locations(locations), m_mail(mail) {}

std::unique_ptr<ScriptingTarget> TRDesktopScriptingTargets::targetForProcess(
    qint32 processIdentifier) {
    return std::make_unique<DesktopScriptingTarget>(m_documents, m_processes, m_locations, m_mail,
                                                    processIdentifier);
}

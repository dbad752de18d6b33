#include "tracking/TRGenericInfoExtractor.h"

#include "core/TRActivity.h"
#include "tracking/TRExtractionContext.h"

namespace {

// The application whose last window, not its first, names what it shows.
constexpr char kLastWindowApplication[] = "com.adiumX.adiumX";

// A document's address, in the order it is asked for: path, file, file path,
// URL, alternative URL, alternative path.
constexpr const char* kDocumentAddressCodes[] = {"ppth", "file", "Dpth", "pURL", "url ", "FTPc"};

ScriptReference appended(ScriptReference reference, const ScriptStep& step) {
    reference.push_back(step);
    return reference;
}

ScriptStep property(const char* code) {
    return ScriptStep::property(QString::fromLatin1(code));
}
ScriptStep element(const char* code, int index) {
    return ScriptStep::element(QString::fromLatin1(code), index);
}

}  // namespace

QString TRGenericInfoExtractor::name() const {
    return QStringLiteral("TRGenericInfoExtractor");
}

const TRGenericInfoExtractor& TRGenericInfoExtractor::instance() {
    static const TRGenericInfoExtractor extractor;
    return extractor;
}

bool TRGenericInfoExtractor::writeDocumentPath(const ScriptValue& value, TRActivity& activity) {
    QString path;
    if (const auto* string = std::get_if<QString>(&value.value)) {
        path = string->isNull() ? QStringLiteral("") : *string;
    } else if (const auto* url = std::get_if<QUrl>(&value.value)) {
        path = url->toString(QUrl::FullyEncoded);
    } else if (const auto* file = std::get_if<ScriptFileReference>(&value.value)) {
        path = file->url.toString(QUrl::FullyEncoded);
    } else {
        return false;
    }
    // A URL may print as a null string; the value was usable all the same.
    activity.setDocumentPath(path.isNull() ? QStringLiteral("") : path);
    return true;
}

void TRGenericInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                     const TRExtractionContext& context) const {
    if (!activity.documentPath().isEmpty()) return;
    const RunningApplication* application = activity.runningApplication();
    ScriptingTargets* targets = context.scriptingTargets;
    // Nothing to address, or no way to ask: the details stay as they are.
    if (application == nullptr || targets == nullptr) return;
    const std::unique_ptr<ScriptingTarget> target =
        targets->targetForProcess(application->processIdentifier);
    if (!target) return;
    if (!target->isRunning()) {
        activity.setDetails(std::nullopt);
        return;
    }
    if (const auto document = findDocument(*target)) {
        if (writeFromDocument(*target, *document, activity)) return;
    }
    if (!activity.windowTitle().isEmpty()) return;
    writeWindowName(*target, activity);
}

std::optional<ScriptReference> TRGenericInfoExtractor::findDocument(ScriptingTarget& target) {
    const ScriptReference candidates[] = {
        {property("pADc")},
        {element("docu", 1)},
        {element("cwin", 1), property("docu")},
    };
    for (const ScriptReference& candidate : candidates) {
        const ScriptValue value = target.get(candidate);
        if (const ScriptObjectReference* reference = value.objectReference()) {
            return reference->reference;
        }
    }
    return std::nullopt;
}

bool TRGenericInfoExtractor::writeFromDocument(ScriptingTarget& target,
                                               const ScriptReference& document,
                                               TRActivity& activity) {
    for (const char* code : kDocumentAddressCodes) {
        if (writeDocumentPath(target.get(appended(document, property(code))), activity)) {
            return true;
        }
    }
    if (!activity.documentTitle().isEmpty()) return false;
    const ScriptValue name = target.get(appended(document, property("pnam")));
    if (const QString* title = name.string()) {
        activity.setDocumentTitle(*title);
        return true;
    }
    return false;
}

void TRGenericInfoExtractor::writeWindowName(ScriptingTarget& target, TRActivity& activity) {
    const RunningApplication* application = activity.runningApplication();
    const bool lastWindow = application != nullptr &&
                            application->bundleIdentifier == QLatin1String(kLastWindowApplication);
    const ScriptValue name = target.get({element("cwin", lastWindow ? -1 : 1), property("pnam")});
    if (const QString* title = name.string()) activity.setWindowTitle(*title);
}

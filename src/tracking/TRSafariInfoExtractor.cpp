#include "tracking/TRSafariInfoExtractor.h"

#include "core/TRActivity.h"
#include "tracking/TRBrowserRequests.h"

namespace {

// A string as it is; a URL (or a file reference) as its full text.
const QString* addressText(const ScriptValue& value, QString& storage) {
    if (const QString* string = value.string()) return string;
    if (const auto* url = std::get_if<QUrl>(&value.value)) {
        storage = url->toString(QUrl::FullyEncoded);
        return &storage;
    }
    if (const auto* file = std::get_if<ScriptFileReference>(&value.value)) {
        storage = file->url.toString(QUrl::FullyEncoded);
        return &storage;
    }
    return nullptr;
}

}  // namespace

QString TRSafariInfoExtractor::name() const {
    return QStringLiteral("TRSafariInfoExtractor");
}

const TRSafariInfoExtractor& TRSafariInfoExtractor::instance() {
    static const TRSafariInfoExtractor extractor;
    return extractor;
}

bool TRSafariInfoExtractor::privateBrowsingEnabled() {
    return false;
}

void TRSafariInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                    const TRExtractionContext& context) const {
    using namespace TRBrowserRequests;
    if (privateBrowsingEnabled()) return removeDetails(activity, "private browsing");
    const std::unique_ptr<ScriptingTarget> target = runningTarget(activity, context);
    if (!target) return removeDetails(activity, "not running");
    const ScriptValue document = target->get({ScriptStep::element(QStringLiteral("docu"), 1)});
    const ScriptObjectReference* reference = document.objectReference();
    if (reference == nullptr) return removeDetails(activity, "no document");
    ScriptReference urlReference = reference->reference;
    urlReference.push_back(ScriptStep::property(QStringLiteral("pURL")));
    QString storage;
    const QString* address = addressText(target->get(urlReference), storage);
    if (address == nullptr) return removeDetails(activity, "no document address");
    activity.setDocumentPath(*address);
}

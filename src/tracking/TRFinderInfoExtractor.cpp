#include "tracking/TRFinderInfoExtractor.h"

#include <QFileInfo>
#include <QStandardPaths>

#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

QString TRFinderInfoExtractor::documentPathFor(const QString& windowUrl,
                                               const ScriptValue& insertionLocation,
                                               const QString& desktopFolder) {
    const QString desktopName = QFileInfo(desktopFolder).fileName();
    const ScriptObjectReference* location = insertionLocation.objectReference();
    const bool onDesktop = location != nullptr && !location->reference.empty() &&
                           location->reference.back().kind == ScriptStep::Kind::NamedElement &&
                           location->reference.back().name == desktopName;
    if (onDesktop && !desktopName.isEmpty() &&
        !windowUrl.endsWith(QLatin1Char('/') + desktopName)) {
        return QUrl::fromLocalFile(desktopFolder).toString(QUrl::FullyEncoded);
    }
    return windowUrl;
}

void TRFinderInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                    const TRExtractionContext& context) const {
    const auto target = targetFor(activity, context);
    if (!target) return;
    QString windowUrl;
    if (target->isRunning()) {
        windowUrl = stringOf(target->get({element("brow", 1), property("fvtg"), property("pURL")}));
    }
    if (windowUrl.isNull()) {
        removeDetails(activity);
        return;
    }
    const QString desktopFolder =
        QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    activity.setDocumentPath(
        documentPathFor(windowUrl, target->get({property("pins")}), desktopFolder));
}

QString TRFinderInfoExtractor::name() const {
    return QStringLiteral("TRFinderInfoExtractor");
}

const TRFinderInfoExtractor& TRFinderInfoExtractor::instance() {
    static const TRFinderInfoExtractor extractor;
    return extractor;
}

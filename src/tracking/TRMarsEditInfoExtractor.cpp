#include "tracking/TRMarsEditInfoExtractor.h"

#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

void TRMarsEditInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                      const TRExtractionContext& context) const {
    const auto target = targetFor(activity, context);
    if (!target) return;
    if (!target->isRunning()) {
        removeDetails(activity);
        return;
    }
    QStringList components;
    const QString blog = stringOf(target->get({property("SeWb"), property("pnam")}));
    if (!blog.isNull()) components.append(blog);
    const QString post = stringOf(target->get({property("SePo"), property("Titl")}));
    if (!post.isNull()) components.append(post);
    activity.setPathComponents(components);
}

QString TRMarsEditInfoExtractor::name() const {
    return QStringLiteral("TRMarsEditInfoExtractor");
}

const TRMarsEditInfoExtractor& TRMarsEditInfoExtractor::instance() {
    static const TRMarsEditInfoExtractor extractor;
    return extractor;
}

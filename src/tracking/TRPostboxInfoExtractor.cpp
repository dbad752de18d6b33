#include "tracking/TRPostboxInfoExtractor.h"

#include <algorithm>

#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

void TRPostboxInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                     const TRExtractionContext& context) const {
    const auto target = targetFor(activity, context);
    if (!target) return;
    ScriptValue selection;
    if (target->isRunning()) selection = target->get({property("slct")});
    const ScriptList* messages = listOf(selection);
    if (messages == nullptr || messages->size() != 1) {
        removeDetails(activity);
        return;
    }

    QStringList collected;
    if (const ScriptObjectReference* message = messages->front().objectReference()) {
        for (const char* code : {"subj", "sndr"}) {
            const QString value = stringOf(target->get(appended(message->reference, property(code))));
            if (!value.isNull()) collected.append(value);
        }
        QString id = stringOf(target->get(appended(message->reference, property("ID  "))));
        if (!id.isNull()) {
            const qsizetype hash = id.lastIndexOf(QLatin1Char('#'));
            if (hash >= 0) id.truncate(hash);
            const QStringList pieces = id.split(QLatin1Char('/'));
            if (pieces.size() >= 3) {
                for (qsizetype i = pieces.size() - 1; i >= 2; --i) collected.append(pieces[i]);
            }
        }
    }
    std::reverse(collected.begin(), collected.end());
    activity.setPathComponents(collected);
}

QString TRPostboxInfoExtractor::name() const {
    return QStringLiteral("TRPostboxInfoExtractor");
}

const TRPostboxInfoExtractor& TRPostboxInfoExtractor::instance() {
    static const TRPostboxInfoExtractor extractor;
    return extractor;
}

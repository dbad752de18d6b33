#include "tracking/TREvernoteInfoExtractor.h"

#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

void TREvernoteInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                      const TRExtractionContext& context) const {
    const auto target = targetFor(activity, context);
    if (!target) return;
    ScriptValue selection;
    if (target->isRunning()) selection = target->get({property("EV15")});
    const ScriptList* notes = listOf(selection);
    if (notes == nullptr || notes->size() != 1) {
        removeDetails(activity);
        return;
    }
    QStringList components;
    if (const ScriptObjectReference* note = notes->front().objectReference()) {
        const QString notebook = stringOf(
            target->get(appended(appended(note->reference, property("EV22")), property("pnam"))));
        if (!notebook.isNull()) components.append(notebook);
        const QString title = stringOf(target->get(appended(note->reference, property("EVet"))));
        if (!title.isNull()) components.append(title);
    }
    activity.setPathComponents(components);
}

QString TREvernoteInfoExtractor::name() const {
    return QStringLiteral("TREvernoteInfoExtractor");
}

const TREvernoteInfoExtractor& TREvernoteInfoExtractor::instance() {
    static const TREvernoteInfoExtractor extractor;
    return extractor;
}

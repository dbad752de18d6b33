#include "tracking/TRMailInfoExtractor.h"

#include <algorithm>

#include "tracking/TRScriptedExtractorSupport.h"

using namespace TRScripted;

namespace {

// Mailboxes nest a handful of levels; a container chain longer than this
// loops.
constexpr int kMaximumMailboxDepth = 64;

}  // namespace

void TRMailInfoExtractor::writeDetailsForActivity(TRActivity& activity,
                                                  const TRExtractionContext& context) const {
    const auto target = targetFor(activity, context);
    if (!target) return;
    if (!target->isRunning()) {
        removeDetails(activity);
        return;
    }
    ScriptValue selection = target->get({property("slct")});
    if (!listOf(selection)) selection = target->get({element("mvwr", 1), property("smgs")});
    const ScriptList* messages = listOf(selection);
    if (messages == nullptr || messages->size() != 1) {
        removeDetails(activity);
        return;
    }

    // Collected from the inside out, then reversed.
    QStringList collected;
    auto collect = [&](const ScriptReference& reference) {
        const QString value = stringOf(target->get(reference));
        if (!value.isNull()) collected.append(value);
    };
    if (const ScriptObjectReference* message = messages->front().objectReference()) {
        collect(appended(message->reference, property("subj")));
        collect(appended(message->reference, property("sndr")));
        const ScriptValue mailbox = target->get(appended(message->reference, property("mbxp")));
        if (const ScriptObjectReference* first = mailbox.objectReference()) {
            ScriptReference current = first->reference;
            for (int depth = 0; depth < kMaximumMailboxDepth; ++depth) {
                collect(appended(current, property("pnam")));
                const ScriptValue container = target->get(appended(current, property("mbxc")));
                const ScriptObjectReference* outer = container.objectReference();
                if (outer == nullptr) break;
                current = outer->reference;
            }
            collect(appended(appended(current, property("mact")), property("pnam")));
        }
    }
    std::reverse(collected.begin(), collected.end());
    activity.setPathComponents(collected);
}

QString TRMailInfoExtractor::name() const {
    return QStringLiteral("TRMailInfoExtractor");
}

const TRMailInfoExtractor& TRMailInfoExtractor::instance() {
    static const TRMailInfoExtractor extractor;
    return extractor;
}

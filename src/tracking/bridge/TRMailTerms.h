#pragma once
// TRMailTerms: the mail terms of the scripting bridge, answered from a
// MailSelectionSource for one process. The selection is asked for once, at
// the first mail term, and kept for the rest of the target's life (one
// extractor run).
//
//   selection 'slct'          -> a list with one reference per selected
//                                message: {'slct', element 'mssg' n}
//   <message> 'subj', 'sndr'  -> of the one selected message only
//   <message> 'ID  '          -> the listed folder's address, readable
//                                (readableFolderId)
//
// Thread: the source's.

#include <optional>

#include "platform/MailSelectionSource.h"
#include "tracking/bridge/ScriptingTarget.h"

class TRMailTerms final {
public:
    TRMailTerms(MailSelectionSource& source, qint32 processIdentifier)
        : m_source(source), m_pid(processIdentifier) {}

    // nullopt when `reference` is no mail term; else the answer.
    std::optional<ScriptValue> answer(const ScriptReference& reference);

    // A folder's address with each "/"-separated piece percent-decoded, so
    // an account and its folders read as the user named them; a "/" or "#"
    // inside a name stays encoded, so the pieces stay pieces.
    static QString readableFolderId(const QString& address);

private:
    const std::optional<MailSelectionSource::Selection>& selection();
    ScriptValue messageProperty(int index, const ScriptStep& property);

    MailSelectionSource& m_source;
    qint32 m_pid;
    bool m_asked = false;
    std::optional<MailSelectionSource::Selection> m_selection;
};

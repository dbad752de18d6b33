#pragma once
// AtspiScriptingTargets: the generic document terms, answered from the
// accessibility tree (through a WindowDocumentSource).
//
// Where each term comes from:
//   current document 'pADc', document 1 'docu', document 'docu' of window 1
//       -> an object reference to the document shown in the active window
//          (WindowDocumentSource::document); missing when the window
//          shows none. Other document indexes are missing: only the shown
//          document is known.
//   <document> 'pURL'   -> its DocURL / URI attribute: a file reference for a
//                          "file://" address, else a URL; missing when empty
//   <document> 'pnam'   -> the document's accessible name
//   window n 'cwin'     -> a reference when the application has that many
//                          top-level windows (1 = the active one, -1 = last)
//   <window> 'pnam'     -> the window's accessible name
//   anything else ('ppth', 'file', 'Dpth', 'url ', 'FTPc', ...) -> missing
// `isRunning` reads /proc: a process that is gone or a zombie is not running.
//
// Thread: the thread of the document source (for AT-SPI, the tracking
// worker).

#include "platform/linux/WindowDocumentSource.h"
#include "platform/ScriptingTarget.h"

class AtspiScriptingTargets final : public ScriptingTargets {
public:
    // `provider` must outlive every target made here.
    explicit AtspiScriptingTargets(WindowDocumentSource& provider,
                                   QString procRoot = QStringLiteral("/proc"));

    std::unique_ptr<ScriptingTarget> targetForProcess(qint32 processIdentifier) override;

    // Whether /proc shows a live (not zombie) process; exposed for tests.
    static bool isProcessRunning(qint32 processIdentifier, const QString& procRoot);

private:
    WindowDocumentSource& m_provider;
    QString m_procRoot;
};

#pragma once
// TRDesktopScriptingTargets: the extractors' object references answered from
// the desktop's own sources: the windows' documents and names (on Linux, the
// accessibility tree) and the process table.
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
//   <window> 'mode'     -> "incognito" or "normal", from the window's
//                          accessible name and the application's own name
//                          (TRBrowserWindowMode); missing when unreadable
//   <window> 'acTa'     -> a reference to the window's shown document (a
//                          browser's active tab); missing when none
//   <window>.acTa 'URL ' -> that document's address as a string; missing
//                          when empty
//   URL 'pURL' of the target 'fvtg' of file-manager window n 'brow'
//                       -> the folder window n shows, from the best source:
//                          its location bar (WindowLocationSource: an
//                          existing folder's path or file URL, or another
//                          scheme's URL such as "sftp://host/srv"), else its
//                          name when that carries a full path ("/srv/www -
//                          Thunar", "~/notes"); a local folder only when it
//                          exists, as a file URL; else missing
//   selection 'slct'    -> for a mail client (MailSelectionSource): a list
//                          with a reference per selected message of the
//                          list in front; missing when the window shows no
//                          list the source can read
//   <message> 'subj', 'sndr'
//                       -> the subject and the sender the list shows, for
//                          the one selected message; missing otherwise
//   <message> 'ID  '    -> the address of the folder the list shows, each
//                          piece decoded for reading ("mailbox://nobody@Local
//                          Folders/Projects/Alpha") with "/" and "#" inside a
//                          name kept encoded, so the pieces stay pieces
//   anything else ('ppth', 'file', 'Dpth', 'url ', 'FTPc', 'pins', a
//   terminal's 'titl' and 'Cssn', a mail client's mailboxes, ...) -> missing
// `isRunning` asks the process source: a process that is gone or has ended
// is not running.
//
// A new term joins here, answered from one of the sources (or a new small
// source interface in platform/), so an extractor never needs a transport
// of its own.
//
// Thread: the thread of the document source (for AT-SPI, the tracking
// worker).

#include "platform/MailSelectionSource.h"
#include "platform/ProcessSource.h"
#include "platform/WindowDocumentSource.h"
#include "platform/WindowLocationSource.h"
#include "tracking/bridge/ScriptingTarget.h"

class TRDesktopScriptingTargets final : public ScriptingTargets {
public:
    // The sources must outlive every target made here. `locations` and
    // `mail` may be null (no location bars, no mail lists on this desktop).
    TRDesktopScriptingTargets(WindowDocumentSource& documents, ProcessSource& processes,
                              WindowLocationSource* locations = nullptr,
                              MailSelectionSource* mail = nullptr);

    std::unique_ptr<ScriptingTarget> targetForProcess(qint32 processIdentifier) override;

private:
    WindowDocumentSource& m_documents;
    ProcessSource& m_processes;
    WindowLocationSource* m_locations;
    MailSelectionSource* m_mail;
};

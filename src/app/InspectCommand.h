#pragma once
// `vorlix-helper inspect [--once]`: shows what the helper sees.
//
// Once a second until interrupted (Ctrl-C), or once with --once, prints the
// front application as the tracking loop would record it: name, id,
// executable, pid, window title, document path (and document title or path
// components when an extractor set them), and which extractor ran. This is
// how a user checks what will be recorded; titles and paths go to the
// terminal only, never to a log.
//
// Both extraction steps run on the calling thread, one after the other, so
// the platform objects see a single thread, as they require.
//
// Thread: the main thread, with a QCoreApplication.

#include <QString>
#include <QStringList>
#include <QTextStream>

#include "tracking/TRExtractionContext.h"

class TRInfoExtractor;

// `arguments` are those after "inspect"; `platform` holds the desktop's
// objects. Returns the process exit code: 0 after --once or an
// interrupt, 1 when there is no window system to ask, 2 for a usage error.
// `windowSourceAdvice`, when set, says what would let the helper see the
// desktop's native windows; it is printed first.
int runInspectCommand(const QStringList& arguments, const TRExtractionContext& platform,
                      const QString& windowSourceAdvice = {});
int runInspectCommand(const QStringList& arguments, const TRExtractionContext& platform,
                      QTextStream& out, QTextStream& err,
                      const QString& windowSourceAdvice = {});

// One look at the front application through `dispatch`, as the text block
// that `inspect` prints.
QString inspectFrontActivity(TRInfoExtractor& dispatch);

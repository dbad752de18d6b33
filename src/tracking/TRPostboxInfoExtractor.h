#pragma once
// TRPostboxInfoExtractor: the one selected message as the pieces of its id
// (account, folders), sender and subject.
//
// Terms: selection 'slct'; of the message: subject 'subj', sender 'sndr', id
// 'ID  ' (two trailing blanks). An id such as "imap://me@host/INBOX/Sub#12"
// gives "me@host", "INBOX", "Sub": the part after the last "#" and the
// scheme with the empty piece after it fall away. Not running, or not exactly
// one message selected: the details are removed.
//
// On Linux this extractor stands for Thunderbird (ids in TRExtractorTables).
// The scripting bridge (TRMailTerms over the accessibility tree) answers
// the selection with the selected rows of the message list in the window in
// front, the subject and sender as that list shows them, and as the id the
// address of the folder it lists, decoded for reading:
// "mailbox://nobody@Local Folders/Projects/Alpha" gives "nobody@Local
// Folders", "Projects", "Alpha". A message open in a window of its own has
// no list: no selection, and the details are removed.
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRPostboxInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRPostboxInfoExtractor& instance();
};

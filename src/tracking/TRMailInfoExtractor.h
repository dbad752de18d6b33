#pragma once
// TRMailInfoExtractor: the one selected mail message as account, mailboxes
// from the top down, sender and subject.
//
// Terms: selection 'slct', else selected messages 'smgs' of message viewer 1
// 'mvwr'; of the message: subject 'subj', sender 'sndr', mailbox 'mbxp'; of a
// mailbox: name 'pnam', container 'mbxc', account 'mact'. Not running, no
// list, or not exactly one message selected: the details are removed, so a
// mailbox overview counts for the application alone.
//
// On Linux (ids in TRExtractorTables): the desktop's mail clients answer
// through the scripting bridge; a client whose selection the bridge cannot
// read answers no list, and its details are removed rather than guessed.
//
// Stateless. Thread: the tracking worker.

#include "tracking/TRApplicationInfoExtractor.h"

class TRMailInfoExtractor final : public TRApplicationInfoExtractor {
public:
    void writeDetailsForActivity(TRActivity& activity,
                                 const TRExtractionContext& context) const override;
    QString name() const override;

    static const TRMailInfoExtractor& instance();
};

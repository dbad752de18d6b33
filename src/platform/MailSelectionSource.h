#pragma once
// MailSelectionSource: the messages selected in the list of a mail client's
// window in front, and the folder that list shows. AtspiAccessibilityProvider
// answers from the accessibility tree; tests use a fake.
//
// Thread: the implementation's (the AT-SPI thread for the provider).

#include <QString>
#include <optional>

class MailSelectionSource {
public:
    virtual ~MailSelectionSource() = default;

    struct Message final {
        QString sender;   // as the list shows it ("Ann <ann@example.org>"); null when unread
        QString subject;  // null when unread
    };
    struct Selection final {
        // The address of the folder the list shows, as the client names it
        // ("mailbox://nobody@Local%20Folders/Projects/Alpha",
        // "imap://ann%40example.org@mail.example.org/INBOX"); null when unknown.
        QString folder;
        // How many messages are selected (counted up to a handful: more
        // than one is all anyone needs to know).
        int count = 0;
        // Sender and subject, read only when exactly one message is selected.
        std::optional<Message> message;
    };
    // nullopt when the window in front shows no message list this source
    // can read (another application, a message in a window of its own).
    virtual std::optional<Selection> mailSelection(qint32 processIdentifier) = 0;
};

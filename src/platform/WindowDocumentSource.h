#pragma once
// WindowDocumentSource: the document and name of an application's windows,
// as the scripting target needs them. AtspiAccessibilityProvider answers
// from the accessibility tree; tests use a fake.
//
// Thread: the implementation's (the AT-SPI thread for the provider).

#include <QString>
#include <optional>

class WindowDocumentSource {
public:
    virtual ~WindowDocumentSource() = default;

    struct DocumentInfo final {
        QString address;  // DocURL / URI; may be empty
        // The document's accessible name, read only when the address is
        // empty (it stands in for one; asking costs a round trip).
        QString name;
    };
    // `windowIndex` counts from 1 (the active window first); -1 is the last.
    virtual std::optional<DocumentInfo> document(qint32 processIdentifier, int windowIndex) = 0;
    // nullopt when the process has no such window.
    virtual std::optional<QString> windowName(qint32 processIdentifier, int windowIndex) = 0;
    // The name the application gives itself ("Chromium", "Firefox"); nullopt
    // when it exposes none.
    virtual std::optional<QString> applicationName(qint32 processIdentifier) = 0;
};

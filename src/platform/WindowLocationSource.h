#pragma once
// WindowLocationSource: the text of a window's location bar, where a file
// manager shows the folder it displays ("/home/ann/photos/",
// "sftp://host/srv"). AtspiAccessibilityProvider answers from the
// accessibility tree; tests use a fake.
//
// Thread: the implementation's (the AT-SPI thread for the provider).

#include <QString>
#include <optional>

class WindowLocationSource {
public:
    virtual ~WindowLocationSource() = default;

    // The first showing text field in the tool bars of the window at
    // `windowIndex` (1 = the active window, -1 the last); nullopt when it
    // has none.
    virtual std::optional<QString> locationText(qint32 processIdentifier, int windowIndex) = 0;
};

#pragma once
// DialogOwners: which window a dialog belongs to, as the window system
// knows it.
//
// AT-SPI lists an application's dialogs beside its windows with no link to
// the window each was opened on; X11 keeps that link (WM_TRANSIENT_FOR).
// The accessibility provider asks here so that an Open dialog on the second
// of two document windows leads to the second document. XcbWindowSystem
// answers; without one the provider guesses the application's first window.
//
// Thread: any thread (the accessibility worker asks while the main thread
// polls the front window on the same connection).

#include <QString>
#include <optional>

struct DialogOwner final {
    QString name;             // the owner's window name
    std::optional<int> x, y;  // its top-left corner on the screen, when known
};

class DialogOwnerSource {
public:
    virtual ~DialogOwnerSource() = default;
    // The window that the process's dialog named `dialogName` (the active
    // window first, then the others front to back) is attached to; nullopt
    // when no such dialog names an owner.
    virtual std::optional<DialogOwner> ownerOfDialog(qint32 processIdentifier,
                                                     const QString& dialogName) = 0;
};

#pragma once
// TRExceptionHandler: the helper's crash policy.
//
// A programming error must end the helper loudly, at the place it happened,
// instead of letting it record nonsense for hours. Installed first thing in
// main(), it sees every C++ exception the moment it is thrown, including
// ones the throwing code would catch itself, and
//   - lets three expected kinds pass without a word: a save conflict
//     ("optimistic locking failure"), an error from asking another
//     application's accessibility tree (`TRAccessibilityError`), and an index
//     out of range (`std::out_of_range`);
//   - for anything else logs its type and message and calls abort(), so the
//     core dump (systemd-coredump, or a plain core file) holds the throwing
//     stack.
// An exception that escapes to std::terminate and a qFatal() end the same way.
//
// Thread: install() once, on the main thread, before other threads start;
// the checks then run on whichever thread throws.

#include <stdexcept>
#include <string>

// Thrown (and caught) by code that asks another application's accessibility
// tree; expected whenever that application misbehaves.
class TRAccessibilityError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

namespace TRExceptionHandler {

void install();

// Whether an exception of this kind passes (see above). `typeName` is the
// mangled type name, `reason` its what() text or empty.
bool isBenign(const std::type_info& type, const std::string& reason);

}  // namespace TRExceptionHandler

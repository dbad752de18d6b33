#pragma once
// TRNoticesDownload: fetches the notices list from its web address, fresh
// from the server every time (no cache), and reads it.
//
// Blocks its caller, so it runs on a background thread: it makes its own
// network objects and spins its own event loop there. It gives up after
// `timeoutMs`, and as soon as `*stop` turns true (the checker going away).
// Any thread but the main one.

#include <QUrl>
#include <atomic>
#include <variant>

#include "core/TRError.h"
#include "notices/TRNoticesList.h"

namespace TRNoticesDownload {

inline constexpr int kDefaultTimeoutMs = 30000;

// The notices, or the download's or the parse's error.
std::variant<TRNotices, TRError> downloadNotices(const QUrl& address, const std::atomic_bool& stop,
                                                 int timeoutMs = kDefaultTimeoutMs);

}  // namespace TRNoticesDownload

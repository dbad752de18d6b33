#pragma once
// How an activity becomes a chain of path components.
//
// An extractor's explicit list wins; otherwise the first non-empty text of
// document path, document title and window title is cut: file addresses and
// paths at "/", web addresses into host (without "www.", with any port other
// than 21, 80 and 443), path segments and query, limited to a number of
// levels; other titles at "/", "-", em dash, ":" and "›", each separator run
// kept in front of the text after it. Components never hold a lone UTF-16
// surrogate (it becomes U+FFFD), so what is stored reads back unchanged.
// Pure functions; any thread.

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

#include "core/TRActivityDetails.h"

namespace TRActivityComponents {

// Components of a file path; the two per-user random levels under
// /var/folders collapse into one "*".
QStringList componentsForPath(const QString& path);

// maxURLTrackingLevel is asked only for web addresses: 0 keeps nothing (the
// time goes to the application's root), a negative number keeps everything.
QStringList componentsForDetails(const std::optional<TRActivityDetails>& details,
                                 const std::function<int()>& maxURLTrackingLevel);

QString withoutLoneSurrogates(const QString& text);

}  // namespace TRActivityComponents

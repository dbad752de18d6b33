#pragma once
// TRNoticesList: the notices list as it comes from its web address, and the
// rules that decide which notice the user sees.
//
// The list is a property list (XML or binary) whose root is a dictionary:
// each key a notice's identifier, each value a dictionary with "Title",
// "Message", "ActionURL", "ActionButton", "MinVersion" and "MaxVersion", all
// optional strings. Identifiers are ordered case-insensitively; a later one
// counts as newer. Versions compare numerically piece by piece, so 1.10 comes
// after 1.9. Pure functions; any thread.

#include <QByteArray>
#include <QString>
#include <map>
#include <optional>
#include <variant>

#include "core/TRError.h"

struct TRNotice final {
    QString title;         // the alert's message text
    QString message;       // its informative text
    QString actionURL;     // empty: the notice can only be acknowledged
    QString actionButton;  // empty: the default action label
    QString minVersion;    // empty: no lower bound
    QString maxVersion;    // empty: no upper bound
};

// Case-insensitive order, with the exact spelling only to keep "a" and "A"
// apart.
struct TRNoticeKeyLess final {
    bool operator()(const QString& left, const QString& right) const {
        const int folded = QString::compare(left, right, Qt::CaseInsensitive);
        return folded != 0 ? folded < 0 : left < right;
    }
};

using TRNotices = std::map<QString, TRNotice, TRNoticeKeyLess>;

inline constexpr char kNoticesErrorDomain[] = "VorlixNoticesErrorDomain";

namespace TRNoticesList {

// The notices of a downloaded file, or why it is not a notices list. Entries
// that are not dictionaries, and values that are not strings, are left out.
std::variant<TRNotices, TRError> noticesFromPropertyList(const QByteArray& data);

// <0, 0 or >0 as `left` is lower than, equal to or higher than `right`.
// Pieces are split at dots and read as numbers ("2" equals "2.0").
int compareVersions(const QString& left, const QString& right);

// Whether a notice is meant for this version of the application.
bool isForVersion(const TRNotice& notice, const QString& applicationVersion);

// The identifier to show: the newest, or the oldest when `oldestFirst`.
std::optional<QString> chosenKey(const TRNotices& notices, bool oldestFirst);

}  // namespace TRNoticesList

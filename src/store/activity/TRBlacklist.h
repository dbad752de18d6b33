#pragma once
// TRBlacklist: asked before every recording whether the activity may be kept.
//
// The project store answers it (its "Blacklist" project: applications and
// path prefixes); until it is wired in, TRNoBlacklist keeps everything.
// pathString is the activity's components joined with
// kPathComponentDelimiter, the same encoding the project store uses for its
// paths. An implementation re-reads its blacklist on every call, since the
// main application may have changed it. Main thread only.

#include <QString>
#include <QStringList>

#include "core/RunningApplication.h"

// Tab, U+F8FF, tab: joins path components into one path string.
inline const QString kPathComponentDelimiter = QStringLiteral("\t\uF8FF\t");

inline QString pathStringForPathComponents(const QStringList& components) {
    return components.join(kPathComponentDelimiter);
}

class TRBlacklist {
public:
    virtual ~TRBlacklist() = default;
    // application: nullptr for an activity entered by hand.
    virtual bool isBlacklisted(const RunningApplication* application,
                               const QString& pathString) = 0;
};

class TRNoBlacklist final : public TRBlacklist {
public:
    bool isBlacklisted(const RunningApplication*, const QString&) override { return false; }
};

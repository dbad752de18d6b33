#pragma once
// TRError: an expected failure (SQL, I/O, a missing desktop feature) carried
// as a value across layers: a domain, a code and a text the user can read.

#include <QString>

struct TRError final {
    QString domain;
    int code = 0;
    QString description;

    QString toString() const {
        return QStringLiteral("%1 (%2): %3").arg(domain).arg(code).arg(description);
    }
};

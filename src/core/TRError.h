#pragma once
// TRError: an expected failure (SQL, I/O, a missing desktop feature) carried
// as a value across layers: a domain, a code and a text the user can read.

#include <QString>
#include <utility>

struct TRError final {
    TRError() = default;
    TRError(QString errorDomain, int errorCode, QString errorDescription,
            QString reason = QString())
        : domain(std::move(errorDomain)),
          code(errorCode),
          description(std::move(errorDescription)),
          failureReason(std::move(reason)) {}

    QString domain;
    int code = 0;
    QString description;
    QString failureReason;  // why it failed, when known; shown after the description

    QString toString() const {
        const QString text = QStringLiteral("%1 (%2): %3").arg(domain).arg(code).arg(description);
        return failureReason.isEmpty() ? text : text + QLatin1Char(' ') + failureReason;
    }
};

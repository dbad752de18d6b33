#pragma once
// Readable gtest output for the Qt values the tests compare. These live in
// Qt's namespace-less scope so gtest finds them by argument lookup.

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <ostream>

inline void PrintTo(const QString& value, std::ostream* out) {
    *out << value.toStdString();
}
inline void PrintTo(const QDateTime& value, std::ostream* out) {
    *out << (value.isValid() ? value.toString(Qt::ISODateWithMs).toStdString() : "(none)");
}
inline void PrintTo(const QStringList& value, std::ostream* out) {
    *out << value.join(QStringLiteral(", ")).toStdString();
}

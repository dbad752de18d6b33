#pragma once
// TRDurationToStringFormatter: seconds as the short text of the status menu
// ("1h 2m", "59s").
//
// Each unit is truncated, not rounded, and at most `maxComponents` units are
// written, with seconds counting as the third unit whenever hours are present
// even if the minutes were zero. The unit formats "%ih", "%im" and "%is" are
// looked up through Qt's translation, so a translation may reorder or rename
// the unit around the number. Stateless; any thread.

#include <QCoreApplication>
#include <QString>
#include <QVariant>

class TRDurationToStringFormatter final {
    Q_DECLARE_TR_FUNCTIONS(TRDurationToStringFormatter)

public:
    // "" when `duration` is not a finite number.
    static QString shortStringForDuration(const QVariant& duration, unsigned maxComponents);
    static QString shortStringForDuration(double seconds, unsigned maxComponents);
    // Two units at most.
    static QString stringFromNumber(double seconds);
    // "0" when `value` is not a number.
    static QString stringForObjectValue(const QVariant& value);
};

#include "core/TRDurationToStringFormatter.h"

#include <cmath>

namespace {

// The localised format with its "%i" replaced by the number.
QString formatted(const QString& format, qint64 value) {
    QString text = format;
    return text.replace(QLatin1String("%i"), QString::number(value));
}

bool isNumber(const QVariant& v) {
    switch (v.typeId()) {
        case QMetaType::Double:
        case QMetaType::Float:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Bool:
            return true;
        default:
            return false;
    }
}

}  // namespace

QString TRDurationToStringFormatter::shortStringForDuration(const QVariant& duration,
                                                            unsigned maxComponents) {
    if (!isNumber(duration)) return QString();
    return shortStringForDuration(duration.toDouble(), maxComponents);
}

QString TRDurationToStringFormatter::shortStringForDuration(double d, unsigned maxComponents) {
    // Beyond what a 64-bit hour count can hold the arithmetic means nothing.
    if (!std::isfinite(d) || std::fabs(d) > 3.0e22) return QString();
    const auto h = static_cast<qint64>(std::floor(d / 3600.0));
    const double r = d - 3600.0 * static_cast<double>(h);
    const auto m = static_cast<qint64>(std::floor(r / 60.0));
    const auto s = static_cast<qint64>(std::floor(r - 60.0 * static_cast<double>(m)));

    QString text;
    if (h != 0) text += formatted(tr("%ih"), h);
    const unsigned written = h != 0 ? 1 : 0;
    if (m != 0 && written < maxComponents) {
        if (h != 0) text += QLatin1Char(' ');
        text += formatted(tr("%im"), m);
    }
    // The place seconds would take: hours count two even without minutes.
    const unsigned k = h != 0 ? 2 : (m != 0 ? 1 : 0);
    if (s != 0) {
        if (k != 0 && k >= maxComponents) return text;
        if (k != 0) text += QLatin1Char(' ');
        text += formatted(tr("%is"), s);
    } else if (k == 0) {
        text += formatted(tr("%is"), 0);
    }
    return text;
}

QString TRDurationToStringFormatter::stringFromNumber(double seconds) {
    return shortStringForDuration(seconds, 2);
}

QString TRDurationToStringFormatter::stringForObjectValue(const QVariant& value) {
    if (!isNumber(value)) return QStringLiteral("0");
    return stringFromNumber(value.toDouble());
}

// The diagnostic helpers of UIElementUtilities: not on the tracking path.

#include <cstdio>
#include <cstdlib>

#include "tracking/UIElementUtilities.h"

namespace UIElementUtilities {
namespace {

// A tree whose parents loop must not hang a diagnosis.
constexpr int kMaximumLineageDepth = 64;

QString orNullText(const QString& s) {
    return s.isNull() ? QStringLiteral("(null)") : s;
}

QString elementDescription(const AccessibilityElementRef& element) {
    if (!element) return QStringLiteral("(null)");
    const QString role = orNullText(roleOfUIElement(element));
    const QString title = titleOfUIElement(element);
    if (title.isEmpty()) return QStringLiteral("<%1>").arg(role);
    return QStringLiteral("<%1: \u201C%2\u201D>").arg(role, title);
}

std::optional<AccessibilityValue> parsedLike(const AccessibilityValue& current,
                                             const QString& string) {
    const QByteArray bytes = string.toUtf8();
    const char* text = bytes.constData();
    if (std::holds_alternative<AXPoint>(current)) {
        float x = 0, y = 0;
        std::sscanf(text, "x=%g y=%g", &x, &y);
        return AXPoint{x, y};
    }
    if (std::holds_alternative<AXSize>(current)) {
        float w = 0, h = 0;
        std::sscanf(text, "w=%g h=%g", &w, &h);
        return AXSize{w, h};
    }
    if (std::holds_alternative<AXRect>(current)) {
        float x = 0, y = 0, w = 0, h = 0;
        std::sscanf(text, "x=%g y=%g w=%g h=%g", &x, &y, &w, &h);
        return AXRect{x, y, w, h};
    }
    if (std::holds_alternative<AXRange>(current)) {
        long position = 0, length = 0;
        std::sscanf(text, "pos=%ld len=%ld", &position, &length);
        return AXRange{position, length};
    }
    if (std::holds_alternative<QString>(current)) return string;
    if (std::holds_alternative<double>(current)) {
        return static_cast<double>(std::strtof(text, nullptr));
    }
    if (std::holds_alternative<bool>(current)) return std::strtof(text, nullptr) != 0.0f;
    return std::nullopt;
}

}  // namespace

qint32 processIdentifierOfUIElement(const AccessibilityElementRef& element) {
    return element ? element->processIdentifier() : 0;
}

std::optional<QStringList> attributeNamesOfUIElement(const AccessibilityElementRef& element) {
    if (!element) return std::nullopt;
    return element->attributeNames();
}

std::optional<QStringList> actionNamesOfUIElement(const AccessibilityElementRef& element) {
    if (!element) return std::nullopt;
    return element->actionNames();
}

QString descriptionOfAction(const QString& action, const AccessibilityElementRef& element) {
    return element ? element->actionDescription(action) : QString();
}

void performAction(const QString& action, const AccessibilityElementRef& element) {
    if (element) element->performAction(action);
}

bool canSetAttribute(const QString& attribute, const AccessibilityElementRef& element) {
    return element && element->isAttributeSettable(attribute);
}

QString titleOfUIElement(const AccessibilityElementRef& element) {
    const auto value = valueOfAttribute(QString::fromLatin1(kTitleAttribute), element);
    if (!value) return {};
    const QString* title = std::get_if<QString>(&*value);
    return title ? *title : QString();
}

bool isApplicationUIElement(const AccessibilityElementRef& element) {
    return roleOfUIElement(element) == QLatin1String(AccessibilityRole::kApplication);
}

void setStringValue(const QString& string, const QString& attribute,
                    const AccessibilityElementRef& element) {
    const auto current = valueOfAttribute(attribute, element);
    if (!current) return;
    const auto parsed = parsedLike(*current, string);
    if (parsed) element->setAttributeValue(attribute, *parsed);
}

QString stringDescriptionOfAXValue(const AccessibilityValue& value, bool verbose) {
    if (const auto* p = std::get_if<AXPoint>(&value)) {
        return QString::asprintf(verbose ? "<AXPointValue x=%g y=%g>" : "x=%g y=%g", p->x, p->y);
    }
    if (const auto* s = std::get_if<AXSize>(&value)) {
        return QString::asprintf(verbose ? "<AXSizeValue w=%g h=%g>" : "w=%g h=%g", s->width,
                                 s->height);
    }
    if (const auto* r = std::get_if<AXRect>(&value)) {
        return QString::asprintf(
            verbose ? "<AXRectValue  x=%g y=%g w=%g h=%g>" : "x=%g y=%g w=%g h=%g", r->x, r->y,
            r->width, r->height);
    }
    if (const auto* g = std::get_if<AXRange>(&value)) {
        return QString::asprintf(verbose ? "<AXRangeValue pos=%ld len=%ld>" : "pos=%ld len=%ld",
                                 g->position, g->length);
    }
    return QStringLiteral("AXValue???");
}

QString descriptionOfValue(const std::optional<AccessibilityValue>& value, bool verbose) {
    if (!value) return {};
    const AccessibilityValue& v = *value;
    if (std::holds_alternative<AXPoint>(v) || std::holds_alternative<AXSize>(v) ||
        std::holds_alternative<AXRect>(v) || std::holds_alternative<AXRange>(v)) {
        return stringDescriptionOfAXValue(v, verbose);
    }
    if (const auto* list = std::get_if<std::vector<AccessibilityElementRef>>(&v)) {
        return QString::asprintf("<array of size %d>", static_cast<int>(list->size()));
    }
    if (const auto* element = std::get_if<AccessibilityElementRef>(&v)) {
        return elementDescription(*element);
    }
    if (const auto* string = std::get_if<QString>(&v)) return *string;
    if (const auto* number = std::get_if<double>(&v)) return QString::number(*number);
    return std::get<bool>(v) ? QStringLiteral("1") : QStringLiteral("0");
}

QStringList lineageOfUIElement(const AccessibilityElementRef& element) {
    QStringList lineage;
    AccessibilityElementRef current = element;
    for (int depth = 0; current && depth < kMaximumLineageDepth; ++depth) {
        lineage.prepend(descriptionOfValue(AccessibilityValue(current), false));
        AccessibilityElementRef parent = parentOfUIElement(current);
        if (parent == current) break;
        current = std::move(parent);
    }
    return lineage;
}

QString lineageDescriptionOfUIElement(const AccessibilityElementRef& element) {
    QString text;
    QString indent;
    for (const QString& line : lineageOfUIElement(element)) {
        text += QStringLiteral("%1%2\n").arg(indent, line);
        indent += QLatin1Char(' ');
    }
    return text;
}

QString stringDescriptionOfUIElement(const AccessibilityElementRef& element) {
    QString text = lineageDescriptionOfUIElement(element);
    text += QStringLiteral("\nAttributes:\n");
    for (const QString& attribute : attributeNamesOfUIElement(element).value_or(QStringList())) {
        const QString settable =
            canSetAttribute(attribute, element) ? QStringLiteral(" (W)") : QString();
        const QString value = descriptionOfValue(valueOfAttribute(attribute, element), true);
        text += QStringLiteral("   %1%2:  \u201C%3\u201D\n")
                    .arg(attribute, settable, orNullText(value));
    }
    text += QStringLiteral("\nActions:\n");
    for (const QString& action : actionNamesOfUIElement(element).value_or(QStringList())) {
        text += QStringLiteral("   %1 - %2\n")
                    .arg(action, orNullText(descriptionOfAction(action, element)));
    }
    return text;
}

QString descriptionOfAXDescriptionOfUIElement(const AccessibilityElementRef& element) {
    const auto value = valueOfAttribute(QString::fromLatin1(kDescriptionAttribute), element);
    const QString* description = value ? std::get_if<QString>(&*value) : nullptr;
    if (description == nullptr || description->isEmpty()) return QStringLiteral("No Description");
    return *description;
}

}  // namespace UIElementUtilities

#include "ui/colors/TRColorDrawingHelper.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <algorithm>

namespace TRColorDrawingHelper {
namespace {

struct Hsb {
    float hue, saturation, brightness, alpha;
};

// The colour taken apart in RGB: hue, saturation, brightness and alpha.
Hsb decompose(const QColor& color) {
    const QColor hsv = color.toRgb().toHsv();
    float h = 0, s = 0, v = 0, a = 0;
    hsv.getHsvF(&h, &s, &v, &a);
    return Hsb{h < 0 ? 0 : h, s, v, a};
}

QColor fromHsb(const Hsb& c, float brightnessFactor) {
    return QColor::fromHsvF(c.hue, c.saturation / 2, std::clamp(c.brightness * brightnessFactor, 0.0f, 1.0f),
                            c.alpha);
}

QColor white(float level, float alpha) {
    return QColor::fromRgbF(level, level, level, alpha);
}

// Fills `path` with a linear gradient running down its bounds, in y-up
// coordinates: the first stop at the top edge.
void fillDownward(QPainter& painter, const QPainterPath& path, const QGradientStops& stops) {
    const QRectF bounds = path.boundingRect();
    QLinearGradient gradient(QPointF(bounds.center().x(), bounds.y() + bounds.height()),
                             QPointF(bounds.center().x(), bounds.y()));
    gradient.setStops(stops);
    painter.fillPath(path, gradient);
}

QPainterPath oval(const QRectF& rect) {
    QPainterPath path;
    path.addEllipse(rect);
    return path;
}

QRectF inset(const QRectF& rect, double d) {
    return rect.adjusted(d, d, -d, -d);
}

}  // namespace

const QList<QColor>& baseColors() {
    static const QList<QColor> kColors = [] {
        QList<QColor> colors;
        for (int i = 0; i < 8; ++i)
            colors.append(colorFromProjectColor(TRPSColor::baseColorWithIndex(i)));
        return colors;
    }();
    return kColors;
}

QColor baseColorWithIndex(long long index) {
    return index < 0 ? QColor(Qt::black) : baseColors()[int(index % 8)];
}

QColor lightPurpleColor() {
    return QColor::fromRgbF(0.75f, 0.5f, 1.0f, 1.0f);
}

QColor colorFromProjectColor(const TRPSColor& color) {
    return QColor::fromRgbF(color.red, color.green, color.blue, color.alpha);
}

QColor pastelColorForColor(const QColor& color) {
    if (!color.isValid()) return QColor();
    return fromHsb(decompose(color), 1.0f);
}

QGradientStops pastelColorGradientForColor(const QColor& color) {
    if (!color.isValid()) return {};
    const Hsb c = decompose(color);
    return {{0.0, fromHsb(c, 1.0f)}, {0.5, fromHsb(c, 0.9f)}, {1.0, fromHsb(c, 0.7f)}};
}

QGradientStops pastelColorRowBackgroundGradientForColor(const QColor& color) {
    if (!color.isValid()) return {};
    const Hsb c = decompose(color);
    return {{0.0, fromHsb(c, 1.2f)}, {1.0, fromHsb(c, 0.8f)}};
}

void drawDotWithGradient(QPainter& painter, const QGradientStops& gradient, const QRectF& rect,
                         int selectionMode, bool blinking, bool flipped) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    QRectF r = rect;
    if (flipped) {
        // Upright inside rect on a y-down painter: y-up from rect's bottom edge.
        painter.translate(r.x(), r.y() + r.height());
        painter.scale(1, -1);
        r.moveTo(0, 0);
    }

    // Selection ring.
    const QRectF ring = inset(r, -1.5);
    const bool drawRing = selectionMode == 2 || (selectionMode == 1 && blinking);
    if (drawRing) {
        const QColor fill =
            selectionMode == 2 ? QColor::fromRgbF(0.76f, 0.78f, 0.82f, 1.0f) : white(0.94f, 1.0f);
        painter.fillPath(oval(ring), fill);
        painter.strokePath(oval(ring), QPen(white(0.6f, 1.0f), 1.0));
    }

    // Body.
    const QRectF d = inset(r, 2.0);
    fillDownward(painter, oval(d), gradient);

    // Upper gloss: a crescent along the top edge.
    QPainterPath gloss = oval(inset(d, 1.0));
    gloss.addEllipse(QRectF(d.x() + 1.0, d.y() - 2.0, d.width() - 2.0, d.height()));
    gloss.setFillRule(Qt::OddEvenFill);
    fillDownward(painter, gloss, {{0.0, white(1.0f, 0.18f)}, {0.6, white(1.0f, 0.0f)}});

    // Centre glow near the top.
    const QPointF glowCenter(d.x() + d.width() * 0.5, d.y() + d.height() - 2.0);
    QRadialGradient glow(glowCenter, 4.0);
    glow.setColorAt(0.0, white(1.0f, 0.18f));
    glow.setColorAt(1.0, white(1.0f, 0.0f));
    painter.fillPath(oval(QRectF(glowCenter - QPointF(4, 4), QSizeF(8, 8))), glow);

    // Rim shade: a one-point ring, darker towards the bottom.
    QPainterPath rim = oval(d);
    rim.addEllipse(inset(d, 1.0));
    rim.setFillRule(Qt::OddEvenFill);
    fillDownward(painter, rim, {{0.0, white(0.0f, 0.12f)}, {1.0, white(0.0f, 0.46f)}});

    painter.restore();
}

}  // namespace TRColorDrawingHelper

#pragma once
// TRColorDrawingHelper: the project palette and the project dot.
//
// The eight base colours a new project cycles through (red, orange, yellow,
// green, blue, light purple, light grey, white), light purple itself
// (0.75, 0.5, 1.0), the pale ("pastel") variants of a colour with half its
// saturation and their gradients, and the glossy round dot that stands for a
// project in a list. An invalid QColor stands for "no colour": the pastel
// operations answer it (or no stops) for it.
//
// Any thread, each painter on one thread at a time.

#include <QColor>
#include <QGradientStops>
#include <QList>
#include <QRectF>

#include "store/project/TRPSColor.h"

class QPainter;

namespace TRColorDrawingHelper {

const QList<QColor>& baseColors();
// Black for a negative index, else the base colour at index modulo 8.
QColor baseColorWithIndex(long long index);
QColor lightPurpleColor();
QColor colorFromProjectColor(const TRPSColor& color);

// Same hue, brightness and alpha, half the saturation.
QColor pastelColorForColor(const QColor& color);
// Pastel, brightness x1.0 at 0, x0.9 at 0.5, x0.7 at 1.
QGradientStops pastelColorGradientForColor(const QColor& color);
// Pastel, brightness x1.2 at 0 and x0.8 at 1 (clamped to 1).
QGradientStops pastelColorRowBackgroundGradientForColor(const QColor& color);

// The dot inside `rect`: selectionMode 2 draws a grey selection ring, 1 a
// light ring only while `blinking`, anything else none. The body takes the
// gradient from its top (stop 0) to its bottom (stop 1), with a gloss along
// the upper edge, a small glow at the top and a darker rim.
//
// The painter's coordinates are read as y-up (as a report view that draws
// bottom-up has them) unless `flipped`, which is what a QWidget or QImage
// painter has: then the dot is drawn upright inside `rect` all the same.
void drawDotWithGradient(QPainter& painter, const QGradientStops& gradient, const QRectF& rect,
                         int selectionMode, bool blinking, bool flipped);

}  // namespace TRColorDrawingHelper

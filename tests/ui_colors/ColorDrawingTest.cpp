// The palette and the project dot, drawn offscreen: every base colour and
// ring mode at 16, 32 and 64 px on one sheet (one row per colour; columns: no
// ring, ring 1 blinking, ring 1 steady, ring 2, then the same flipped).
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include "ui/colors/TRColorDrawingHelper.h"

namespace {

using namespace TRColorDrawingHelper;

TEST(ColorDrawing, PastelKeepsHueAndBrightnessAndHalvesSaturation) {
    const QColor cases[] = {QColor(Qt::red), lightPurpleColor(), QColor::fromCmykF(0, 0.5f, 1, 0),
                            QColor::fromHslF(0.3f, 1, 0.5f)};
    for (const QColor& c : cases) {
        const QColor pastel = pastelColorForColor(c);
        EXPECT_NEAR(pastel.hsvHueF(), c.toHsv().hsvHueF(), 0.01);
        EXPECT_NEAR(pastel.valueF(), c.toHsv().valueF(), 0.01);
        EXPECT_NEAR(pastel.hsvSaturationF(), c.toHsv().hsvSaturationF() / 2, 0.01);
    }
    EXPECT_FALSE(pastelColorForColor(QColor()).isValid());
    EXPECT_TRUE(pastelColorGradientForColor(QColor()).isEmpty());
    EXPECT_TRUE(pastelColorRowBackgroundGradientForColor(QColor()).isEmpty());
    const QGradientStops row = pastelColorRowBackgroundGradientForColor(QColor(Qt::white));
    EXPECT_NEAR(row.front().second.valueF(), 1.0, 0.001) << "brightness above 1 is clamped";
    EXPECT_NEAR(row.back().second.valueF(), 0.8, 0.01);
}

struct Mode {
    int selection;
    bool blinking;
    bool ring;
};
const Mode kModes[] = {{0, true, false}, {1, true, true}, {1, false, false}, {2, false, true}};

// One dot in a cell of `size` px; flipped: a plain y-down painter, else one
// turned y-up as a bottom-up view has it.
void drawCell(QPainter& painter, const QPoint& origin, int size, const QColor& color,
              const Mode& mode, bool flipped) {
    painter.save();
    painter.translate(origin);
    const QRectF rect(2, 2, size - 4, size - 4);
    if (!flipped) {
        painter.translate(0, size);
        painter.scale(1, -1);
    }
    drawDotWithGradient(painter, pastelColorGradientForColor(color), rect, mode.selection,
                        mode.blinking, flipped);
    painter.restore();
}

TEST(ColorDrawing, DotIsUprightWithItsRingOnlyWhenAsked) {
    for (int size : {16, 32, 64}) {
        SCOPED_TRACE(size);
        QImage sheet(size * 8, size * 8, QImage::Format_ARGB32_Premultiplied);
        sheet.fill(Qt::transparent);
        QPainter painter(&sheet);
        for (int row = 0; row < 8; ++row) {
            for (int column = 0; column < 8; ++column)
                drawCell(painter, QPoint(column * size, row * size), size, baseColors()[row],
                         kModes[column % 4], column >= 4);
        }
        painter.end();

        for (int row = 0; row < 8; ++row) {
            for (int column = 0; column < 8; ++column) {
                const int x = column * size, y = row * size;
                // Just outside the body, inside the ring: left edge, middle height.
                const QColor ring = sheet.pixelColor(x + 1, y + size / 2);
                EXPECT_EQ(ring.alpha() > 128, kModes[column % 4].ring) << row << "," << column;
                // The body's top is lighter than its bottom, flipped or not.
                const QColor top = sheet.pixelColor(x + size / 2, y + 2 + size / 5);
                const QColor bottom = sheet.pixelColor(x + size / 2, y + size - 2 - size / 5);
                EXPECT_GT(top.valueF(), bottom.valueF()) << row << "," << column;
                // The body is the colour's pale variant.
                const QColor expected = pastelColorForColor(baseColors()[row]);
                const QColor middle = sheet.pixelColor(x + size / 2, y + size / 2);
                if (expected.hsvSaturationF() > 0.2) {
                    EXPECT_NEAR(middle.hsvHueF(), expected.hsvHueF(), 0.05) << row << "," << column;
                }
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    // Drawing needs no display; listing the tests at build time has none.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

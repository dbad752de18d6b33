#include "ui/BCStatusItemView.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPainter>
#include <QPalette>
#include <cmath>

namespace {

QSize logicalSize(const QImage& image) {
    if (image.isNull()) return {};
    return (QSizeF(image.size()) / image.devicePixelRatio()).toSize();
}

}  // namespace

BCStatusItemView::BCStatusItemView(double length) : m_length(length) {
    const int width = length == kVariableLength ? 32 : static_cast<int>(std::lround(length));
    m_size = QSize(width, kThickness);
    m_titleFont = QApplication::font("QMenuBar");
    m_titleFont.setPointSizeF(m_titleFont.pointSizeF() + 2.0);
}

void BCStatusItemView::setImage(const QImage& image) {
    m_image = image;
    resizeToFitIfNeeded();
}

void BCStatusItemView::setAlternateImage(const QImage& image) {
    m_alternateImage = image;
}

void BCStatusItemView::setTitle(const QString& title) {
    m_title = title;
    m_titleFont = QApplication::font("QMenuBar");
    m_titleFont.setPointSizeF(m_titleFont.pointSizeF() + 2.0);
    resizeToFitIfNeeded();
}

void BCStatusItemView::setAttributedTitle(const QString& title, const QFont& font) {
    m_title = title;
    m_titleFont = font;
}

void BCStatusItemView::setLength(double length) {
    m_length = length;
    if (length == kVariableLength) {
        resizeToFitIfNeeded();
    } else {
        m_size.setWidth(static_cast<int>(std::lround(length)));
    }
}

int BCStatusItemView::titleWidth() const {
    return m_title.isEmpty() ? 0 : QFontMetrics(m_titleFont).horizontalAdvance(m_title);
}

void BCStatusItemView::resizeToFitIfNeeded() {
    if (m_length != kVariableLength) return;
    m_size.setWidth(logicalSize(m_image).width() + titleWidth() + 8);
}

QImage BCStatusItemView::render(qreal devicePixelRatio) const {
    QImage canvas((QSizeF(m_size) * devicePixelRatio).toSize(),
                  QImage::Format_ARGB32_Premultiplied);
    canvas.setDevicePixelRatio(devicePixelRatio);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QRectF bounds(QPointF(0, 0), QSizeF(m_size));
    const bool drawHighlight = m_highlighted && m_doesHighlight;
    if (drawHighlight) painter.fillRect(bounds, QApplication::palette().color(QPalette::Highlight));

    const QImage& image = drawHighlight ? m_alternateImage : m_image;
    QRectF imageRect;
    if (!image.isNull()) {
        const QSizeF imageSize = logicalSize(image);
        const double x =
            m_title.isEmpty() ? bounds.x() + bounds.width() / 2 - imageSize.width() / 2 : 2.0;
        const double y = bounds.y() + bounds.height() / 2 - imageSize.height() / 2;
        imageRect = QRectF(QPointF(std::floor(x), std::floor(y)), imageSize);
        painter.drawImage(imageRect, image);
    }
    if (!m_title.isEmpty()) {
        const QRectF titleRect(imageRect.width() + 2.0, imageRect.y() - 1.0,
                               bounds.width() - (imageRect.width() + 2.0),
                               bounds.height() - imageRect.y());
        painter.setFont(m_titleFont);
        if (drawHighlight) {
            painter.setPen(QApplication::palette().color(QPalette::HighlightedText));
        } else {
            // The light shadow one pixel below lifts the text off the panel.
            painter.setPen(QColor::fromRgbF(1.0, 1.0, 1.0, 0.6f));
            painter.drawText(titleRect.translated(0, 1), Qt::AlignCenter, m_title);
            painter.setPen(QApplication::palette().color(QPalette::ButtonText));
        }
        painter.drawText(titleRect, Qt::AlignCenter, m_title);
    }
    return canvas;
}

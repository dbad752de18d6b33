#pragma once
// BCStatusItemView: draws the status item (an image and an optional short
// title) into one picture, which the tray icon shows.
//
// Sizing: the item's length, or 32 px when the length is variable; a
// variable-length item is resized to the image's width plus the title's
// width plus 8 whenever the image or the title is set. Setting an attributed
// (pre-built) title does not resize. Drawing: while highlighted and
// doesHighlight is set, the panel's selection colour fills the item and the
// alternate image is drawn; the image is centred (at x 2 when there is a
// title) and the title follows it, with a soft light shadow below unless
// highlighted. Main thread only.

#include <QFont>
#include <QImage>
#include <QSize>
#include <QString>

class BCStatusItemView final {
public:
    static constexpr double kVariableLength = -1.0;
    static constexpr int kThickness = 22;

    explicit BCStatusItemView(double length = kVariableLength);

    void setImage(const QImage& image);
    void setAlternateImage(const QImage& image);
    void setTitle(const QString& title);
    void setAttributedTitle(const QString& title, const QFont& font);
    void setDoesHighlight(bool value) { m_doesHighlight = value; }
    void setHighlighted(bool value) { m_highlighted = value; }
    void setEnabled(bool value) { m_enabled = value; }
    // A length change resizes a variable item by the rule above; a fixed one
    // takes the length as its width.
    void setLength(double length);

    bool isHighlighted() const { return m_highlighted; }
    bool doesHighlight() const { return m_doesHighlight; }
    bool isEnabled() const { return m_enabled; }
    QSize size() const { return m_size; }

    // The item at `devicePixelRatio` (2 on a 2x screen), transparent where
    // nothing is drawn.
    QImage render(qreal devicePixelRatio = 1.0) const;

private:
    void resizeToFitIfNeeded();
    int titleWidth() const;

    double m_length;
    QSize m_size;
    QImage m_image;
    QImage m_alternateImage;
    QString m_title;
    QFont m_titleFont;
    bool m_highlighted = false;
    bool m_doesHighlight = false;
    bool m_enabled = true;
};

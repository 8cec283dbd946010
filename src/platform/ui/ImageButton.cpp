#include "ImageButton.h"

#include <QPainter>

namespace tolvane {

ImageButton::ImageButton(QWidget* parent)
    : QAbstractButton(parent) {
    setCursor(Qt::PointingHandCursor);
}

void ImageButton::setNormalImage(const QPixmap& image) {
    m_normal = image;
    update();
}

void ImageButton::setHighlightedImage(const QPixmap& image) {
    m_highlighted = image;
    update();
}

QSize ImageButton::sizeHint() const {
    return m_normal.isNull() ? QSize(44, 44) : m_normal.deviceIndependentSize().toSize();
}

void ImageButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QPixmap& image = isDown() && !m_highlighted.isNull() ? m_highlighted : m_normal;
    if (!image.isNull())
        painter.drawPixmap(rect(), image);
}

} // namespace tolvane

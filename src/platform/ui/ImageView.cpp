#include "ImageView.h"

#include <QPaintEvent>
#include <QPainter>

#include <algorithm>

namespace tolvane {

ImageView::ImageView(QWidget* parent)
    : QWidget(parent) {}

ImageView::ImageView(const QImage& image, QWidget* parent)
    : QWidget(parent)
    , m_image(image) {}

void ImageView::setImage(const QImage& image) {
    if (image.cacheKey() == m_image.cacheKey())
        return;
    m_image = image;
    m_scaled = QPixmap();
    updateGeometry();
    update();
}

void ImageView::setContentMode(ContentMode mode) {
    if (mode == m_contentMode)
        return;
    m_contentMode = mode;
    m_scaled = QPixmap();
    update();
}

void ImageView::setClipsToBounds(bool clips) {
    m_clipsToBounds = clips;
    update();
}

void ImageView::setBackgroundColor(const QColor& colour) {
    m_background = colour;
    update();
}

void ImageView::setAlpha(qreal alpha) {
    m_alpha = std::clamp(alpha, 0.0, 1.0);
    update();
}

void ImageView::setScale(qreal scale) {
    m_scale = std::max(scale, 0.0);
    update();
}

QSize ImageView::sizeHint() const {
    if (m_image.isNull())
        return {0, 0};
    return (QSizeF(m_image.size()) / m_image.devicePixelRatio()).toSize();
}

QRectF ImageView::imageRect() const {
    return placement().target;
}

ImageView::Placement ImageView::placement() const {
    const QRectF bounds(rect());
    if (m_image.isNull() || bounds.isEmpty())
        return {};
    const QRectF whole(QPointF(0, 0), QSizeF(m_image.size()));
    const QSizeF size = whole.size();
    switch (m_contentMode) {
    case ContentMode::ScaleToFill:
        return {whole, bounds};
    case ContentMode::ScaleAspectFit: {
        const QSizeF fitted = size.scaled(bounds.size(), Qt::KeepAspectRatio);
        QRectF target(QPointF(0, 0), fitted);
        target.moveCenter(bounds.center());
        return {whole, target};
    }
    case ContentMode::ScaleAspectFill: {
        // Only the part of the image inside the view is scaled and kept: an extreme aspect
        // ratio would otherwise make a picture far larger than the view.
        const QSizeF filled = size.scaled(bounds.size(), Qt::KeepAspectRatioByExpanding);
        QRectF target(QPointF(0, 0), filled);
        target.moveCenter(bounds.center());
        const qreal factor = size.width() / filled.width();
        QRectF source((bounds.left() - target.left()) * factor,
                      (bounds.top() - target.top()) * factor, bounds.width() * factor,
                      bounds.height() * factor);
        return {source.intersected(whole), bounds};
    }
    }
    return {};
}

const QPixmap& ImageView::scaledPixmap(const Placement& placement) {
    const qreal ratio = devicePixelRatioF();
    const QSize pixels = (placement.target.size() * ratio).toSize().expandedTo(QSize(1, 1));
    if (m_scaled.isNull() || m_scaledFor != pixels || m_scaledSource != placement.source) {
        const QImage part = placement.source == QRectF(QPointF(0, 0), QSizeF(m_image.size()))
                                ? m_image
                                : m_image.copy(placement.source.toAlignedRect());
        QImage scaled = part.size() == pixels
                            ? part
                            : part.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        scaled.setDevicePixelRatio(ratio);
        m_scaled = QPixmap::fromImage(std::move(scaled));
        m_scaledFor = pixels;
        m_scaledSource = placement.source;
    }
    return m_scaled;
}

void ImageView::paintEvent(QPaintEvent*) {
    if (m_alpha <= 0 || m_scale <= 0)
        return;
    QPainter painter(this);
    painter.setOpacity(m_alpha);
    if (m_scale != 1) {
        const QPointF centre = QRectF(rect()).center();
        painter.translate(centre);
        painter.scale(m_scale, m_scale);
        painter.translate(-centre);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
    }
    if (m_background.alpha() > 0)
        painter.fillRect(rect(), m_background);
    const Placement where = placement();
    if (where.target.isEmpty() || where.source.isEmpty())
        return;
    painter.drawPixmap(where.target.topLeft(), scaledPixmap(where));
}

} // namespace tolvane

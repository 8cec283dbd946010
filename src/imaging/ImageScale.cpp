#include "ImageScale.h"

#include "imaging/ImageBuffers.h"
#include "platform/Device.h"

#include <QPainter>

namespace tolvane {

QImage ImageScale::imageWithImage(const QImage& image, QSizeF size, qreal screenScale) {
    QImage scaled = ImageBuffers::surface(size, screenScale > 0 ? screenScale : 1);
    if (scaled.isNull() || image.isNull())
        return scaled.isNull() ? QImage() : scaled;
    QPainter painter(&scaled);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(QPointF(0, 0), size), image);
    return scaled;
}

QImage ImageScale::imageWithImage(const QImage& image, QSizeF size) {
    return imageWithImage(image, size, Device::current().scale());
}

} // namespace tolvane

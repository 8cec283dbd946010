#include "THEOSImage.h"

#include "imaging/ImageDensity.h"
#include "platform/Device.h"
#include "platform/PathString.h"

#include <QImageReader>
#include <QPainter>

#include <cmath>

namespace tolvane::THEOSImage {

QImage imageWithName(const QString& name, const QString& directory) {
    const qreal scale = Device::current().scale();
    const ImageDensity density = ImageDensity::resolve(name, scale);

    QImageReader reader(PathString::appendingPathComponent(directory, density.name));
    reader.setAutoTransform(true);
    QImage decoded = reader.read();
    // QImageReader takes an "@Nx" file name as a pixel ratio; here only the screen's scale sets
    // it, so a name that carries the suffix itself is returned at its pixel size.
    decoded.setDevicePixelRatio(1);
    if (decoded.isNull() || density.factor == 0)
        return decoded;

    // Redraw at the point size on a surface of the screen's scale.
    const QSizeF points = QSizeF(decoded.size()) / density.factor;
    const QSize pixels(int(std::lround(points.width() * scale)),
                       int(std::lround(points.height() * scale)));
    if (pixels.isEmpty())
        return {};
    QImage surface(pixels, QImage::Format_ARGB32_Premultiplied);
    if (surface.isNull())
        return {};
    surface.fill(Qt::transparent);
    surface.setDevicePixelRatio(scale);
    {
        QPainter painter(&surface);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRectF(QPointF(0, 0), points), decoded);
    }
    return surface;
}

} // namespace tolvane::THEOSImage

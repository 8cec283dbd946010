#include "THEOSImage.h"

#include "imaging/ImageDecoder.h"
#include "imaging/ImageDensity.h"
#include "platform/Device.h"
#include "platform/PathString.h"

#include <QPainter>

#include <cmath>

namespace tolvane::THEOSImage {

QImage imageWithName(const QString& name, const QString& directory) {
    return imageWithName(name, directory, Device::current().scale());
}

QImage imageWithName(const QString& name, const QString& directory, qreal scale) {
    const ImageDensity density = ImageDensity::resolve(name, scale);

    // A missing image is nothing, without a word, as every caller expects of resource images.
    QImage decoded =
        ImageDecoder::decodeFile(PathString::appendingPathComponent(directory, density.name))
            .valueOr({});
    // Only the screen's scale sets the pixel ratio: a name that carries an "@Nx" suffix itself
    // is returned at its pixel size.
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

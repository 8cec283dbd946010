#include "ImageBuffers.h"

#include <QPainter>

#include <cmath>
#include <cstdlib>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace tolvane {

QSize ImageBuffers::pixelSize(QSizeF points, qreal scale) {
    return QSize(int(std::ceil(points.width() * scale - 1e-6)),
                 int(std::ceil(points.height() * scale - 1e-6)));
}

QImage ImageBuffers::surface(QSizeF points, qreal scale) {
    QImage image(pixelSize(points, scale), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    return image;
}

QImage ImageBuffers::largeImage(QSize size) {
#ifdef __linux__
    constexpr size_t hugePage = 2 * 1024 * 1024;
    const size_t bytes = size_t(size.width()) * 4 * size_t(size.height());
    if (size.isEmpty() || bytes < hugePage)
        return QImage(size, QImage::Format_ARGB32_Premultiplied);
    const size_t rounded = (bytes + hugePage - 1) / hugePage * hugePage;
    void* memory = std::aligned_alloc(hugePage, rounded);
    if (!memory)
        return {};
    ::madvise(memory, rounded, MADV_HUGEPAGE);
    return QImage(
        static_cast<uchar*>(memory), size.width(), size.height(), size.width() * 4,
        QImage::Format_ARGB32_Premultiplied, [](void* data) { std::free(data); }, memory);
#else
    return QImage(size, QImage::Format_ARGB32_Premultiplied);
#endif
}

QImage ImageBuffers::drawnAtScale(const QImage& image, qreal scale) {
    // Only ever read, so a shared copy does.
    if (image.format() == QImage::Format_ARGB32_Premultiplied && image.devicePixelRatio() == scale)
        return image;
    const QSizeF points = image.deviceIndependentSize();
    QImage drawn = surface(points, scale);
    if (drawn.isNull())
        return drawn;
    QPainter painter(&drawn);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(QPointF(0, 0), points), image);
    return drawn;
}

} // namespace tolvane

#include "ArtworkSizing.h"

#include "imaging/ImageDecoder.h"
#include "import/MediaKinds.h"

#include <QBuffer>
#include <QPainter>

#include <cmath>

namespace tolvane {

namespace {

enum class Shape { Square, Wide, Tall, Untouched };

Shape shapeOf(const QString& kind) {
    if (kind == MediaKinds::song || kind == MediaKinds::podcast || kind == MediaKinds::tvEpisode)
        return Shape::Square;
    if (kind == MediaKinds::musicVideo)
        return Shape::Wide;
    if (kind == MediaKinds::featureMovie)
        return Shape::Tall;
    return Shape::Untouched;
}

qreal usableScale(qreal screenScale) {
    return screenScale > 0 ? screenScale : 1;
}

// One step of the rules: the surface to make and where the whole image goes on it.
struct Step {
    QSizeF surface;
    QRectF target;
};

// The crop of the rules for an image of w by h points, or nothing when it is skipped.
std::optional<Step> cropFor(QSizeF size, Shape shape) {
    const qreal w = size.width();
    const qreal h = size.height();
    if (shape == Shape::Square) {
        if (w > h)
            return Step{QSizeF(h, h), QRectF(-(w - h) / 2, 0, w, h)};
        if (w < h)
            return Step{QSizeF(w, w), QRectF(0, -(h - w) / 2, w, h)};
        return std::nullopt;
    }
    const qreal frameWidth = shape == Shape::Wide ? 640 : 468;
    const qreal frameHeight = shape == Shape::Wide ? 363 : 700;
    const qreal wantedHeight = w * frameHeight / frameWidth;
    if (wantedHeight < h)
        return Step{QSizeF(w, wantedHeight), QRectF(0, -(h - wantedHeight) / 2, w, h)};
    if (wantedHeight > h) {
        const qreal wantedWidth = h * frameWidth / frameHeight;
        return Step{QSizeF(wantedWidth, h), QRectF(-(w - wantedWidth) / 2, 0, w, h)};
    }
    return std::nullopt;
}

// The bound of the rules for a size, or nothing when it is within it.
std::optional<QSizeF> boundFor(QSizeF size, Shape shape) {
    switch (shape) {
    case Shape::Square:
        if (size.width() > 500)
            return QSizeF(500, 500);
        return std::nullopt;
    case Shape::Wide:
        if (size.width() > 300)
            return QSizeF(300, 300 * size.height() / size.width());
        return std::nullopt;
    case Shape::Tall:
        if (size.height() > 300)
            return QSizeF(300 * size.width() / size.height(), 300);
        return std::nullopt;
    case Shape::Untouched:
        break;
    }
    return std::nullopt;
}

std::optional<ArtworkSizing::Artwork> draw(const ArtworkSizing::Artwork& from, QSizeF surface,
                                           QRectF target, qreal scale) {
    const QSize pixels(int(std::ceil(surface.width() * scale - 1e-6)),
                       int(std::ceil(surface.height() * scale - 1e-6)));
    if (pixels.isEmpty())
        return std::nullopt;
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return std::nullopt;
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(target, from.image);
    painter.end();
    return ArtworkSizing::Artwork{image, surface};
}

} // namespace

QSizeF ArtworkSizing::sizeFor(QSizeF points, const QString& mediaKind) {
    const Shape shape = shapeOf(mediaKind);
    if (shape == Shape::Untouched)
        return points;
    if (const auto crop = cropFor(points, shape))
        points = crop->surface;
    return boundFor(points, shape).value_or(points);
}

std::optional<ArtworkSizing::Artwork>
ArtworkSizing::sized(const Artwork& artwork, const QString& mediaKind, qreal screenScale) {
    const qreal scale = usableScale(screenScale);
    if (artwork.image.isNull())
        return std::nullopt;
    const Shape shape = shapeOf(mediaKind);
    if (shape == Shape::Untouched)
        return artwork;
    Artwork result = artwork;
    if (const auto crop = cropFor(result.points, shape)) {
        const auto cropped = draw(result, crop->surface, crop->target, scale);
        if (!cropped)
            return std::nullopt;
        result = *cropped;
    }
    if (const auto bound = boundFor(result.points, shape)) {
        const auto scaled = draw(result, *bound, QRectF(QPointF(0, 0), *bound), scale);
        if (!scaled)
            return std::nullopt;
        result = *scaled;
    }
    return result;
}

QImage ArtworkSizing::resizeImagePropotionaly(const QImage& image, const QString& mediaKind,
                                              qreal screenScale) {
    const auto result =
        sized(Artwork{image, image.deviceIndependentSize()}, mediaKind, screenScale);
    return result ? result->image : QImage();
}

Result<ArtworkSizing::Jpeg> ArtworkSizing::sizedJpeg(const QByteArray& bytes,
                                                     const QString& mediaKind, int quality,
                                                     qreal screenScale) {
    const Result<ImageDecoder::Header> header = ImageDecoder::header(bytes);
    if (!header)
        return header.failure();
    const QSize original = header->size;

    // The geometry comes from the full size; the pixels may come from a reduced decode when
    // the result needs fewer of them.
    ImageDecoder::Request request;
    const Shape shape = shapeOf(mediaKind);
    if (shape != Shape::Untouched) {
        const QSizeF target = sizeFor(QSizeF(original), mediaKind) * usableScale(screenScale);
        const auto crop = cropFor(QSizeF(original), shape);
        const QSizeF kept = crop ? crop->surface : QSizeF(original);
        // Pixels of the whole image that keep the kept part at least as large as the target.
        const qreal factor =
            qMin<qreal>(1, qMax(target.width() / kept.width(), target.height() / kept.height()));
        request.cover = QSize(int(std::ceil(original.width() * factor)),
                              int(std::ceil(original.height() * factor)));
    }
    Result<QImage> decoded = ImageDecoder::decode(bytes, request);
    if (!decoded)
        return decoded.failure();
    QImage image = std::move(decoded).value();
    // The decoded pixels stand for the full point size.
    image.setDevicePixelRatio(qreal(image.width()) / original.width());
    const auto result = sized(Artwork{image, QSizeF(original)}, mediaKind, screenScale);
    if (!result)
        return Failure(QStringLiteral("the artwork cannot be drawn at its size"));

    QByteArray jpeg;
    QBuffer out(&jpeg);
    out.open(QIODevice::WriteOnly);
    const QImage opaque = result->image.convertToFormat(QImage::Format_RGB32);
    if (!opaque.save(&out, "JPEG", quality))
        return Failure(QStringLiteral("the artwork cannot be encoded as JPEG"));
    return Jpeg{jpeg, result->points, result->image.size()};
}

} // namespace tolvane

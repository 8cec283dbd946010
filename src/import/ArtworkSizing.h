#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QImage>
#include <QSizeF>
#include <QString>

#include <optional>

namespace tolvane {

// Artwork in the shape the media library shows for a kind: square covers for songs, podcasts
// and TV episodes (at most 500 points), a 640:363 frame for music videos (at most 300 points
// wide), a 468:700 poster for movies (at most 300 points tall), centred crops, never
// enlarged; other kinds untouched. New surfaces are made at the screen's scale, which the
// caller reads on the screen's thread and passes in (a scale of 0 or less counts as 1), so
// that all of this is safe off the main thread.
class ArtworkSizing {
public:
    // An image with its size in points, which may be fractional where the pixels cannot be.
    struct Artwork {
        QImage image;
        QSizeF points;
    };

    // Null in, null out; the image itself when nothing was to be done.
    static QImage resizeImagePropotionaly(const QImage& image, const QString& mediaKind,
                                          qreal screenScale);
    static std::optional<Artwork> sized(const Artwork& artwork, const QString& mediaKind,
                                        qreal screenScale);

    // The point size the rules give an image of a size, without drawing anything.
    static QSizeF sizeFor(QSizeF points, const QString& mediaKind);

    // Sized artwork encoded as JPEG.
    struct Jpeg {
        QByteArray bytes;
        QSizeF points;
        QSize pixels;
    };

    // From artwork bytes (one point per pixel) straight to JPEG bytes of the sized artwork.
    // Large images are decoded at a reduced size when the result is smaller anyway, which
    // does not change the geometry. A failure when the bytes are not an image that can be
    // decoded (or one too large to decode).
    static Result<Jpeg> sizedJpeg(const QByteArray& bytes, const QString& mediaKind, int quality,
                                  qreal screenScale);
};

} // namespace tolvane

#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

namespace tolvane {

// Turns image bytes or files into pixels, for every place that shows or sizes an image. The
// size is read from the header first and an image past the limits is refused before any pixel
// is allocated, whatever the format and whoever asks. The orientation a photo's EXIF data
// gives is applied. Safe on any thread.
class ImageDecoder {
public:
    static constexpr int maximumSide = 16384;
    static constexpr qint64 maximumPixels = 40'000'000;

    enum class Reduction {
        // JPEG is decoded at 1/2, 1/4 or 1/8 of its size (nearly free) as long as the result
        // still covers the size asked for; other formats at their full size.
        PowerOfTwo,
        // Decoded and scaled to the smallest size that covers the size asked for.
        Exact,
    };

    struct Request {
        // Pixels the caller needs at least, in each direction of the image as shown. Empty:
        // the full size.
        QSize cover;
        Reduction reduction = Reduction::PowerOfTwo;
        // The image is scaled down to fit this box when it is larger (and then decoded at no
        // more pixels than that needs). Empty: no bound.
        QSize fit;

        static Request covering(QSize cover, Reduction reduction = Reduction::PowerOfTwo) {
            Request request;
            request.cover = cover;
            request.reduction = reduction;
            return request;
        }
        static Request fitting(QSize fit) {
            Request request;
            request.fit = fit;
            return request;
        }
    };

    struct Header {
        QSize size; // as shown, after the orientation
        QByteArray format;
    };

    static Result<Header> header(const QByteArray& bytes);
    static Result<Header> headerOfFile(const QString& path);

    static Result<QImage> decode(const QByteArray& bytes) { return decode(bytes, Request()); }
    static Result<QImage> decode(const QByteArray& bytes, const Request& request);
    static Result<QImage> decodeFile(const QString& path) { return decodeFile(path, Request()); }
    static Result<QImage> decodeFile(const QString& path, const Request& request);
};

} // namespace tolvane

#include "ImageDecoder.h"

#include "platform/RegularFile.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>

#include <cmath>
#include <mutex>

namespace tolvane {

namespace {

// Decoders refuse to allocate past this even where a header does not tell the size; it holds
// an image of the largest size allowed.
constexpr int allocationLimitMb = 256;

void limitAllocations() {
    static std::once_flag once;
    std::call_once(once, [] {
        if (QImageReader::allocationLimit() == 0 ||
            QImageReader::allocationLimit() > allocationLimitMb)
            QImageReader::setAllocationLimit(allocationLimitMb);
    });
}

bool swapsSides(QImageIOHandler::Transformations transformation) {
    return transformation.testFlag(QImageIOHandler::TransformationRotate90);
}

Result<ImageDecoder::Header> readHeader(QImageReader& reader) {
    limitAllocations();
    reader.setAutoTransform(true);
    if (!reader.canRead())
        return Failure(QStringLiteral("not an image that can be decoded"));
    const QSize stored = reader.size();
    if (!stored.isValid())
        return Failure(QStringLiteral("the image does not say its size"));
    // A drawing can say it is 0 pixels wide; nothing can be scaled from or to that.
    if (stored.isEmpty())
        return Failure(QStringLiteral("the image has no pixels (%1 x %2)")
                           .arg(stored.width())
                           .arg(stored.height()));
    if (stored.width() > ImageDecoder::maximumSide || stored.height() > ImageDecoder::maximumSide ||
        qint64(stored.width()) * stored.height() > ImageDecoder::maximumPixels) {
        return Failure(QStringLiteral("the image is too large to decode (%1 x %2 pixels)")
                           .arg(stored.width())
                           .arg(stored.height()));
    }
    const QSize shown = swapsSides(reader.transformation()) ? stored.transposed() : stored;
    return ImageDecoder::Header{shown, reader.format()};
}

QSize covering(QSize size, QSize cover) {
    const qreal factor =
        qMax(qreal(cover.width()) / size.width(), qreal(cover.height()) / size.height());
    if (factor >= 1)
        return size;
    return QSize(qMax(1, int(std::ceil(size.width() * factor))),
                 qMax(1, int(std::ceil(size.height() * factor))));
}

Result<QImage> decodeWith(QImageReader& reader, const ImageDecoder::Request& request) {
    const Result<ImageDecoder::Header> header = readHeader(reader);
    if (!header)
        return header.failure();
    // The reader scales the stored image, before the orientation is applied.
    const bool swapped = swapsSides(reader.transformation());
    const QSize stored = swapped ? header->size.transposed() : header->size;
    QSize cover = swapped ? request.cover.transposed() : request.cover;
    const QSize fit = swapped ? request.fit.transposed() : request.fit;
    // A bound on the result needs no more pixels than the image has when fitted to it.
    if (cover.isEmpty() && !fit.isEmpty() &&
        (stored.width() > fit.width() || stored.height() > fit.height()))
        cover = stored.scaled(fit, Qt::KeepAspectRatio);
    if (!cover.isEmpty()) {
        if (request.reduction == ImageDecoder::Reduction::Exact) {
            const QSize scaled = covering(stored, cover);
            if (scaled != stored)
                reader.setScaledSize(scaled);
        } else if (header->format == "jpeg") {
            int reduction = 1;
            while (reduction < 8 && stored.width() / (reduction * 2) >= cover.width() &&
                   stored.height() / (reduction * 2) >= cover.height())
                reduction *= 2;
            if (reduction > 1)
                reader.setScaledSize(stored / reduction);
        }
    }
    QImage image = reader.read();
    if (image.isNull()) {
        return Failure(
            QStringLiteral("the image cannot be decoded: %1").arg(reader.errorString().toLower()));
    }
    if (!request.fit.isEmpty() &&
        (image.width() > request.fit.width() || image.height() > request.fit.height()))
        image = image.scaled(request.fit, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

// Reads an ordinary file through a reader; a failure names the file.
template <typename T, typename Read>
Result<T> withFileReader(const QString& path, Read read) {
    Result<FileDescriptor> opened = RegularFile::openForReading(path);
    if (!opened)
        return opened.failure();
    QFile file;
    if (!file.open(opened.value().get(), QIODevice::ReadOnly, QFileDevice::DontCloseHandle))
        return Failure(file.errorString(), path);
    QImageReader reader(&file);
    Result<T> result = read(reader);
    if (!result)
        return Failure(result.failure().message(), path);
    return result;
}

} // namespace

Result<ImageDecoder::Header> ImageDecoder::header(const QByteArray& bytes) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    return readHeader(reader);
}

Result<ImageDecoder::Header> ImageDecoder::headerOfFile(const QString& path) {
    return withFileReader<Header>(path, [](QImageReader& reader) { return readHeader(reader); });
}

Result<QImage> ImageDecoder::decode(const QByteArray& bytes, const Request& request) {
    if (bytes.isEmpty())
        return Failure(QStringLiteral("no image data"));
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    return decodeWith(reader, request);
}

Result<QImage> ImageDecoder::decodeFile(const QString& path, const Request& request) {
    return withFileReader<QImage>(
        path, [&request](QImageReader& reader) { return decodeWith(reader, request); });
}

} // namespace tolvane

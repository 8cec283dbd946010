#include "FileTypeIconArtwork.h"

#include "imaging/ImageDecoder.h"
#include "platform/Paths.h"

#include <QCryptographicHash>
#include <QDir>
#include <QHash>
#include <QImage>
#include <QMutex>
#include <QSet>

namespace tolvane {

namespace {

// Icons are small; anything larger is a picture of its own and is not decoded to compare.
constexpr int largestIconSide = 512;

// The pixels as premultiplied ARGB, which an icon drawn onto a surface and encoded again keeps.
QByteArray pixelDigest(QImage image) {
    image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const int size[2] = {image.width(), image.height()};
    hash.addData(QByteArrayView(reinterpret_cast<const char*>(size), sizeof(size)));
    const qsizetype rowBytes = qsizetype(image.width()) * 4;
    for (int y = 0; y < image.height(); ++y)
        hash.addData(
            QByteArrayView(reinterpret_cast<const char*>(image.constScanLine(y)), rowBytes));
    return hash.result();
}

QSet<QByteArray> digestsOfFolder(const QString& folder) {
    QSet<QByteArray> digests;
    const QStringList names = QDir(folder).entryList({QStringLiteral("*.png")}, QDir::Files);
    for (const QString& name : names) {
        const Result<QImage> icon = ImageDecoder::decodeFile(QDir(folder).filePath(name));
        ignoreFailure(icon, "an icon that cannot be decoded stands in for no record's picture");
        if (icon)
            digests.insert(pixelDigest(*icon));
    }
    return digests;
}

// The icons' digests by folder, read once: imports ask from worker threads.
QSet<QByteArray> iconDigests(const QString& folder) {
    static QMutex mutex;
    static QHash<QString, QSet<QByteArray>> known;
    const QMutexLocker lock(&mutex);
    const auto found = known.constFind(folder);
    if (found != known.constEnd())
        return *found;
    return *known.insert(folder, digestsOfFolder(folder));
}

} // namespace

bool FileTypeIconArtwork::isFileTypeIcon(const QByteArray& bytes) {
    return isFileTypeIcon(bytes, Paths::iconsFolder());
}

bool FileTypeIconArtwork::isFileTypeIcon(const QByteArray& bytes, const QString& iconsFolder) {
    if (bytes.isEmpty())
        return false;
    const Result<ImageDecoder::Header> header = ImageDecoder::header(bytes);
    if (!header || header->size.width() > largestIconSide ||
        header->size.height() > largestIconSide)
        return false;
    const Result<QImage> image = ImageDecoder::decode(bytes);
    return image && iconDigests(iconsFolder).contains(pixelDigest(*image));
}

} // namespace tolvane

#include "ImportRecord.h"

#include "imaging/ImageDecoder.h"
#include "imaging/THEOSImage.h"
#include "import/IntegerValue.h"
#include "import/MediaKinds.h"
#include "import/MetadataReader.h"
#include "platform/CurrentYear.h"
#include "platform/MetadataKeys.h"
#include "platform/PathString.h"
#include "platform/Paths.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

namespace tolvane {

namespace {

const QString mediaKindKey = QStringLiteral("mediaKind");
const QString metadataKey = QStringLiteral("metadata");
const QString imageDataKey = QStringLiteral("imageData");
const QString separator = QStringLiteral(" - ");

std::optional<QVariantMap> readTags(const ImportRecord::MetadataSource& source,
                                    const QString& path) {
    if (source)
        return source(path);
    if (path.isEmpty())
        return std::nullopt;
    const Result<QVariantMap> tags = MetadataReader::metadataForFile(path);
    ignoreFailure(tags, "a record whose path is not an ordinary file keeps the values it has");
    return tags ? std::optional<QVariantMap>(*tags) : std::nullopt;
}

void insertIfPresent(QVariantMap& map, const QString& key, const std::optional<QVariant>& value) {
    if (value && value->isValid() && !value->isNull())
        map.insert(key, *value);
}

// Every value the file gave overwrites what the record held.
void mergeOver(QVariantMap& metadata, const std::optional<QVariantMap>& fromFile) {
    if (!fromFile)
        return;
    for (auto it = fromFile->cbegin(); it != fromFile->cend(); ++it) {
        if (it->isValid() && !it->isNull())
            metadata.insert(it.key(), *it);
    }
}

std::optional<QByteArray> encoded(const QImage& image, const char* format, int quality) {
    if (image.isNull())
        return std::nullopt;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, quality))
        return std::nullopt;
    return bytes;
}

QString kindOrSong(const QVariant& kind) {
    const QString text = kind.toString();
    return text.isEmpty() ? MediaKinds::song : text;
}

} // namespace

std::pair<QString, QString> ImportRecord::splitArtistAndTitle(const QString& name) {
    if (!name.contains(separator))
        return {QString(QLatin1String("")), name};
    QStringList pieces = name.split(separator);
    const QString artist = pieces.takeFirst().trimmed();
    return {artist, pieces.join(separator).trimmed()};
}

QVariantMap ImportRecord::fromHandoffRecord(const QVariantMap& handoff, const QString& mediaKind,
                                            const MetadataSource& readMetadata) {
    const QString kind = mediaKind.isEmpty() ? MediaKinds::song : mediaKind;
    const bool isVideo = handoff.contains(QStringLiteral("isVideo"));

    std::optional<QVariant> genre;
    const QString handedGenre = handoff.value(QStringLiteral("genre")).toString();
    if (!handedGenre.isEmpty())
        genre = handedGenre;
    else if (const auto fallback = MediaKinds::defaultGenre(kind))
        genre = *fallback;

    const QVariant handedYear = handoff.value(QStringLiteral("year"));
    const qlonglong year = handedYear.isValid() ? integerValue(handedYear) : currentYear();

    const QVariant handedName = handoff.value(QStringLiteral("name"));
    std::optional<QVariant> title;
    std::optional<QVariant> artist = QVariant(QString(QLatin1String("")));
    std::optional<QVariant> artwork;
    if (handedName.isValid())
        title = PathString::deletingPathExtension(handedName.toString());

    if (isVideo) {
        if (title) {
            const auto [splitArtist, splitTitle] = splitArtistAndTitle(title->toString());
            artist = splitArtist;
            title = splitTitle;
        }
        // A thumbnail that cannot be read leaves the record without artwork.
        const Result<QImage> thumbnail =
            ImageDecoder::decodeFile(handoff.value(QStringLiteral("iconData")).toString());
        if (auto jpeg = encoded(thumbnail.valueOr({}), "JPEG", 100))
            artwork = *jpeg;
    } else {
        const QImage icon = THEOSImage::imageWithName(
            handoff.value(QStringLiteral("icon")).toString(), Paths::iconsFolder());
        if (auto png = encoded(icon, "PNG", -1))
            artwork = *png;
    }

    QVariantMap metadata;
    insertIfPresent(metadata, AVMetadataCommonKeyTitle, title);
    insertIfPresent(metadata, AVMetadataCommonKeyArtist, artist);
    insertIfPresent(metadata, AVMetadataCommonKeyType, genre);
    metadata.insert(QStringLiteral("year"), year);
    insertIfPresent(metadata, imageDataKey, artwork);

    const QString path = handoff.value(QStringLiteral("filePath")).toString();
    if (!isVideo)
        mergeOver(metadata, readTags(readMetadata, path));

    QVariantMap record{
        {mediaKindKey, kind},
        {metadataKey, metadata},
        {QStringLiteral("isNotOpenIn"), 1},
    };
    if (handoff.contains(QStringLiteral("filePath")))
        record.insert(QStringLiteral("path"), path);
    return record;
}

QVariantMap ImportRecord::fromWholeRecord(const QVariantMap& given,
                                          const MetadataSource& readMetadata) {
    QVariantMap record = given;
    const QString kind = kindOrSong(record.value(mediaKindKey));
    record.insert(mediaKindKey, kind);

    QVariantMap metadata;
    if (record.contains(metadataKey)) {
        metadata = record.value(metadataKey).toMap();
        mergeOver(metadata,
                  readTags(readMetadata, record.value(QStringLiteral("path")).toString()));
    }
    if (!metadata.contains(AVMetadataCommonKeyType)) {
        if (const auto genre = MediaKinds::defaultGenre(kind))
            metadata.insert(AVMetadataCommonKeyType, *genre);
    }
    record.insert(metadataKey, metadata);
    return record;
}

} // namespace tolvane

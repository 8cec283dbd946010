#include "ImportRecord.h"

#include "imaging/ImageDecoder.h"
#include "imaging/THEOSImage.h"
#include "import/IntegerValue.h"
#include "import/MediaKinds.h"
#include "import/MetadataReader.h"
#include "platform/CurrentYear.h"
#include "platform/Device.h"
#include "platform/MetadataKeys.h"
#include "platform/PathString.h"
#include "platform/Paths.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

namespace tolvane {

namespace {

// The record's own keys.
const QString mediaKindKey = QStringLiteral("mediaKind");
const QString metadataKey = QStringLiteral("metadata");
const QString pathKey = QStringLiteral("path");
const QString isNotOpenInKey = QStringLiteral("isNotOpenIn");

const QString separator = QStringLiteral(" - ");

std::optional<Tags> readTags(const ImportRecord::MetadataSource& source, const QString& path) {
    if (source)
        return source(path);
    if (path.isEmpty())
        return std::nullopt;
    const Result<Tags> tags = MetadataReader::tagsForFile(path);
    ignoreFailure(tags, "a record whose path is not an ordinary file keeps the values it has");
    return tags ? std::optional<Tags>(*tags) : std::nullopt;
}

// A text of the record as its dictionary gave it: anything scalar by its text.
TagValue<QString> givenText(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::QVariantMap:
    case QMetaType::QVariantList:
    case QMetaType::QByteArray:
        return TagValue<QString>::read(std::nullopt, value);
    default:
        return TagValue<QString>::read(value.toString(), value);
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

} // namespace

ImportRecord ImportRecord::fromDictionary(const QVariantMap& dictionary) {
    ImportRecord record;
    record.others = dictionary;
    if (const auto kind = record.others.find(mediaKindKey); kind != record.others.end()) {
        record.mediaKind = givenText(*kind);
        record.others.erase(kind);
    }
    if (const auto path = record.others.find(pathKey); path != record.others.end()) {
        record.path = givenText(*path);
        record.others.erase(path);
    }
    // A "metadata" that is not a dictionary is kept as it came, among the other keys.
    const auto metadata = record.others.find(metadataKey);
    record.hasMetadata =
        metadata != record.others.end() && metadata->typeId() == QMetaType::QVariantMap;
    if (record.hasMetadata) {
        record.metadata = Tags::fromDictionary(metadata->toMap());
        record.others.erase(metadata);
    }
    if (const auto notOpenIn = record.others.find(isNotOpenInKey);
        notOpenIn != record.others.end()) {
        record.isNotOpenIn = true;
        record.m_isNotOpenInGiven = *notOpenIn;
        record.others.erase(notOpenIn);
    }
    return record;
}

QVariantMap ImportRecord::toDictionary() const {
    QVariantMap dictionary = others;
    const auto insert = [&dictionary](const QString& key, const TagValue<QString>& value) {
        if (value.given())
            dictionary.insert(key, *value.given());
        else if (value)
            dictionary.insert(key, *value);
    };
    insert(mediaKindKey, mediaKind);
    insert(pathKey, path);
    if (hasMetadata)
        dictionary.insert(metadataKey, metadata.toDictionary());
    if (isNotOpenIn)
        dictionary.insert(isNotOpenInKey, m_isNotOpenInGiven.value_or(QVariant(1)));
    return dictionary;
}

QString ImportRecord::kind() const {
    const QString text = mediaKind.value_or(QString());
    return text.isEmpty() ? MediaKinds::song : text;
}

std::pair<QString, QString> ImportRecord::splitArtistAndTitle(const QString& name) {
    if (!name.contains(separator))
        return {QString(QLatin1String("")), name};
    QStringList pieces = name.split(separator);
    const QString artist = pieces.takeFirst().trimmed();
    return {artist, pieces.join(separator).trimmed()};
}

std::optional<Tags> ImportRecord::noTags(const QString& path) {
    Q_UNUSED(path);
    return std::nullopt;
}

ImportRecord ImportRecord::fromHandoffRecord(const QVariantMap& handoff, const QString& mediaKind,
                                             const MetadataSource& readMetadata) {
    return fromHandoffRecord(handoff, mediaKind, Device::current().scale(), readMetadata);
}

ImportRecord ImportRecord::fromHandoffRecord(const QVariantMap& handoff, const QString& mediaKind,
                                             std::optional<qreal> imageScale,
                                             const MetadataSource& readMetadata) {
    const QString kind = mediaKind.isEmpty() ? MediaKinds::song : mediaKind;
    const bool isVideo = handoff.contains(QStringLiteral("isVideo"));

    Tags metadata;
    const QString handedGenre = handoff.value(QStringLiteral("genre")).toString();
    if (!handedGenre.isEmpty())
        metadata.genre = handedGenre;
    else
        metadata.genre = MediaKinds::defaultGenre(kind);

    const QVariant handedYear = handoff.value(QStringLiteral("year"));
    metadata.year = Tags::Year(handedYear.isValid() ? integerValue(handedYear) : currentYear());

    const QVariant handedName = handoff.value(QStringLiteral("name"));
    metadata.artist = QString(QLatin1String(""));
    if (handedName.isValid())
        metadata.title = PathString::deletingPathExtension(handedName.toString());

    if (isVideo && metadata.title) {
        const auto [splitArtist, splitTitle] = splitArtistAndTitle(*metadata.title);
        metadata.artist = splitArtist;
        metadata.title = splitTitle;
    }
    if (imageScale && isVideo) {
        // A thumbnail that cannot be read leaves the record without artwork.
        const Result<QImage> thumbnail =
            ImageDecoder::decodeFile(handoff.value(QStringLiteral("iconData")).toString());
        metadata.artwork = encoded(thumbnail.valueOr({}), "JPEG", 100);
    } else if (imageScale) {
        const QImage icon = THEOSImage::imageWithName(
            handoff.value(QStringLiteral("icon")).toString(), Paths::iconsFolder(), *imageScale);
        metadata.artwork = encoded(icon, "PNG", -1);
    }

    const QString filePath = handoff.value(QStringLiteral("filePath")).toString();
    if (!isVideo) {
        if (const std::optional<Tags> fromFile = readTags(readMetadata, filePath))
            metadata.mergeOver(*fromFile);
    }

    ImportRecord record;
    record.mediaKind = kind;
    record.metadata = std::move(metadata);
    record.isNotOpenIn = true;
    if (handoff.contains(QStringLiteral("filePath")))
        record.path = filePath;
    return record;
}

ImportRecord ImportRecord::fromWholeRecord(const QVariantMap& given,
                                           const MetadataSource& readMetadata) {
    ImportRecord record = fromDictionary(given);
    record.mediaKind = record.kind();
    // Without "metadata" the file is not read at all; a "metadata" that is no dictionary counts
    // as an empty one.
    if (!given.contains(metadataKey))
        record.metadata = Tags();
    else if (const std::optional<Tags> fromFile =
                 readTags(readMetadata, record.path.value_or(QString())))
        record.metadata.mergeOver(*fromFile);
    record.hasMetadata = true;
    record.others.remove(metadataKey);
    if (!record.metadata.genre && !record.metadata.genre.given())
        record.metadata.genre = MediaKinds::defaultGenre(record.kind());
    return record;
}

} // namespace tolvane

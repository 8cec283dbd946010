#include "MetadataReader.h"

#include "import/IntegerValue.h"
#include "import/MediaAsset.h"
#include "import/TagLibAsset.h"
#include "platform/MetadataKeys.h"
#include "platform/PathString.h"

#include <QFileInfo>

#include <array>
#include <cmath>

namespace tolvane {

namespace {

bool isString(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

bool isNumber(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Bool:
        return true;
    default:
        return false;
    }
}

// Artwork only from ID3 and iTunes items: the bytes themselves, or the "data" of a picture
// frame dictionary.
void applyArtworkRule(const MetadataItem& item, Tags& tags) {
    if (item.keySpace != AVMetadataKeySpaceID3 && item.keySpace != AVMetadataKeySpaceiTunes)
        return;
    if (item.value.typeId() == QMetaType::QByteArray) {
        tags.artwork = item.value.toByteArray();
        return;
    }
    if (item.value.typeId() == QMetaType::QVariantMap) {
        // An ID3 picture frame arrives as {"data": bytes}; its data is stored as it is.
        const QVariant data = item.value.toMap().value(QStringLiteral("data"));
        if (data.isValid() && !data.isNull())
            tags.artwork = TagValue<QByteArray>::read(data.typeId() == QMetaType::QByteArray
                                                          ? std::optional(data.toByteArray())
                                                          : std::nullopt,
                                                      data);
    }
}

void readId3TrackFrame(const QVariant& value, Tags& tags) {
    if (isString(value))
        tags.trackNumber = qMax<qlonglong>(1, leadingInteger(value.toString()));
    else if (isNumber(value))
        tags.trackNumber = qMax<qlonglong>(1, value.toLongLong());
}

void readiTunesTrackAtom(const QByteArray& dataValue, Tags& tags) {
    std::array<unsigned char, 8> atom{};
    std::copy_n(dataValue.constData(), std::min<qsizetype>(dataValue.size(), 8), atom.begin());
    const auto field = [&atom](size_t at) { return qint16(quint16(atom[at] << 8 | atom[at + 1])); };
    if (atom[2] || atom[3])
        tags.trackNumber = qMax<qlonglong>(1, field(2));
    if (atom[4] || atom[5])
        tags.trackCount = qMax<qlonglong>(1, field(4));
}

} // namespace

quint32 fourCharCode(const QByteArray& code) {
    quint32 value = 0;
    for (qsizetype i = 0; i < 4; ++i)
        value = value << 8 | (i < code.size() ? quint8(code.at(i)) : 0);
    return value;
}

std::optional<QString> MetadataReader::keyText(const QVariant& key) {
    if (isString(key))
        return key.toString();
    if (!isNumber(key))
        return std::nullopt;
    const quint32 code = quint32(key.toULongLong());
    QByteArray bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const char byte = char((code >> shift) & 0xFF);
        if (byte == 0)
            break;
        bytes.append(byte);
    }
    return QString::fromLatin1(bytes);
}

std::optional<Tags> MetadataReader::_metadataForAsset(const MediaAsset* asset) {
    if (!asset)
        return std::nullopt;
    Tags metadata;

    for (const MetadataItem& item : asset->commonMetadata()) {
        if (!item.value.isValid() || item.commonKey.isNull())
            continue;
        if (item.commonKey == AVMetadataCommonKeyArtwork)
            applyArtworkRule(item, metadata);
        else if (isString(item.value))
            metadata.setValue(item.commonKey, item.value);
    }

    for (const QString& format : asset->availableMetadataFormats()) {
        for (const MetadataItem& item : asset->metadataForFormat(format)) {
            if (item.commonKey.isNull()) {
                const std::optional<QString> key = keyText(item.key);
                if (!key)
                    continue;
                if (item.keySpace == AVMetadataKeySpaceID3 &&
                    *key == AVMetadataID3MetadataKeyTrackNumber && item.value.isValid())
                    readId3TrackFrame(item.value, metadata);
                else if (item.keySpace == AVMetadataKeySpaceiTunes &&
                         *key == AVMetadataiTunesMetadataKeyTrackNumber)
                    readiTunesTrackAtom(item.dataValue, metadata);
                continue;
            }
            if (!item.value.isValid())
                continue;
            if (item.commonKey == AVMetadataCommonKeyArtwork)
                applyArtworkRule(item, metadata);
            else if (isString(item.value) || isNumber(item.value))
                metadata.setValue(item.commonKey, item.value);
        }
    }

    if (const std::optional<double> seconds = asset->durationSeconds();
        seconds && std::isfinite(*seconds) && *seconds > 0) {
        const double ms = std::trunc(*seconds * 1000.0);
        if (ms >= 1 && ms < 1.8e19)
            metadata.duration = qulonglong(ms);
    }

    if (metadata.title.value_or(QString()).isEmpty()) {
        QString name = PathString::lastPathComponent(asset->path());
        const QString extension = PathString::pathExtension(name);
        if (!extension.isEmpty())
            name.chop(extension.size() + 1);
        metadata.title = name;
    }
    return metadata;
}

Result<Tags> MetadataReader::tagsForFile(const QString& path) {
    const TagLibAsset asset(path);
    if (!asset.readable() && QFileInfo::exists(path))
        return asset.readable().failure();
    return _metadataForAsset(&asset).value_or(Tags());
}

Result<QVariantMap> MetadataReader::metadataForFile(const QString& path) {
    const Result<Tags> tags = tagsForFile(path);
    if (!tags)
        return tags.failure();
    return tags->toDictionary();
}

} // namespace tolvane

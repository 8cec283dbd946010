#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace tolvane {

// One tag item of a media file as the media framework hands it out.
struct MetadataItem {
    // A string, a number, bytes, or a dictionary (an ID3 picture arrives as {"data": bytes}).
    QVariant value;
    // The common key the item maps to, or a null string for none.
    QString commonKey;
    // The item's own key: a string (an ID3 frame id) or a number (a four-character code).
    QVariant key;
    QString keySpace;
    // The item's raw bytes.
    QByteArray dataValue;
};

// An opened media file: its items mapped to the common key space, its tag formats with their
// items, its duration and its path.
class MediaAsset {
public:
    virtual ~MediaAsset() = default;

    virtual QList<MetadataItem> commonMetadata() const = 0;
    virtual QStringList availableMetadataFormats() const = 0;
    virtual QList<MetadataItem> metadataForFormat(const QString& format) const = 0;
    // Seconds, when known.
    virtual std::optional<double> durationSeconds() const = 0;
    virtual QString path() const = 0;
};

// Key spaces and formats, with the media framework's published values.
inline const QString AVMetadataKeySpaceID3 = QStringLiteral("org.id3");
inline const QString AVMetadataKeySpaceiTunes = QStringLiteral("itsk");
inline const QString AVMetadataKeySpaceQuickTimeUserData = QStringLiteral("udta");
inline const QString AVMetadataKeySpaceQuickTimeMetadata = QStringLiteral("mdta");
inline const QString AVMetadataFormatID3Metadata = QStringLiteral("org.id3");
inline const QString AVMetadataFormatiTunesMetadata = QStringLiteral("com.apple.itunes");
inline const QString AVMetadataFormatQuickTimeUserData = QStringLiteral("com.apple.quicktime.udta");
inline const QString AVMetadataID3MetadataKeyTrackNumber = QStringLiteral("TRCK");
inline const QString AVMetadataiTunesMetadataKeyTrackNumber = QStringLiteral("trkn");

// A four-character code as the number the framework uses for it: the bytes in big-endian
// order ("trkn" -> 0x74726B6E); the copyright sign of "©nam" is the byte 0xA9.
quint32 fourCharCode(const QByteArray& code);

} // namespace tolvane

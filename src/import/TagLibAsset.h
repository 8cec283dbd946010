#pragma once

#include "import/MediaAsset.h"
#include "platform/Result.h"

#include <QHash>

namespace tolvane {

// A media file opened with TagLib, offering the items the platform's media framework would:
//  - ID3v2 (MP3, and WAV and AIFF with an ID3 chunk): format "org.id3", items keyed by frame
//    id in the "org.id3" key space; TIT2, TPE1, TALB, TCON, TYER/TDRC and APIC carry common
//    keys, a picture arriving as {"data": bytes, "MIME": type};
//  - MPEG-4 (.m4a .m4b .m4r .m4v .mp4 .mov and any file that parses as one): format
//    "com.apple.itunes", items keyed by their four-character code as a number in the "itsk"
//    key space; ©nam, ©ART, ©alb, ©gen, ©day and covr carry common keys; trkn carries its raw
//    bytes as dataValue;
//  - other formats TagLib reads (FLAC, Ogg, ...): their title, artist, album, genre, date and
//    first picture as common items in the "org.xiph.vorbis-comment" key space (or the format's
//    own), whose artwork the reader does not take.
// The file is read once, when the asset is made; a file that cannot be parsed has no items,
// and neither has a path that is not an ordinary file (a FIFO, a device, a /proc file), which
// is never handed to the tag library.
class TagLibAsset final : public MediaAsset {
public:
    explicit TagLibAsset(const QString& path);

    QList<MetadataItem> commonMetadata() const override;
    QStringList availableMetadataFormats() const override { return m_formats; }
    QList<MetadataItem> metadataForFormat(const QString& format) const override;
    std::optional<double> durationSeconds() const override { return m_duration; }
    QString path() const override { return m_path; }

    // Whether the file opened as audio or video with readable properties.
    bool isPlayable() const { return m_playable; }
    // Why the file was not read: it is not an ordinary file that can be opened.
    const Status& readable() const { return m_readable; }

private:
    void addItem(const QString& format, MetadataItem item);

    QString m_path;
    Status m_readable;
    QStringList m_formats;
    QHash<QString, QList<MetadataItem>> m_items;
    std::optional<double> m_duration;
    bool m_playable = false;
};

} // namespace tolvane

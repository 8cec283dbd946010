#include "TagLibAsset.h"

#include "import/Mp4Boxes.h"
#include "platform/MetadataKeys.h"
#include "platform/PathString.h"
#include "platform/RegularFile.h"

#include <QFile>

#include <memory>
#include <taglib/aifffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2frame.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

namespace tolvane {

namespace {

const QString xiphKeySpace = QStringLiteral("org.xiph.vorbis-comment");
const QString xiphFormat = QStringLiteral("org.xiph.vorbis-comment");

QString toQString(const TagLib::String& text) {
    return QString::fromStdWString(text.toWString());
}

QByteArray toBytes(const TagLib::ByteVector& bytes) {
    return QByteArray(bytes.data(), qsizetype(bytes.size()));
}

TagLib::FileName fileName(const QString& path) {
    static thread_local QByteArray encoded;
    encoded = QFile::encodeName(path);
    return encoded.constData();
}

// A tag's own key and the common key it stands for.
struct CommonKeyEntry {
    const char* key;
    const QString* commonKey;
};

constexpr CommonKeyEntry id3CommonKeys[] = {
    {"TIT2", &AVMetadataCommonKeyTitle},        {"TPE1", &AVMetadataCommonKeyArtist},
    {"TALB", &AVMetadataCommonKeyAlbumName},    {"TCON", &AVMetadataCommonKeyType},
    {"TDRC", &AVMetadataCommonKeyCreationDate}, {"TYER", &AVMetadataCommonKeyCreationDate},
    {"APIC", &AVMetadataCommonKeyArtwork},
};

constexpr CommonKeyEntry mp4CommonKeys[] = {
    {"\251nam", &AVMetadataCommonKeyTitle},        {"\251ART", &AVMetadataCommonKeyArtist},
    {"\251alb", &AVMetadataCommonKeyAlbumName},    {"\251gen", &AVMetadataCommonKeyType},
    {"\251day", &AVMetadataCommonKeyCreationDate}, {"covr", &AVMetadataCommonKeyArtwork},
};

// The common key of a tag key, or a null string for none.
template <typename Key, size_t Count>
QString commonKeyOf(const Key& key, const CommonKeyEntry (&table)[Count]) {
    for (const CommonKeyEntry& entry : table) {
        if (key == entry.key)
            return *entry.commonKey;
    }
    return {};
}

QList<MetadataItem> id3Items(const TagLib::ID3v2::Tag* tag) {
    QList<MetadataItem> items;
    if (!tag)
        return items;
    for (const TagLib::ID3v2::Frame* frame : tag->frameList()) {
        MetadataItem item;
        item.key = QString::fromLatin1(frame->frameID().data(), qsizetype(frame->frameID().size()));
        item.keySpace = AVMetadataKeySpaceID3;
        item.commonKey = commonKeyOf(frame->frameID(), id3CommonKeys);
        const auto* picture = frame->frameID() == "APIC"
                                  ? dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame)
                                  : nullptr;
        if (picture) {
            item.value = QVariantMap{
                {QStringLiteral("data"), toBytes(picture->picture())},
                {QStringLiteral("MIME"), toQString(picture->mimeType())},
            };
        } else {
            item.value = toQString(frame->toString());
        }
        items.append(item);
    }
    return items;
}

// Bytes 0-1 reserved, 2-3 number, 4-5 count, 6-7 reserved, all big-endian.
QByteArray trackAtomFromPair(const TagLib::MP4::Item::IntPair& pair) {
    QByteArray atom(8, '\0');
    atom[2] = char((pair.first >> 8) & 0xFF);
    atom[3] = char(pair.first & 0xFF);
    atom[4] = char((pair.second >> 8) & 0xFF);
    atom[5] = char(pair.second & 0xFF);
    return atom;
}

QList<MetadataItem> mp4Items(const TagLib::MP4::Tag* tag, const Mp4Boxes& boxes) {
    QList<MetadataItem> items;
    if (!tag)
        return items;
    const TagLib::MP4::ItemMap& map = tag->itemMap();
    for (auto it = map.begin(); it != map.end(); ++it) {
        const TagLib::String& name = it->first;
        const TagLib::MP4::Item& value = it->second;
        const TagLib::ByteVector code = name.data(TagLib::String::Latin1);
        MetadataItem item;
        // Free-form atoms ("----:mean:name") have a text key; the others a four-character code.
        if (code.size() == 4)
            item.key = fourCharCode(toBytes(code));
        else
            item.key = toQString(name);
        item.keySpace = AVMetadataKeySpaceiTunes;
        item.commonKey = commonKeyOf(name, mp4CommonKeys);
        if (name == "covr") {
            const TagLib::MP4::CoverArtList covers = value.toCoverArtList();
            if (covers.isEmpty())
                continue;
            item.value = toBytes(covers.front().data());
        } else if (name == "trkn" || name == "disk") {
            item.dataValue = name == "trkn" && boxes.trackAtomData
                                 ? *boxes.trackAtomData
                                 : trackAtomFromPair(value.toIntPair());
            item.value = item.dataValue;
        } else if (const TagLib::StringList texts = value.toStringList(); !texts.isEmpty()) {
            item.value = toQString(texts.toString(" "));
        } else if (const TagLib::ByteVectorList data = value.toByteVectorList(); !data.isEmpty()) {
            item.value = toBytes(data.front());
        } else {
            item.value = value.toInt();
        }
        items.append(item);
    }
    return items;
}

QList<MetadataItem> propertyItems(const TagLib::PropertyMap& properties,
                                  const std::optional<QByteArray>& picture) {
    static const std::pair<const char*, const QString*> mapping[] = {
        {"TITLE", &AVMetadataCommonKeyTitle},       {"ARTIST", &AVMetadataCommonKeyArtist},
        {"ALBUM", &AVMetadataCommonKeyAlbumName},   {"GENRE", &AVMetadataCommonKeyType},
        {"DATE", &AVMetadataCommonKeyCreationDate},
    };
    QList<MetadataItem> items;
    for (const auto& [name, commonKey] : mapping) {
        const auto found = properties.find(name);
        if (found == properties.end() || found->second.isEmpty())
            continue;
        items.append({toQString(found->second.front()),
                      *commonKey,
                      QString::fromLatin1(name),
                      xiphKeySpace,
                      {}});
    }
    if (picture)
        items.append(
            {*picture, AVMetadataCommonKeyArtwork, QStringLiteral("PICTURE"), xiphKeySpace, {}});
    return items;
}

// The first picture of a FLAC file or of a Xiph comment.
std::optional<QByteArray> firstPicture(TagLib::File* file) {
    TagLib::List<TagLib::FLAC::Picture*> pictures;
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file))
        pictures = flac->pictureList();
    else if (auto* xiph = dynamic_cast<TagLib::Ogg::XiphComment*>(file->tag()))
        pictures = xiph->pictureList();
    if (pictures.isEmpty())
        return std::nullopt;
    return toBytes(pictures.front()->data());
}

bool isMp4Name(const QString& extension) {
    static const QStringList names{
        QStringLiteral("m4a"), QStringLiteral("m4b"), QStringLiteral("m4r"), QStringLiteral("m4v"),
        QStringLiteral("mp4"), QStringLiteral("mov"), QStringLiteral("m4p"), QStringLiteral("3gp")};
    return names.contains(extension);
}

std::optional<double> secondsOf(const TagLib::AudioProperties* properties) {
    if (!properties || properties->lengthInMilliseconds() <= 0)
        return std::nullopt;
    return properties->lengthInMilliseconds() / 1000.0;
}

} // namespace

TagLibAsset::TagLibAsset(const QString& path)
    : m_path(path)
    , m_readable(RegularFile::check(path)) {
    if (!m_readable)
        return;
    const QString extension = PathString::pathExtension(path).toLower();
    const TagLib::FileName name = fileName(path);
    constexpr auto style = TagLib::AudioProperties::Average;

    // MP3, WAV and AIFF carry ID3v2 tags; each is opened with its own TagLib class.
    const auto readId3File = [this](const auto& file, const TagLib::ID3v2::Tag* tag) {
        m_duration = secondsOf(file.audioProperties());
        m_playable = file.audioProperties() != nullptr;
        for (const MetadataItem& item : id3Items(tag))
            addItem(AVMetadataFormatID3Metadata, item);
    };
    if (extension == QLatin1String("mp3")) {
        TagLib::MPEG::File file(name, true, style);
        if (file.isValid())
            readId3File(file, file.hasID3v2Tag() ? file.ID3v2Tag() : nullptr);
        return;
    }
    if (isMp4Name(extension)) {
        TagLib::MP4::File file(name, true, style);
        if (!file.isValid())
            return;
        const Mp4Boxes boxes = Mp4Boxes::read(path, qint64(file.length()));
        m_duration =
            boxes.durationSeconds ? boxes.durationSeconds : secondsOf(file.audioProperties());
        m_playable = m_duration.has_value();
        for (const MetadataItem& item : mp4Items(file.tag(), boxes))
            addItem(AVMetadataFormatiTunesMetadata, item);
        return;
    }
    if (extension == QLatin1String("wav")) {
        TagLib::RIFF::WAV::File file(name, true, style);
        if (file.isValid())
            readId3File(file, file.hasID3v2Tag() ? file.ID3v2Tag() : nullptr);
        return;
    }
    if (extension == QLatin1String("aif") || extension == QLatin1String("aiff") ||
        extension == QLatin1String("aifc")) {
        TagLib::RIFF::AIFF::File file(name, true, style);
        if (file.isValid())
            readId3File(file, file.hasID3v2Tag() ? file.tag() : nullptr);
        return;
    }

    TagLib::FileRef file(name, true, style);
    if (file.isNull())
        return;
    m_duration = secondsOf(file.audioProperties());
    m_playable = file.audioProperties() != nullptr;
    if (file.tag()) {
        for (const MetadataItem& item :
             propertyItems(file.file()->properties(), firstPicture(file.file())))
            addItem(xiphFormat, item);
    }
}

void TagLibAsset::addItem(const QString& format, MetadataItem item) {
    if (!m_items.contains(format))
        m_formats.append(format);
    m_items[format].append(std::move(item));
}

QList<MetadataItem> TagLibAsset::commonMetadata() const {
    QList<MetadataItem> common;
    for (const QString& format : m_formats) {
        for (const MetadataItem& item : m_items.value(format)) {
            if (!item.commonKey.isNull())
                common.append(item);
        }
    }
    return common;
}

QList<MetadataItem> TagLibAsset::metadataForFormat(const QString& format) const {
    return m_items.value(format);
}

} // namespace tolvane

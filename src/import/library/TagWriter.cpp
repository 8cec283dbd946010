#include "import/library/TagWriter.h"

#include "import/MediaKinds.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <optional>
#include <taglib/aifffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/podcastframe.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tfilestream.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

namespace tolvane {

namespace {

// A text to write: nothing when the tags do not carry it (the file keeps its own value), empty
// when they carry an empty text (the file's value goes).
using Text = std::optional<QString>;

// The values of an import as the writers need them; 0 means "not given" for numbers.
struct Values {
    QString kind;
    Text title, artist, album, genre, year;
    int track = 0, trackCount = 0;
    Text podcastName, seriesName;
    int season = 0, episode = 0;
    QByteArray artwork;
    bool png = false;

    bool isPodcast() const {
        return kind == MediaKinds::podcast || kind == MediaKinds::videoPodcast;
    }
    bool isTvEpisode() const { return kind == MediaKinds::tvEpisode; }
    // A podcast's album is its name when the tags give no album of their own.
    Text albumOrPodcast() const {
        return isPodcast() && (!album || album->isEmpty()) ? podcastName : album;
    }
};

TagLib::String str(const QString& text) {
    return TagLib::String(text.toStdString(), TagLib::String::UTF8);
}

Text textValue(const TagValue<QString>& tag) {
    if (!tag)
        return std::nullopt;
    return tag->trimmed();
}

int number(const TagValue<qlonglong>& tag) {
    return int(std::clamp<qlonglong>(tag.value_or(0), 0, 1 << 30));
}

Values valuesOf(const QString& kind, const Tags& tags) {
    Values values;
    values.kind = kind;
    values.title = textValue(tags.title);
    values.artist = textValue(tags.artist);
    values.album = textValue(tags.albumName);
    values.genre = textValue(tags.genre);
    // A year that is not one (0, a text without digits) leaves the file's date alone.
    if (const std::optional<qlonglong> year = tags.yearNumber(); year && *year > 0 && *year < 10000)
        values.year = QString::number(*year);
    values.track = number(tags.trackNumber);
    values.trackCount = number(tags.trackCount);
    values.podcastName = textValue(tags.podcastName);
    values.seriesName = textValue(tags.seriesName);
    values.season = number(tags.seasonNumber);
    values.episode = number(tags.episodeNumber);
    values.artwork = tags.artwork.value_or(QByteArray());
    values.png = values.artwork.startsWith("\x89PNG");
    return values;
}

TagLib::ByteVector bytes(const QByteArray& data) {
    return TagLib::ByteVector(data.constData(), unsigned(data.size()));
}

// The media type byte the library reads from "stik".
unsigned char mediaTypeByte(const QString& kind) {
    if (kind == MediaKinds::musicVideo)
        return 6;
    if (kind == MediaKinds::featureMovie)
        return 9;
    if (kind == MediaKinds::tvEpisode)
        return 10;
    if (kind == MediaKinds::ringtone)
        return 14;
    if (kind == MediaKinds::podcast || kind == MediaKinds::videoPodcast)
        return 21;
    return 1;
}

void setText(TagLib::MP4::Tag* tag, const char* key, const Text& value) {
    if (!value)
        return;
    if (value->isEmpty())
        tag->removeItem(key);
    else
        tag->setItem(key, TagLib::StringList(str(*value)));
}

void writeMp4(TagLib::MP4::Tag* tag, const Values& tags) {
    setText(tag, "\251nam", tags.title);
    setText(tag, "\251ART", tags.artist);
    setText(tag, "\251alb", tags.albumOrPodcast());
    setText(tag, "\251gen", tags.genre);
    setText(tag, "\251day", tags.year);
    if (tags.track > 0)
        tag->setItem("trkn", TagLib::MP4::Item(tags.track, tags.trackCount));
    tag->setItem("stik", TagLib::MP4::Item(mediaTypeByte(tags.kind)));
    if (tags.isTvEpisode()) {
        setText(tag, "tvsh", tags.seriesName);
        tag->setItem("tvsn", TagLib::MP4::Item(unsigned(qMax(1, tags.season))));
        tag->setItem("tves", TagLib::MP4::Item(unsigned(qMax(1, tags.episode))));
    }
    if (tags.isPodcast()) {
        tag->setItem("pcst", TagLib::MP4::Item(true));
        setText(tag, "tvsh", tags.podcastName);
        if (tags.episode > 0)
            tag->setItem("tves", TagLib::MP4::Item(unsigned(tags.episode)));
    }
    if (!tags.artwork.isEmpty()) {
        TagLib::MP4::CoverArtList covers;
        covers.append(TagLib::MP4::CoverArt(tags.png ? TagLib::MP4::CoverArt::PNG
                                                     : TagLib::MP4::CoverArt::JPEG,
                                            bytes(tags.artwork)));
        tag->setItem("covr", TagLib::MP4::Item(covers));
    }
}

void setFrame(TagLib::ID3v2::Tag* tag, const char* id, const Text& value) {
    if (!value)
        return;
    tag->removeFrames(id);
    if (value->isEmpty())
        return;
    auto* frame = new TagLib::ID3v2::TextIdentificationFrame(id, TagLib::String::UTF8);
    frame->setText(str(*value));
    tag->addFrame(frame); // the tag owns its frames
}

void setUserText(TagLib::ID3v2::Tag* tag, const QString& description, const Text& value) {
    if (!value)
        return;
    if (auto* old = TagLib::ID3v2::UserTextIdentificationFrame::find(tag, str(description)))
        tag->removeFrame(old);
    if (value->isEmpty())
        return;
    auto* frame = new TagLib::ID3v2::UserTextIdentificationFrame(TagLib::String::UTF8);
    frame->setDescription(str(description));
    frame->setText(str(*value));
    tag->addFrame(frame);
}

void writeId3(TagLib::ID3v2::Tag* tag, const Values& tags) {
    setFrame(tag, "TIT2", tags.title);
    setFrame(tag, "TPE1", tags.artist);
    setFrame(tag, "TALB", tags.albumOrPodcast());
    setFrame(tag, "TCON", tags.genre);
    if (tags.year) {
        // The year replaces the date in whichever frame the file's version keeps it.
        tag->removeFrames("TYER");
        setFrame(tag, "TDRC", tags.year);
    }
    if (tags.track > 0)
        setFrame(tag, "TRCK",
                 tags.trackCount > 0 ? QStringLiteral("%1/%2").arg(tags.track).arg(tags.trackCount)
                                     : QString::number(tags.track));
    if (tags.isPodcast()) {
        tag->removeFrames("PCST");
        tag->addFrame(new TagLib::ID3v2::PodcastFrame());
        setUserText(tag, QStringLiteral("PODCAST"), tags.podcastName);
    }
    if (tags.isTvEpisode()) {
        setUserText(tag, QStringLiteral("SERIES"), tags.seriesName);
        setUserText(tag, QStringLiteral("SEASON"), QString::number(qMax(1, tags.season)));
    }
    if (tags.episode > 0 && (tags.isPodcast() || tags.isTvEpisode()))
        setUserText(tag, QStringLiteral("EPISODE"), QString::number(tags.episode));
    if (!tags.artwork.isEmpty()) {
        tag->removeFrames("APIC");
        auto* picture = new TagLib::ID3v2::AttachedPictureFrame();
        picture->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
        picture->setMimeType(tags.png ? "image/png" : "image/jpeg");
        picture->setPicture(bytes(tags.artwork));
        tag->addFrame(picture);
    }
}

TagLib::PropertyMap propertiesOf(TagLib::PropertyMap properties, const Values& tags) {
    const auto set = [&properties](const char* key, const Text& value) {
        if (!value)
            return;
        if (value->isEmpty())
            properties.erase(key);
        else
            properties.replace(key, TagLib::StringList(str(*value)));
    };
    set("TITLE", tags.title);
    set("ARTIST", tags.artist);
    set("ALBUM", tags.albumOrPodcast());
    set("GENRE", tags.genre);
    set("DATE", tags.year);
    if (tags.track > 0)
        set("TRACKNUMBER", QString::number(tags.track));
    if (tags.isPodcast()) {
        set("PODCAST", tags.podcastName);
    }
    if (tags.isTvEpisode()) {
        set("SHOW", tags.seriesName);
        set("SEASONNUMBER", QString::number(qMax(1, tags.season)));
    }
    if (tags.episode > 0 && (tags.isPodcast() || tags.isTvEpisode()))
        set("EPISODENUMBER", QString::number(tags.episode));
    return properties;
}

TagLib::FLAC::Picture* flacPicture(const Values& tags) {
    auto* picture = new TagLib::FLAC::Picture();
    picture->setType(TagLib::FLAC::Picture::FrontCover);
    picture->setMimeType(tags.png ? "image/png" : "image/jpeg");
    picture->setData(bytes(tags.artwork));
    return picture;
}

void writeXiph(TagLib::Ogg::XiphComment* comment, const Values& tags) {
    comment->setProperties(propertiesOf(comment->properties(), tags));
    if (!tags.artwork.isEmpty()) {
        comment->removeAllPictures();
        comment->addPicture(flacPicture(tags));
    }
}

// Bytes the tags of a record may add to a file: their text (as UTF-16, the widest encoding a
// writer may choose), the artwork, and room for frames, atoms and padding.
qint64 growthAllowance(const Values& tags) {
    qint64 text = 0;
    for (const Text* value : {&tags.title, &tags.artist, &tags.album, &tags.genre, &tags.year,
                              &tags.podcastName, &tags.seriesName})
        text += 2 * (*value ? (*value)->size() : 0);
    return 2 * text + tags.artwork.size() + 256 * 1024;
}

// Thrown out of the tag library's save when it would grow the file too far.
struct GrowthRefused {};

// A file stream that never lets the file grow past a length. A write that would is refused by
// throwing, which ends the save at once: a damaged offset table can otherwise keep the tag
// library writing for billions of rounds. Nothing of the file is used after that.
class BoundedFileStream final : public TagLib::FileStream {
public:
    BoundedFileStream(TagLib::FileName name, long limit)
        : TagLib::FileStream(name)
        , m_limit(limit) {}

    void writeBlock(const TagLib::ByteVector& data) override {
        if (allows(qMax<qint64>(length(), qint64(tell()) + data.size())))
            TagLib::FileStream::writeBlock(data);
    }
    void insert(const TagLib::ByteVector& data, unsigned long start,
                unsigned long replace) override {
        if (allows(qint64(length()) + data.size() - qint64(replace)))
            TagLib::FileStream::insert(data, start, replace);
    }
    void truncate(long newLength) override {
        if (allows(newLength))
            TagLib::FileStream::truncate(newLength);
    }

private:
    bool allows(qint64 newLength) const {
        if (newLength > m_limit)
            throw GrowthRefused();
        return true;
    }

    long m_limit;
};

// Writes the tags into the file in its format's own way; false when the tag library fails.
bool save(TagLib::File* file, const Values& tags) {
    bool saved = false;
    if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
        writeMp4(mp4->tag(), tags);
        saved = mp4->save();
    } else if (auto* mp3 = dynamic_cast<TagLib::MPEG::File*>(file)) {
        writeId3(mp3->ID3v2Tag(true), tags);
        saved = mp3->save(TagLib::MPEG::File::ID3v2, TagLib::File::StripOthers, TagLib::ID3v2::v4);
    } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
        writeId3(wav->ID3v2Tag(), tags);
        saved =
            wav->save(TagLib::RIFF::WAV::File::ID3v2, TagLib::File::StripNone, TagLib::ID3v2::v4);
    } else if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) {
        writeId3(aiff->tag(), tags);
        saved = aiff->save();
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        // FLAC keeps pictures in blocks of their own, not in the comment.
        TagLib::Ogg::XiphComment* comment = flac->xiphComment(true);
        comment->setProperties(propertiesOf(comment->properties(), tags));
        if (!tags.artwork.isEmpty()) {
            flac->removePictures();
            flac->addPicture(flacPicture(tags));
        }
        saved = flac->save();
    } else if (auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(file)) {
        writeXiph(vorbis->tag(), tags);
        saved = vorbis->save();
    } else if (auto* opus = dynamic_cast<TagLib::Ogg::Opus::File*>(file)) {
        writeXiph(opus->tag(), tags);
        saved = opus->save();
    } else {
        file->setProperties(propertiesOf(file->properties(), tags));
        saved = file->save();
    }
    return saved;
}

} // namespace

Result<TagWriter::Written> TagWriter::write(const QString& path, const QString& kind,
                                            const Tags& given) {
    const Values tags = valuesOf(kind, given);
    const QByteArray encodedPath = QFile::encodeName(path);
    const qint64 size = QFileInfo(path).size();
    BoundedFileStream stream(
        encodedPath.constData(),
        long(qMin<qint64>(size + growthAllowance(tags), std::numeric_limits<long>::max())));
    if (!stream.isOpen() || stream.readOnly())
        return Failure(QStringLiteral("the copy cannot be opened for writing"), path);
    TagLib::FileRef ref(&stream, false);
    if (ref.isNull())
        return Written::NotTaggable;
    try {
        if (!save(ref.file(), tags))
            return Failure(QStringLiteral("the tags cannot be written into the copy"), path);
    } catch (const GrowthRefused&) {
        return Failure(QStringLiteral("writing the tags would have made the copy grow past %1 "
                                      "bytes; the file is damaged")
                           .arg(size + growthAllowance(tags)),
                       path);
    }
    return Written::Tags;
}

} // namespace tolvane

// Media kinds, the metadata rules over an asset's items, real files read through TagLib, and
// the two ways an import record is made.

#include "TestSupport.h"
#include "import/ArtworkSizing.h"
#include "import/ImportRecord.h"
#include "import/MediaAsset.h"
#include "import/MediaKinds.h"
#include "import/MetadataReader.h"
#include "platform/CurrentYear.h"
#include "platform/Device.h"
#include "platform/MetadataKeys.h"
#include "platform/Paths.h"

#include <QBuffer>
#include <QImageReader>
#include <QTemporaryDir>
#include <QTest>

using namespace tolvane;
using namespace tolvane::test;

namespace {

QString fixture(const char* name) {
    return QStringLiteral(TOLVANE_MEDIA_FIXTURES "/") + s(name);
}

// An asset whose items a test lays out, to hold the reading rules to exact inputs.
class ListedAsset final : public MediaAsset {
public:
    QList<MetadataItem> common;
    QList<std::pair<QString, QList<MetadataItem>>> formats;
    std::optional<double> seconds;
    QString file = QStringLiteral("/music/My Clip.m4v");

    QList<MetadataItem> commonMetadata() const override { return common; }
    QStringList availableMetadataFormats() const override {
        QStringList names;
        for (const auto& format : formats)
            names.append(format.first);
        return names;
    }
    QList<MetadataItem> metadataForFormat(const QString& name) const override {
        for (const auto& format : formats) {
            if (format.first == name)
                return format.second;
        }
        return {};
    }
    std::optional<double> durationSeconds() const override { return seconds; }
    QString path() const override { return file; }
};

MetadataItem commonItem(const QString& key, const QVariant& value, const QString& space) {
    return {value, key, QVariant(), space, {}};
}

MetadataItem trackAtom(const QByteArray& bytes) {
    return {bytes, QString(), fourCharCode("trkn"), AVMetadataKeySpaceiTunes, bytes};
}

MetadataItem id3Track(const QVariant& value) {
    return {value, QString(), s("TRCK"), AVMetadataKeySpaceID3, {}};
}

} // namespace

class TestImport : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void kinds_data();
    void kinds();
    void keyText_data();
    void keyText();
    void readingRules_data();
    void readingRules();
    void files_data();
    void files();
    void handoffRecord_data();
    void handoffRecord();
    void wholeRecord_data();
    void wholeRecord();
    void artworkSizing_data();
    void artworkSizing();
    void artworkFromBytes();
    void recordRoundTrip_data();
    void recordRoundTrip();
    void fieldSetAgainIsWrittenTyped();
};

// The same dictionary, value types included (QVariant's own == takes 3 and "3"... as equal
// numbers, and int 3 and 3.0 too).
bool sameDictionary(const QVariantMap& a, const QVariantMap& b, QString* where) {
    if (a.keys() != b.keys()) {
        *where = a.keys().join(u',') + s(" / ") + b.keys().join(u',');
        return false;
    }
    for (auto it = a.cbegin(); it != a.cend(); ++it) {
        const QVariant& other = b.value(it.key());
        const bool same = it->typeId() == QMetaType::QVariantMap
                              ? other.typeId() == QMetaType::QVariantMap &&
                                    sameDictionary(it->toMap(), other.toMap(), where)
                              : it->typeId() == other.typeId() && *it == other;
        if (!same) {
            if (where->isEmpty())
                *where = it.key();
            return false;
        }
    }
    return true;
}

void TestImport::kinds_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QList<int>>("fields");
    QTest::addColumn<QString>("genre");
    using F = ImportField;
    QTest::newRow("song") << s("song")
                          << QList<int>{F::Track, F::Title, F::Artist, F::Album, F::Genre, F::Year}
                          << s("Music");
    QTest::newRow("music video") << s("music-video") << QList<int>{F::Track, F::Title, F::Artist,
                                                                   F::Album, F::Genre, F::Year}
                                 << s("Music Video");
    QTest::newRow("podcast") << s("podcast")
                             << QList<int>{F::Title, F::PodcastName, F::Episode, F::Genre, F::Year}
                             << s("Podcast");
    QTest::newRow("video podcast has no genre")
        << s("videoPodcast") << QList<int>{F::Title, F::PodcastName, F::Episode, F::Genre, F::Year}
        << QString();
    QTest::newRow("tv") << s("tv-episode")
                        << QList<int>{F::Title, F::Series, F::Season, F::Episode, F::Year}
                        << s("TV Episode");
    QTest::newRow("movie") << s("feature-movie") << QList<int>{F::Title, F::Year} << s("Movie");
    QTest::newRow("ringtone has no rows") << s("ringtone") << QList<int>{} << s("Ringtone");
    QTest::newRow("unknown") << s("audiobook") << QList<int>{} << QString();
}

void TestImport::kinds() {
    QFETCH(QString, kind);
    QFETCH(QList<int>, fields);
    QFETCH(QString, genre);
    QCOMPARE(MediaKinds::fieldsForKind(kind), fields);
    QCOMPARE(MediaKinds::defaultGenre(kind).value_or(QString()), genre);
    QCOMPARE(MediaKinds::humanizedMediaKinds().size(), 6);
    QCOMPARE(MediaKinds::humanizedMediaKinds().contains(kind),
             kind != s("videoPodcast") && kind != s("audiobook"));
    // Kinds named together share one list.
    QCOMPARE(&MediaKinds::fieldsForKind(s("song")), &MediaKinds::fieldsForKind(s("music-video")));
    QCOMPARE(&MediaKinds::fieldsForKind(s("podcast")),
             &MediaKinds::fieldsForKind(s("videoPodcast")));
}

void TestImport::keyText_data() {
    QTest::addColumn<QVariant>("key");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("exists");
    QTest::newRow("string") << QVariant(s("TRCK")) << s("TRCK") << true;
    QTest::newRow("code") << QVariant(fourCharCode("trkn")) << s("trkn") << true;
    QTest::newRow("copyright sign") << QVariant(fourCharCode("\xA9nam")) << s("\u00A9nam") << true;
    QTest::newRow("stops at a zero byte") << QVariant(quint32(0x61620063)) << s("ab") << true;
    QTest::newRow("high bits beyond 32 are dropped")
        << QVariant(qulonglong(0x1'7472'6B6EULL)) << s("trkn") << true;
    QTest::newRow("bytes are no key") << QVariant(QByteArray("trkn")) << QString() << false;
}

void TestImport::keyText() {
    QFETCH(QVariant, key);
    QFETCH(QString, text);
    QFETCH(bool, exists);
    const std::optional<QString> found = MetadataReader::keyText(key);
    QCOMPARE(found.has_value(), exists);
    QCOMPARE(found.value_or(QString()), text);
}

void TestImport::readingRules_data() {
    QTest::addColumn<QList<MetadataItem>>("common");
    QTest::addColumn<QList<MetadataItem>>("formatItems");
    QTest::addColumn<QVariantMap>("expected");

    const QString id3 = AVMetadataKeySpaceID3;
    const QString itunes = AVMetadataKeySpaceiTunes;
    const QByteArray art("JPEGBYTES");
    const QVariantMap title{{s("title"), s("My Clip")}};
    const auto with = [&title](QVariantMap extra) {
        for (auto it = title.cbegin(); it != title.cend(); ++it)
            if (!extra.contains(it.key()))
                extra.insert(it.key(), it.value());
        return extra;
    };

    QTest::newRow("title from common, track from the frame")
        << QList<MetadataItem>{commonItem(s("title"), s("A"), id3)}
        << QList<MetadataItem>{id3Track(s("3/10"))}
        << QVariantMap{{s("title"), s("A")}, {s("trackNumber"), 3}};
    QTest::newRow("empty and zero frames give track 1")
        << QList<MetadataItem>{} << QList<MetadataItem>{id3Track(s(""))}
        << with({{s("trackNumber"), 1}});
    QTest::newRow("numeric frame below 1")
        << QList<MetadataItem>{} << QList<MetadataItem>{id3Track(-4)}
        << with({{s("trackNumber"), 1}});
    QTest::newRow("atom with count only")
        << QList<MetadataItem>{}
        << QList<MetadataItem>{trackAtom(QByteArray::fromHex("00000000000c0000"))}
        << with({{s("trackCount"), 12}});
    QTest::newRow("atom 0xFFFF is 1")
        << QList<MetadataItem>{}
        << QList<MetadataItem>{trackAtom(QByteArray::fromHex("0000ffff00000000"))}
        << with({{s("trackNumber"), 1}});
    QTest::newRow("short atom padded with zeros")
        << QList<MetadataItem>{} << QList<MetadataItem>{trackAtom(QByteArray::fromHex("000005"))}
        << with({{s("trackNumber"), 0x500}});
    QTest::newRow("numbers only in the format pass")
        << QList<MetadataItem>{commonItem(s("creationDate"), 2011, itunes)} << QList<MetadataItem>{}
        << with({});
    QTest::newRow("the format pass takes the number")
        << QList<MetadataItem>{commonItem(s("creationDate"), 2011, itunes)}
        << QList<MetadataItem>{commonItem(s("creationDate"), 2011, itunes)}
        << with({{s("creationDate"), 2011}});
    QTest::newRow("format items override common ones")
        << QList<MetadataItem>{commonItem(s("artist"), s("Common"), id3)}
        << QList<MetadataItem>{commonItem(s("artist"), s("Format"), id3)}
        << with({{s("artist"), s("Format")}});
    QTest::newRow("picture frame dictionary")
        << QList<MetadataItem>{commonItem(s("artwork"), QVariantMap{{s("data"), art}}, id3)}
        << QList<MetadataItem>{} << with({{s("imageData"), art}});
    QTest::newRow("artwork from user data is ignored")
        << QList<MetadataItem>{commonItem(s("artwork"), art, AVMetadataKeySpaceQuickTimeUserData)}
        << QList<MetadataItem>{commonItem(s("artwork"), art, AVMetadataKeySpaceQuickTimeMetadata)}
        << with({});
    QTest::newRow("empty title falls back to the file name")
        << QList<MetadataItem>{commonItem(s("title"), s(""), itunes)} << QList<MetadataItem>{}
        << title;
    QTest::newRow("item without value is skipped")
        << QList<MetadataItem>{commonItem(s("title"), QVariant(), id3)}
        << QList<MetadataItem>{id3Track(QVariant())} << title;
}

void TestImport::readingRules() {
    QFETCH(QList<MetadataItem>, common);
    QFETCH(QList<MetadataItem>, formatItems);
    QFETCH(QVariantMap, expected);
    ListedAsset asset;
    asset.common = common;
    asset.formats = {{s("first"), formatItems}};
    QCOMPARE(MetadataReader::_metadataForAsset(&asset)->toDictionary(), expected);

    asset.seconds = 3.0219;
    expected.insert(s("duration"), qulonglong(3021));
    QCOMPARE(MetadataReader::_metadataForAsset(&asset)->toDictionary(), expected);
    QVERIFY(!MetadataReader::_metadataForAsset(nullptr));
}

void TestImport::files_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QVariantMap>("expected");
    QTest::addColumn<bool>("hasArtwork");
    QTest::addColumn<bool>("hasDuration");

    QTest::newRow("ID3v2.4") << fixture("id3v24.mp3")
                             << QVariantMap{{s("title"), s("Harbour Song")},
                                            {s("artist"), s("The Pilots")},
                                            {s("albumName"), s("Tide Tables")},
                                            {s("type"), s("Folk")},
                                            {s("creationDate"), s("2011-03-05")},
                                            {s("trackNumber"), 3}}
                             << true << true;
    QTest::newRow("ID3v2.3") << fixture("id3v23.mp3")
                             << QVariantMap{{s("title"), s("Old Tag")},
                                            {s("creationDate"), s("1999")},
                                            {s("trackNumber"), 7}}
                             << false << true;
    QTest::newRow("frame 0") << fixture("id3-trck-zero.mp3") << QVariantMap{{s("trackNumber"), 1}}
                             << false << true;
    QTest::newRow("iTunes 3/10") << fixture("track3of10.m4a")
                                 << QVariantMap{{s("title"), s("Harbour Song M4A")},
                                                {s("creationDate"), s("2011")},
                                                {s("trackNumber"), 3},
                                                {s("trackCount"), 10}}
                                 << true << true;
    QTest::newRow("iTunes 0/12") << fixture("track0of12.m4a") << QVariantMap{{s("trackCount"), 12}}
                                 << false << true;
    QTest::newRow("iTunes 0xFFFF")
        << fixture("trackffff.m4a")
        << QVariantMap{{s("trackNumber"), 1}, {s("title"), s("trackffff")}} << false << true;
    QTest::newRow("short atom") << fixture("trkn-short.m4a")
                                << QVariantMap{{s("trackNumber"), 0x500}} << false << true;
    QTest::newRow("video") << fixture("video.m4v") << QVariantMap{{s("artist"), s("Clip Artist")}}
                           << true << true;
    QTest::newRow("video without sound")
        << fixture("video-only.mp4") << QVariantMap{{s("title"), s("Silent Clip")}} << false
        << true;
    QTest::newRow("empty title") << fixture("empty-title.m4a")
                                 << QVariantMap{{s("title"), s("empty-title")}} << false << true;
    QTest::newRow("artwork in user data")
        << fixture("qt-udta-art.mov") << QVariantMap{{s("title"), s("QuickTime Art")}} << false
        << true;
    QTest::newRow("truncated: what could be read")
        << fixture("truncated.mp3") << QVariantMap{{s("title"), s("Harbour Song")}} << false
        << false;
    QTest::newRow("not media") << fixture("not-media.mp3")
                               << QVariantMap{{s("title"), s("not-media")}} << false << false;
    QTest::newRow("empty file") << fixture("zero.m4a") << QVariantMap{{s("title"), s("zero")}}
                                << false << false;
    QTest::newRow("missing file") << fixture("gone.mp3") << QVariantMap{{s("title"), s("gone")}}
                                  << false << false;
    QTest::newRow("FLAC") << fixture("tags.flac")
                          << QVariantMap{{s("title"), s("Flac Title")},
                                         {s("type"), s("Classical")},
                                         {s("creationDate"), s("2005")}}
                          << false << true;
    QTest::newRow("WAV with ID3") << fixture("id3.wav")
                                  << QVariantMap{{s("title"), s("Wave Title")},
                                                 {s("artist"), s("Pcm Artist")}}
                                  << false << true;
    QTest::newRow("AIFF with ID3")
        << fixture("id3.aiff") << QVariantMap{{s("title"), s("Aiff Title")}} << false << true;
}

void TestImport::files() {
    QFETCH(QString, file);
    QFETCH(QVariantMap, expected);
    QFETCH(bool, hasArtwork);
    QFETCH(bool, hasDuration);
    const QVariantMap metadata = MetadataReader::metadataForFile(file).valueOr({});
    for (auto it = expected.cbegin(); it != expected.cend(); ++it)
        QCOMPARE(metadata.value(it.key()), it.value());
    QCOMPARE(metadata.contains(s("imageData")), hasArtwork);
    if (hasArtwork)
        QVERIFY(!QImage::fromData(metadata.value(s("imageData")).toByteArray()).isNull());
    QCOMPARE(metadata.contains(s("duration")), hasDuration);
    if (hasDuration)
        QVERIFY(metadata.value(s("duration")).toULongLong() >= 400);
}

void TestImport::handoffRecord_data() {
    QTest::addColumn<QVariantMap>("handoff");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVariantMap>("expected");
    QTest::addColumn<QString>("artworkFormat");

    QTest::newRow("video splits artist and title") << QVariantMap{{s("name"), s("A - B - C.mp3")},
                                                                  {s("isVideo"), 1},
                                                                  {s("iconData"), s("THUMB")},
                                                                  {s("filePath"), s("FILE")}}
                                                   << s("music-video")
                                                   << QVariantMap{{s("artist"), s("A")},
                                                                  {s("title"), s("B - C")},
                                                                  {s("type"), s("Music Video")},
                                                                  {s("year"), currentYear()}}
                                                   << s("JPEG");
    QTest::newRow("not a video: whole name, file tags win")
        << QVariantMap{{s("name"), s("A - B - C.mp3")},
                       {s("icon"), s("audio.png")},
                       {s("genre"), s("Ambient")},
                       {s("year"), s("2019")},
                       {s("filePath"), s("FILE")}}
        << s("song")
        << QVariantMap{{s("artist"), s("The Pilots")},
                       {s("title"), s("Harbour Song")},
                       {s("type"), s("Folk")},
                       {s("year"), 2019},
                       {s("trackNumber"), 3}}
        << s("JPEG");
    QTest::newRow("not a video, untagged file: its name wins, the rest stays")
        << QVariantMap{{s("name"), s("A - B.mp3")},
                       {s("icon"), s("audio.png")},
                       {s("filePath"), s("UNTAGGED")}}
        << s("podcast")
        << QVariantMap{{s("artist"), s("")}, {s("title"), s("untagged")}, {s("type"), s("Podcast")}}
        << s("PNG");
    QTest::newRow("no kind is a song")
        << QVariantMap{{s("name"), s("x.mp3")}, {s("isVideo"), 0}} << QString()
        << QVariantMap{{s("type"), s("Music")}, {s("title"), s("x")}} << QString();
}

void TestImport::handoffRecord() {
    QFETCH(QVariantMap, handoff);
    QFETCH(QString, kind);
    QFETCH(QVariantMap, expected);
    QFETCH(QString, artworkFormat);

    QTemporaryDir device;
    Paths::setDeviceRoot(device.path());
    ScopedDevice phone(Idiom::Phone, QSizeF(375, 667), 1);
    QVERIFY(writePng(Paths::iconsFolder() + s("/audio.png"), QSize(6, 6), Qt::red));
    const QString thumb = device.filePath(s("thumb.png"));
    QVERIFY(writePng(thumb, QSize(8, 4), Qt::blue));
    const QString untagged = device.filePath(s("untagged.txt"));
    QVERIFY(writeFile(untagged, "no tags"));
    for (auto it = handoff.begin(); it != handoff.end(); ++it) {
        if (it.value() == s("THUMB"))
            it.value() = thumb;
        else if (it.value() == s("FILE"))
            it.value() = fixture("id3v24.mp3");
        else if (it.value() == s("UNTAGGED"))
            it.value() = untagged;
    }

    const QVariantMap record = ImportRecord::fromHandoffRecord(handoff, kind).toDictionary();
    QCOMPARE(record.value(s("mediaKind")).toString(), kind.isEmpty() ? s("song") : kind);
    QCOMPARE(record.value(s("isNotOpenIn")).toInt(), 1);
    QCOMPARE(record.value(s("path")), handoff.value(s("filePath")));
    const QVariantMap metadata = record.value(s("metadata")).toMap();
    for (auto it = expected.cbegin(); it != expected.cend(); ++it)
        QCOMPARE(metadata.value(it.key()), it.value());
    QCOMPARE(metadata.value(s("year")).typeId() == QMetaType::QString, false);

    const QByteArray artwork = metadata.value(s("imageData")).toByteArray();
    QCOMPARE(artwork.isEmpty(), artworkFormat.isEmpty());
    if (!artworkFormat.isEmpty()) {
        QBuffer buffer;
        buffer.setData(artwork);
        QCOMPARE(QImageReader(&buffer).format().toUpper(), artworkFormat.toLatin1());
    }
}

void TestImport::wholeRecord_data() {
    QTest::addColumn<QVariantMap>("given");
    QTest::addColumn<QVariantMap>("expectedMetadata");
    QTest::addColumn<QString>("kind");

    const QString tagged = fixture("id3v24.mp3");
    QTest::newRow("metadata merged with the file's tags")
        << QVariantMap{{s("path"), tagged},
                       {s("metadata"), QVariantMap{{s("title"), s("x.mp3")}, {s("year"), 2020}}},
                       {s("extra"), s("kept")}}
        << QVariantMap{{s("title"), s("Harbour Song")}, {s("year"), 2020}, {s("type"), s("Folk")}}
        << s("song");
    QTest::newRow("no metadata: the file is not read")
        << QVariantMap{{s("path"), tagged}, {s("mediaKind"), s("music-video")}}
        << QVariantMap{{s("type"), s("Music Video")}} << s("music-video");
    QTest::newRow("genre default by kind")
        << QVariantMap{{s("path"), s("/gone.mp3")},
                       {s("mediaKind"), s("tv-episode")},
                       {s("metadata"), QVariantMap{}}}
        << QVariantMap{{s("type"), s("TV Episode")}, {s("title"), s("gone")}} << s("tv-episode");
    QTest::newRow("video podcast gets no genre")
        << QVariantMap{{s("mediaKind"), s("videoPodcast")}} << QVariantMap{} << s("videoPodcast");
}

void TestImport::wholeRecord() {
    QFETCH(QVariantMap, given);
    QFETCH(QVariantMap, expectedMetadata);
    QFETCH(QString, kind);
    const QVariantMap record = ImportRecord::fromWholeRecord(given).toDictionary();
    QCOMPARE(record.value(s("mediaKind")).toString(), kind);
    QVERIFY(!record.contains(s("isNotOpenIn")));
    QCOMPARE(record.value(s("extra")), given.value(s("extra")));
    const QVariantMap metadata = record.value(s("metadata")).toMap();
    for (auto it = expectedMetadata.cbegin(); it != expectedMetadata.cend(); ++it)
        QCOMPARE(metadata.value(it.key()), it.value());
    if (expectedMetadata.isEmpty())
        QVERIFY(metadata.isEmpty());
}

void TestImport::artworkSizing_data() {
    QTest::addColumn<QSize>("input");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<QSizeF>("points");
    QTest::addColumn<QSize>("pixels");
    QTest::addColumn<bool>("sameImage");

    QTest::newRow("wide song cover")
        << QSize(1000, 600) << s("song") << 1.0 << QSizeF(500, 500) << QSize(500, 500) << false;
    QTest::newRow("tall podcast cover at scale 2")
        << QSize(600, 1000) << s("podcast") << 2.0 << QSizeF(500, 500) << QSize(1000, 1000)
        << false;
    QTest::newRow("small square kept")
        << QSize(400, 400) << s("tv-episode") << 1.0 << QSizeF(400, 400) << QSize(400, 400) << true;
    QTest::newRow("HD music video")
        << QSize(1280, 720) << s("music-video") << 1.0
        << QSizeF(300, 300 * 720 / (720 * 640.0 / 363)) << QSize(300, 171) << false;
    QTest::newRow("exact frame only scaled")
        << QSize(640, 363) << s("music-video") << 1.0 << QSizeF(300, 300 * 363 / 640.0)
        << QSize(300, 171) << false;
    QTest::newRow("movie poster crop, no scale")
        << QSize(300, 300) << s("feature-movie") << 3.0 << QSizeF(300 * 468 / 700.0, 300)
        << QSize(602, 900) << false;
    QTest::newRow("tall movie scaled on its height")
        << QSize(468, 1400) << s("feature-movie") << 1.0 << QSizeF(200.57142857142858, 300)
        << QSize(201, 300) << false;
    QTest::newRow("ringtone untouched")
        << QSize(3000, 10) << s("ringtone") << 2.0 << QSizeF(3000, 10) << QSize(3000, 10) << true;
}

void TestImport::artworkSizing() {
    QFETCH(QSize, input);
    QFETCH(QString, kind);
    QFETCH(qreal, scale);
    QFETCH(QSizeF, points);
    QFETCH(QSize, pixels);
    QFETCH(bool, sameImage);
    QImage image(input, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    const auto sized = ArtworkSizing::sized({image, QSizeF(input)}, kind, scale);
    QVERIFY(sized);
    QVERIFY(std::abs(sized->points.width() - points.width()) < 0.01);
    QVERIFY(std::abs(sized->points.height() - points.height()) < 0.01);
    QCOMPARE(sized->image.size(), pixels);
    QCOMPARE(sized->image.cacheKey() == image.cacheKey(), sameImage);
    QCOMPARE(ArtworkSizing::sizeFor(QSizeF(input), kind), sized->points);
    QVERIFY(ArtworkSizing::resizeImagePropotionaly(QImage(), kind, scale).isNull());
}

void TestImport::artworkFromBytes() {
    // Left half red, right half blue: the centre crop of a wide cover keeps both.
    QImage cover(3000, 2000, QImage::Format_RGB32);
    cover.fill(Qt::red);
    for (int y = 0; y < 2000; ++y)
        for (int x = 1500; x < 3000; ++x)
            cover.setPixel(x, y, qRgb(0, 0, 255));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(cover.save(&buffer, "JPEG", 90));
    const Result<ArtworkSizing::Jpeg> jpeg = ArtworkSizing::sizedJpeg(bytes, s("song"), 80, 1);
    QVERIFY2(jpeg.ok(), qPrintable(jpeg.errorText()));
    const QImage decoded = QImage::fromData(jpeg->bytes, "JPEG");
    QCOMPARE(decoded.size(), QSize(500, 500));
    QCOMPARE(jpeg->pixels, QSize(500, 500));
    QCOMPARE(jpeg->points, QSizeF(500, 500));
    QVERIFY(qRed(decoded.pixel(100, 250)) > 200 && qBlue(decoded.pixel(100, 250)) < 60);
    QVERIFY(qBlue(decoded.pixel(400, 250)) > 200 && qRed(decoded.pixel(400, 250)) < 60);
    QVERIFY(!ArtworkSizing::sizedJpeg("not an image", s("song"), 80, 1).ok());
}

void TestImport::recordRoundTrip_data() {
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("notOpenIn");

    const QByteArray jpeg = QByteArray("\xff\xd8\xff\xe0 a picture", 15);
    QTest::newRow("song from a recorded download")
        << QVariantMap{{s("mediaKind"), s("song")},
                       {s("path"), s("/var/mobile/Downloads/a.mp3")},
                       {s("isNotOpenIn"), 1},
                       {s("metadata"), QVariantMap{{s("title"), s("Tide")},
                                                   {s("artist"), s("")},
                                                   {s("albumName"), s("Charts")},
                                                   {s("type"), s("Music")},
                                                   {s("year"), qlonglong(2024)},
                                                   {s("trackNumber"), 3},
                                                   {s("trackCount"), qlonglong(12)},
                                                   {s("duration"), qulonglong(215000)},
                                                   {s("creationDate"), s("2024-05-01T10:00:00Z")},
                                                   {s("imageData"), jpeg}}}}
        << s("song") << true;
    QTest::newRow("podcast, episode number as text")
        << QVariantMap{{s("mediaKind"), s("podcast")},
                       {s("path"), s("/p.m4a")},
                       {s("metadata"), QVariantMap{{s("podcastName"), s("Open Water")},
                                                   {s("episodeNumber"), s("7")},
                                                   {s("type"), s("Podcast")}}}}
        << s("podcast") << false;
    QTest::newRow("video podcast, nothing but a title")
        << QVariantMap{{s("mediaKind"), s("videoPodcast")},
                       {s("metadata"), QVariantMap{{s("title"), s("Ep")}}}}
        << s("videoPodcast") << false;
    QTest::newRow("tv episode, season as a real number")
        << QVariantMap{{s("mediaKind"), s("tv-episode")},
                       {s("path"), s("/t.m4v")},
                       {s("metadata"), QVariantMap{{s("seriesName"), s("Coastlines")},
                                                   {s("seasonNumber"), 2.0},
                                                   {s("episodeNumber"), qlonglong(5)}}}}
        << s("tv-episode") << false;
    QTest::newRow("movie, year typed as text")
        << QVariantMap{{s("mediaKind"), s("feature-movie")},
                       {s("path"), s("/m.mp4")},
                       {s("metadata"),
                        QVariantMap{{s("title"), s("Harbour.mp4")}, {s("year"), s("19x9")}}}}
        << s("feature-movie") << false;
    QTest::newRow("music video, imageData that is no image, or no bytes")
        << QVariantMap{{s("mediaKind"), s("music-video")},
                       {s("path"), s("/v.mp4")},
                       {s("metadata"), QVariantMap{{s("imageData"), s("not bytes")},
                                                   {s("title"), 1984},
                                                   {s("creationDate"), 20110203}}}}
        << s("music-video") << false;
    QTest::newRow("music video, imageData bytes that are no image")
        << QVariantMap{{s("mediaKind"), s("music-video")},
                       {s("metadata"), QVariantMap{{s("imageData"), QByteArray("not an image")}}}}
        << s("music-video") << false;
    QTest::newRow("ringtone without metadata, keys of its own")
        << QVariantMap{{s("mediaKind"), s("ringtone")},
                       {s("path"), s("/r.m4r")},
                       {s("extra"), QVariantList{1, s("two")}},
                       {s("isNotOpenIn"), true}}
        << s("ringtone") << true;
    QTest::newRow("no kind, metadata that is no dictionary, unknown tags")
        << QVariantMap{{s("metadata"), s("none")}, {s("path"), s("/x")}} << s("song") << false;
    QTest::newRow("numbers as text that are no numbers, other common keys")
        << QVariantMap{{s("mediaKind"), s("song")},
                       {s("metadata"), QVariantMap{{s("trackNumber"), s("five")},
                                                   {s("duration"), s("long")},
                                                   {s("genre"), s("not the genre key")},
                                                   {s("copyrights"), s("(c) Pilots")},
                                                   {s("year"), QVariantMap{}}}}}
        << s("song") << false;
}

void TestImport::recordRoundTrip() {
    QFETCH(QVariantMap, dictionary);
    QFETCH(QString, kind);
    QFETCH(bool, notOpenIn);

    const ImportRecord record = ImportRecord::fromDictionary(dictionary);
    QCOMPARE(record.kind(), kind);
    QCOMPARE(record.isNotOpenIn, notOpenIn);
    QString where;
    QVERIFY2(sameDictionary(record.toDictionary(), dictionary, &where), qPrintable(where));
    // A copy reads the same, and a record read again from its own dictionary is the same.
    QVERIFY(ImportRecord::fromDictionary(record.toDictionary()) == record);
}

void TestImport::fieldSetAgainIsWrittenTyped() {
    ImportRecord record =
        ImportRecord::fromDictionary({{s("metadata"), QVariantMap{{s("episodeNumber"), s("7")},
                                                                  {s("seasonNumber"), 2.0},
                                                                  {s("year"), s("1999")},
                                                                  {s("imageData"), s("not bytes")},
                                                                  {s("title"), 1984}}}});
    // The typed values are read from the odd ones.
    QCOMPARE(record.metadata.episodeNumber.value_or(0), 7);
    QCOMPARE(record.metadata.seasonNumber.value_or(0), 2);
    QCOMPARE(record.metadata.yearNumber().value_or(0), 1999);
    QCOMPARE(record.metadata.title.value_or(QString()), s("1984"));
    QVERIFY(!record.metadata.artwork);

    record.metadata.episodeNumber = 7;
    record.metadata.seasonNumber.reset();
    record.metadata.year = Tags::Year(qlonglong(2001));
    record.metadata.artwork = QByteArray("\x89PNG");
    record.mediaKind = s("podcast");
    record.isNotOpenIn = true;
    const QVariantMap expected{{s("mediaKind"), s("podcast")},
                               {s("isNotOpenIn"), 1},
                               {s("metadata"), QVariantMap{{s("episodeNumber"), qlonglong(7)},
                                                           {s("year"), qlonglong(2001)},
                                                           {s("imageData"), QByteArray("\x89PNG")},
                                                           {s("title"), 1984}}}};
    QString where;
    QVERIFY2(sameDictionary(record.toDictionary(), expected, &where), qPrintable(where));
}

QTEST_GUILESS_MAIN(TestImport)
#include "tst_import.moc"

// Import submission and the media library: what a record turns into on disk and in the
// catalogue, and what is left after an import dies half-way.

#include "TestSupport.h"
#include "import/ImportRecord.h"
#include "import/ImportSubmission.h"
#include "import/MetadataReader.h"
#include "import/library/LibraryCatalogue.h"
#include "import/library/LibraryFiling.h"
#include "import/library/MediaLibrary.h"
#include "import/library/TagWriter.h"
#include "platform/Device.h"
#include "platform/MetadataKeys.h"
#include "platform/Paths.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QImageReader>
#include <QProcess>
#include <QTemporaryDir>
#include <QtConcurrent>
#include <QtTest>

#include <sys/stat.h>
#include <sys/wait.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/commentsframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/unsynchronizedlyricsframe.h>
#include <unistd.h>

using namespace tolvane;
using tolvane::test::s;

namespace {

QString fixture(const char* name) {
    return QStringLiteral(TOLVANE_MEDIA_FIXTURES "/") + QLatin1String(name);
}

QByteArray sha(const QString& path) {
    return QCryptographicHash::hash(test::contents(path), QCryptographicHash::Sha256);
}

ImportRecord record(const QString& kind, const QString& path, const QVariantMap& metadata) {
    return ImportRecord::fromDictionary(
        {{s("mediaKind"), kind}, {s("path"), path}, {s("metadata"), metadata}});
}

// A copy of a fixture with bytes replaced at an offset from the first occurrence of a marker
// (the marker's own offset when `from` is 0); an offset from the end when the marker is empty.
QString damagedCopy(const QString& folder, const char* name, const QByteArray& marker, int from,
                    const QByteArray& bytes) {
    QByteArray content = test::contents(fixture(name));
    const qsizetype at = marker.isEmpty() ? content.size() + from : content.indexOf(marker) + from;
    if (at < 0 || at + bytes.size() > content.size())
        return {};
    content.replace(at, bytes.size(), bytes);
    const QString path = folder + QLatin1Char('/') + QLatin1String(name);
    return test::writeFile(path, content) ? path : QString();
}

// Every file under a folder, hidden ones too.
QStringList filesUnder(const QString& folder) {
    QStringList files;
    QDirIterator it(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << it.next();
    return files;
}

// Tells what the editor's delegate heard, in order.
class RecordingDelegate : public ImportViewControllerDelegate {
public:
    void ImportViewControllerDidCancel(const QString& path) override {
        calls << (path.isNull() ? s("cancel:nil") : s("cancel:") + path);
    }
    void ImportViewControllerDidStart() override { calls << s("start"); }
    QStringList calls;
};

} // namespace

class TestLibrary : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filing_data();
    void filing();
    void commitField_data();
    void commitField();
    void artworkAtSubmission();
    void completionOrder_data();
    void completionOrder();
    void importFormats_data();
    void importFormats();
    void sameNameAndConcurrentImports();
    void refusedImports_data();
    void refusedImports();
    void damagedFramingIsRefused_data();
    void damagedFramingIsRefused();
    void tagWritingNeverGrowsWithoutBound();
    void tagsReadWrittenReadBack_data();
    void tagsReadWrittenReadBack();
    void notOrdinaryFilesAreRefused_data();
    void notOrdinaryFilesAreRefused();
    void fullAndReadOnlyLibrary();
    void recoveryAfterDeath_data();
    void recoveryAfterDeath();
    void yearShownIsYearWritten_data();
    void yearShownIsYearWritten();
    void valuesNotCarriedAreKept_data();
    void valuesNotCarriedAreKept();
    void fileTypeIconIsNeverArtwork_data();
    void fileTypeIconIsNeverArtwork();
};

void TestLibrary::filing_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVariantMap>("metadata");
    QTest::addColumn<QString>("expected");

    const QString path = s("/downloads/Clip.MP4");
    QTest::newRow("song") << s("song")
                          << QVariantMap{{s("title"), s("Tide")},
                                         {s("artist"), s("Pilots")},
                                         {s("albumName"), s("Charts")},
                                         {s("trackNumber"), 3}}
                          << s("Music/Pilots/Charts/03 Tide.mp4");
    QTest::newRow("song without values")
        << s("song") << QVariantMap{} << s("Music/Unknown Artist/Unknown Album/Clip.mp4");
    QTest::newRow("unknown kind as song") << s("hologram") << QVariantMap{{s("title"), s("T")}}
                                          << s("Music/Unknown Artist/Unknown Album/T.mp4");
    QTest::newRow("music video") << s("music-video")
                                 << QVariantMap{{s("title"), s("Tide")}, {s("artist"), s("Pilots")}}
                                 << s("Music Videos/Pilots - Tide.mp4");
    QTest::newRow("movie, year as text")
        << s("feature-movie") << QVariantMap{{s("title"), s("Fog")}, {s("year"), s("1999")}}
        << s("Movies/Fog (1999)/Fog (1999).mp4");
    QTest::newRow("movie without year")
        << s("feature-movie") << QVariantMap{{s("title"), s("Fog")}} << s("Movies/Fog/Fog.mp4");
    QTest::newRow("tv episode") << s("tv-episode")
                                << QVariantMap{{s("title"), s("Pilot")},
                                               {s("seriesName"), s("Harbour")},
                                               {s("seasonNumber"), s("2")},
                                               {s("episodeNumber"), 11}}
                                << s("TV Shows/Harbour/Season 02/Harbour - S02E11 - Pilot.mp4");
    QTest::newRow("tv episode without numbers")
        << s("tv-episode") << QVariantMap{{s("title"), s("Pilot")}}
        << s("TV Shows/Unknown Series/Season 01/Unknown Series - S01E01 - Pilot.mp4");
    QTest::newRow("podcast") << s("videoPodcast")
                             << QVariantMap{{s("title"), s("Ep")}, {s("podcastName"), s("Cast")}}
                             << s("Podcasts/Cast/Ep.mp4");
    QTest::newRow("ringtone") << s("ringtone") << QVariantMap{{s("title"), 42}}
                              << s("Ringtones/42.mp4");
    QTest::newRow("separators and dots")
        << s("ringtone") << QVariantMap{{s("title"), s("../a/b\\c")}} << s("Ringtones/-a-b-c.mp4");
    QTest::newRow("only dots") << s("ringtone") << QVariantMap{{s("title"), s("..")}}
                               << s("Ringtones/Clip.mp4");
    QTest::newRow("control characters")
        << s("ringtone") << QVariantMap{{s("title"), s("a\nb\tc\x01")}} << s("Ringtones/a b c.mp4");
    QTest::newRow("lone surrogate")
        << s("ringtone") << QVariantMap{{s("title"), QString(QChar(0xd800)) + s("x")}}
        << s("Ringtones/\xef\xbf\xbdx.mp4");
}

void TestLibrary::filing() {
    QFETCH(QString, kind);
    QFETCH(QVariantMap, metadata);
    QFETCH(QString, expected);
    QCOMPARE(LibraryFiling::relativePath(record(kind, s("/downloads/Clip.MP4"), metadata)),
             expected);
}

void TestLibrary::commitField_data() {
    QTest::addColumn<int>("field");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("expected");

    QTest::newRow("track") << 0 << s("07") << s("trackNumber") << QVariant(7LL);
    QTest::newRow("track emptied keeps number") << 0 << s("") << s("trackNumber") << QVariant(5);
    QTest::newRow("title emptied") << 1 << s("") << s("title") << QVariant(s(""));
    QTest::newRow("genre") << 4 << s("Jazz") << s("type") << QVariant(s("Jazz"));
    QTest::newRow("year stays text") << 5 << s("1987") << s("year") << QVariant(s("1987"));
    QTest::newRow("episode") << 7 << s("12") << s("episodeNumber") << QVariant(12LL);
    QTest::newRow("season emptied") << 9 << s("") << s("seasonNumber") << QVariant();
    QTest::newRow("no field") << 12 << s("x") << s("title") << QVariant(s("Old"));
}

void TestLibrary::commitField() {
    QFETCH(int, field);
    QFETCH(QString, text);
    QFETCH(QString, key);
    QFETCH(QVariant, expected);

    ImportRecord importDict = record(s("song"), s("/x.mp3"),
                                     {{s("title"), s("Old")},
                                      {s("trackNumber"), 5},
                                      {s("year"), 2001},
                                      {s("imageData"), s("x")}});
    ImportSubmission::saveNewMetadataAndImport(importDict, false, EditedField{field, text});
    const QVariantMap metadata = importDict.metadata.toDictionary();
    QCOMPARE(metadata.value(key), expected);
    // Without the flag the artwork is left alone, even when it is not an image.
    QCOMPARE(metadata.value(s("imageData")), QVariant(s("x")));
    QCOMPARE(metadata.value(s("year")), field == 5 ? QVariant(text) : QVariant(2001));
}

void TestLibrary::artworkAtSubmission() {
    ImportRecord importDict =
        record(s("music-video"), s("/x.mp4"),
               {{s("imageData"), test::pngBytes({1000, 1000}, Qt::darkCyan)}});
    ImportSubmission::saveNewMetadataAndImport(importDict, true, std::nullopt, 2);
    QByteArray jpeg = importDict.metadata.artwork.value_or(QByteArray());
    QVERIFY(jpeg.startsWith("\xff\xd8"));
    QBuffer buffer(&jpeg);
    QCOMPARE(QImageReader(&buffer).size(), QSize(600, 341)); // 300 x 170.2 points at scale 2

    for (const QVariant& bad : {QVariant(QByteArray("not an image")), QVariant()}) {
        importDict = record(s("song"), s("/x.mp3"), {{s("imageData"), bad}});
        ImportSubmission::saveNewMetadataAndImport(importDict, true, std::nullopt, 2);
        QVERIFY(!importDict.metadata.toDictionary().contains(s("imageData")));
    }
}

void TestLibrary::completionOrder_data() {
    QTest::addColumn<bool>("fromDownload");
    QTest::addColumn<QStringList>("afterImport");
    QTest::addColumn<QString>("cancelPath");

    QTest::newRow("recorded download") << true << QStringList{s("cancel:nil")} << QString();
    QTest::newRow("record given whole")
        << false << QStringList{s("start"), s("cancel:nil")} << s("/in/clip.mp4");
}

void TestLibrary::completionOrder() {
    QFETCH(bool, fromDownload);
    QFETCH(QStringList, afterImport);
    QFETCH(QString, cancelPath);

    std::optional<ImportRecord> importDict = record(s("song"), s("/in/clip.mp4"), {});
    importDict->isNotOpenIn = fromDownload;
    QCOMPARE(ImportSubmission::cancelPath(*importDict), cancelPath);
    QCOMPARE(ImportSubmission::cancelPath(*importDict).isNull(), fromDownload);

    RecordingDelegate delegate;
    ImportSubmission::finish(importDict, &delegate,
                             [&delegate] { delegate.calls << s("background"); });
    QCOMPARE(delegate.calls, afterImport + QStringList{s("background")});
    QVERIFY(!importDict);
}

void TestLibrary::importFormats_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("artworkReadBack");

    // Artwork is read back where the reader takes it (ID3 and MPEG-4).
    QTest::newRow("mp3 song") << fixture("id3v23.mp3") << s("song") << true;
    QTest::newRow("m4a podcast") << fixture("track3of10.m4a") << s("podcast") << true;
    QTest::newRow("m4v tv episode") << fixture("video.m4v") << s("tv-episode") << true;
    QTest::newRow("wav") << fixture("id3.wav") << s("ringtone") << true;
    QTest::newRow("aiff") << fixture("id3.aiff") << s("music-video") << true;
    QTest::newRow("flac") << fixture("tags.flac") << s("song") << false;
    QTest::newRow("ogg") << fixture("tags.ogg") << s("feature-movie") << false;
    QTest::newRow("not media, filed untagged") << fixture("not-media.mp3") << s("song") << false;
}

void TestLibrary::importFormats() {
    QFETCH(QString, file);
    QFETCH(QString, kind);
    QFETCH(bool, artworkReadBack);

    QTemporaryDir dir;
    const QByteArray before = sha(file);
    const QVariantMap metadata{
        {s("title"), s("Tagged Title")}, {s("artist"), s("Tagged Artist")},
        {s("type"), s("Tagged Genre")},  {s("year"), s("2003")},
        {s("trackNumber"), 4},           {s("imageData"), test::pngBytes({64, 64}, Qt::darkCyan)}};
    MediaLibrary library(dir.path());
    const Result<LibraryItem> outcome = library.importFile(record(kind, file, metadata));
    QVERIFY2(outcome.ok(), qPrintable(outcome.errorText()));
    QCOMPARE(sha(file), before);
    QVERIFY(QFileInfo(outcome->path).isFile());
    QVERIFY(!QFileInfo(outcome->path).fileName().startsWith(QLatin1Char('.')));

    const QVariantMap readBack = MetadataReader::metadataForFile(outcome->path).valueOr({});
    if (!file.endsWith(s("not-media.mp3"))) {
        QCOMPARE(readBack.value(AVMetadataCommonKeyTitle).toString(), s("Tagged Title"));
        QCOMPARE(readBack.value(AVMetadataCommonKeyArtist).toString(), s("Tagged Artist"));
        QCOMPARE(readBack.value(AVMetadataCommonKeyType).toString(), s("Tagged Genre"));
        QCOMPARE(readBack.contains(s("imageData")), artworkReadBack);
    } else {
        QCOMPARE(sha(outcome->path), before);
    }

    const Result<QList<QVariantMap>> listed = library.items();
    QVERIFY2(listed.ok(), qPrintable(listed.errorText()));
    const QList<QVariantMap>& items = *listed;
    QCOMPARE(items.size(), 1);
    QCOMPARE(items.first().value(s("id")).toLongLong(), outcome->id);
    QCOMPARE(items.first().value(s("kind")).toString(), kind);
    QCOMPARE(dir.path() + QLatin1Char('/') + items.first().value(s("path")).toString(),
             outcome->path);
    QCOMPARE(items.first().value(s("year")).toString(), s("2003"));
    QCOMPARE(items.first().value(s("artwork_width")).toInt(), 64);
    QCOMPARE(items.first().value(s("metadata")).toMap().value(s("trackNumber")).toInt(), 4);
    QVERIFY(!items.first().value(s("metadata")).toMap().contains(s("imageData")));
}

void TestLibrary::sameNameAndConcurrentImports() {
    QTemporaryDir dir;
    MediaLibrary library(dir.path());
    const ImportRecord song =
        record(s("song"), fixture("id3v24.mp3"), {{s("title"), s("Same")}, {s("artist"), s("A")}});
    constexpr int count = 6;
    QList<QFuture<Result<LibraryItem>>> running;
    for (int i = 0; i < count; ++i)
        running << QtConcurrent::run([&library, &song] { return library.importFile(song); });
    QSet<QString> paths;
    for (QFuture<Result<LibraryItem>>& future : running) {
        const Result<LibraryItem> outcome = future.result();
        QVERIFY2(outcome.ok(), qPrintable(outcome.errorText()));
        paths.insert(outcome->path);
    }
    QCOMPARE(paths.size(), count);
    const QString folder = dir.path() + s("/Music/A/Unknown Album/");
    QVERIFY(paths.contains(folder + s("Same.mp3")));
    QVERIFY(paths.contains(folder + s("Same (2).mp3")));
    QVERIFY(paths.contains(folder + s("Same (%1).mp3").arg(count)));
    QCOMPARE(library.items().valueOr({}).size(), count);
    QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden).size(), count);
}

void TestLibrary::refusedImports_data() {
    QTest::addColumn<QVariantMap>("given");
    QTest::addColumn<QString>("cause");

    QTest::newRow("no path") << QVariantMap{{s("mediaKind"), s("song")}} << s("no \"path\"");
    QTest::newRow("missing file") << record(s("song"), s("/nowhere/x.mp3"), {}).toDictionary()
                                  << s("No such file");
    QTest::newRow("folder") << record(s("song"), s(TOLVANE_MEDIA_FIXTURES), {}).toDictionary()
                            << s("a folder");
    // Cut at the NUL, the path would name the fixture itself.
    QTest::newRow("NUL inside the path")
        << record(s("song"), fixture("id3v24.mp3") + QChar(0) + s(".other"), {}).toDictionary()
        << s("holds a NUL character");
}

void TestLibrary::refusedImports() {
    QFETCH(QVariantMap, given);
    QFETCH(QString, cause);

    QTemporaryDir dir;
    MediaLibrary library(dir.path());
    const Result<LibraryItem> outcome = library.importFile(ImportRecord::fromDictionary(given));
    QVERIFY(!outcome.ok());
    QVERIFY2(outcome.errorText().contains(cause), qPrintable(outcome.errorText()));

    // A library folder that is a file cannot take anything either.
    test::writeFile(dir.filePath(s("file")), "x");
    const Result<LibraryItem> blocked =
        MediaLibrary(dir.filePath(s("file")))
            .importFile(record(s("song"), fixture("id3v24.mp3"), {}));
    QVERIFY(!blocked.ok());
    QVERIFY2(blocked.errorText().contains(s("not a folder")), qPrintable(blocked.errorText()));
}

void TestLibrary::damagedFramingIsRefused_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("marker");
    QTest::addColumn<int>("from");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("cause");

    // The chunk-offset box of a video claims 2^63 - 1 bytes in a 64-bit size (its version,
    // flags and count read as that size): the tag library rewrote such a file without end.
    QTest::newRow("stco of 2^63 - 1 bytes")
        << s("video.m4v") << QByteArray("stco") << -4
        << QByteArray("\0\0\0\x01stco\x7f\xff\xff\xff\xff\xff\xff\xff", 16)
        << s("\"stco\" box declares 9223372036854775807 bytes");
    QTest::newRow("stco listing 2^31 offsets")
        << s("video.m4v") << QByteArray("stco") << 8 << QByteArray("\x7f\xff\xff\xff", 4)
        << s("\"stco\" box lists 2147483647 offsets");
    QTest::newRow("moov longer than the file")
        << s("track3of10.m4a") << QByteArray("moov") << -4 << QByteArray("\x7f\xff\xff\xff", 4)
        << s("\"moov\" box declares 2147483647 bytes");
    // The padding after the tags claims a mebibyte the file does not have: taken as room for
    // the tags, it would pad the copy to that size.
    QTest::newRow("padding after the tags past the end")
        << s("track3of10.m4a") << QByteArray() << -8 << QByteArray("\0\x10\0\x08", 4)
        << s("\"free\" box declares 1048584 bytes");
    QTest::newRow("ID3 tag longer than the file")
        << s("id3v24.mp3") << QByteArray("ID3") << 6 << QByteArray("\x7f\x7f\x7f\x7f", 4)
        << s("ID3 tag declares");
    QTest::newRow("FLAC block longer than the file")
        << s("tags.flac") << QByteArray("fLaC") << 5 << QByteArray("\xff\xff\xff", 3)
        << s("FLAC metadata block declares");
    QTest::newRow("WAV chunk longer than the file")
        << s("id3.wav") << QByteArray("fmt ") << 4 << QByteArray("\xff\xff\xff\x7f", 4)
        << s("\"fmt \" chunk declares");
    QTest::newRow("AIFF chunk longer than the file")
        << s("id3.aiff") << QByteArray("COMM") << 4 << QByteArray("\x7f\xff\xff\xff", 4)
        << s("\"COMM\" chunk declares");
}

void TestLibrary::damagedFramingIsRefused() {
    QFETCH(QString, name);
    QFETCH(QByteArray, marker);
    QFETCH(int, from);
    QFETCH(QByteArray, bytes);
    QFETCH(QString, cause);

    QTemporaryDir dir;
    const QString source = damagedCopy(dir.path(), qPrintable(name), marker, from, bytes);
    QVERIFY(!source.isEmpty());
    const QByteArray before = sha(source);
    const QString folder = dir.filePath(s("Library"));
    const Result<LibraryItem> outcome =
        MediaLibrary(folder).importFile(record(s("music-video"), source, {{s("title"), s("T")}}));
    QVERIFY(!outcome.ok());
    QVERIFY2(outcome.errorText().contains(s("the file is damaged")),
             qPrintable(outcome.errorText()));
    QVERIFY2(outcome.errorText().contains(cause), qPrintable(outcome.errorText()));
    QCOMPARE(outcome.failure().path(), source);
    // Refused before anything was written: no copy, no row, the source as it was.
    QCOMPARE(sha(source), before);
    QCOMPARE(filesUnder(folder), QStringList());
}

void TestLibrary::tagWritingNeverGrowsWithoutBound() {
    // Straight to the writer, past the framing check: the guard on the file itself holds.
    QTemporaryDir dir;
    const QString copy = damagedCopy(dir.path(), "video.m4v", "stco", 8, "\x7f\xff\xff\xff");
    QVERIFY(!copy.isEmpty());
    const qint64 size = QFileInfo(copy).size();
    QElapsedTimer timer;
    timer.start();
    // Artwork larger than the tags there were makes the movie box grow, so every chunk offset
    // is rewritten.
    QByteArray cover = test::pngBytes(QSize(4, 4), Qt::darkGreen);
    cover += QByteArray(20000, 'x');
    const Result<TagWriter::Written> written =
        TagWriter::write(copy, s("music-video"),
                         Tags::fromDictionary({{s("title"), s("T")}, {s("imageData"), cover}}));
    QVERIFY(!written.ok());
    QVERIFY2(written.errorText().contains(s("grow past")), qPrintable(written.errorText()));
    QVERIFY(QFileInfo(copy).size() <= size + cover.size() + 256 * 1024 + 100);
    QVERIFY2(timer.elapsed() < 10000, qPrintable(QString::number(timer.elapsed())));

    // Artwork of any size is room the writer may take.
    const QString fine = dir.filePath(s("fine.m4a"));
    QVERIFY(QFile::copy(fixture("track3of10.m4a"), fine));
    const QByteArray artwork = test::pngBytes(QSize(600, 600), Qt::darkRed);
    Tags withArtwork;
    withArtwork.artwork = artwork;
    QVERIFY(TagWriter::write(fine, s("song"), withArtwork).ok());
    QVERIFY(QFileInfo(fine).size() > artwork.size());
}

void TestLibrary::tagsReadWrittenReadBack_data() {
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("kind");
    // Whether the reader finds the track number and the cover in this format.
    QTest::addColumn<bool>("trackAndCover");

    QTest::newRow("ID3v2.4") << s("id3v24.mp3") << s("song") << true;
    QTest::newRow("ID3v2.3") << s("id3v23.mp3") << s("song") << true;
    QTest::newRow("ID3 with a large cover") << s("big-cover.mp3") << s("podcast") << true;
    QTest::newRow("MPEG-4 with a track atom") << s("track3of10.m4a") << s("song") << true;
    QTest::newRow("MPEG-4 video") << s("video.m4v") << s("tv-episode") << true;
    QTest::newRow("WAV with ID3") << s("id3.wav") << s("song") << true;
    QTest::newRow("AIFF with ID3") << s("id3.aiff") << s("song") << true;
    QTest::newRow("FLAC") << s("tags.flac") << s("song") << false;
    QTest::newRow("Ogg Vorbis") << s("tags.ogg") << s("song") << false;
}

void TestLibrary::tagsReadWrittenReadBack() {
    QFETCH(QString, file);
    QFETCH(QString, kind);
    QFETCH(bool, trackAndCover);
    QTemporaryDir dir;
    const QString copy = dir.filePath(file);
    QVERIFY(QFile::copy(fixture(qPrintable(file)), copy));
    QVERIFY(QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner));

    // What is read is written back as it was.
    const Result<Tags> read = MetadataReader::tagsForFile(copy);
    QVERIFY2(read.ok(), qPrintable(read.errorText()));
    QVERIFY(read->title && read->duration);
    QVERIFY(TagWriter::write(copy, kind, *read).ok());
    QCOMPARE(MetadataReader::tagsForFile(copy).valueOr({}), *read);

    // Changed tags are read back as they were changed.
    Tags changed = *read;
    changed.title = s("Tide Over Stone \u00e9");
    changed.artist = s("The Pilots");
    changed.albumName = s("Harbour Lights");
    changed.genre = s("Folk");
    if (trackAndCover) {
        changed.trackNumber = 4;
        changed.artwork = test::pngBytes(QSize(8, 8), Qt::darkRed);
    }
    QVERIFY(TagWriter::write(copy, kind, changed).ok());
    const Tags readBack = MetadataReader::tagsForFile(copy).valueOr({});
    QCOMPARE(readBack.toDictionary(), changed.toDictionary());
}

void TestLibrary::notOrdinaryFilesAreRefused_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("cause");
    QTest::newRow("FIFO") << s("fifo") << s("a FIFO");
    QTest::newRow("endless device") << s("/dev/zero") << s("a device");
    QTest::newRow("kernel's own file") << s("/proc/self/mem") << s("makes up");
    QTest::newRow("folder") << s(TOLVANE_MEDIA_FIXTURES) << s("a folder");
}

void TestLibrary::notOrdinaryFilesAreRefused() {
    // Each of these used to block the import, grow a copy without end, or file an empty item.
    QFETCH(QString, path);
    QFETCH(QString, cause);
    QTemporaryDir dir;
    if (path == s("fifo")) {
        path = dir.filePath(s("song.mp3"));
        QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    }
    const QString folder = dir.filePath(s("Library"));
    const Result<LibraryItem> outcome =
        MediaLibrary(folder).importFile(record(s("song"), path, {}));
    QVERIFY(!outcome.ok());
    QVERIFY2(outcome.errorText().contains(cause), qPrintable(outcome.errorText()));
    QCOMPARE(filesUnder(folder), QStringList());
}

void TestLibrary::fullAndReadOnlyLibrary() {
    QTemporaryDir dir;
    const QString mountPoint = dir.filePath(s("small"));
    QDir().mkpath(mountPoint);
    const auto mount = [&mountPoint](const QStringList& options) {
        return QProcess::execute(s("mount"), QStringList{s("-t"), s("tmpfs"), s("-o")} + options +
                                                 QStringList{s("tmpfs"), mountPoint}) == 0;
    };
    if (!mount({s("size=1m")}))
        QSKIP("mounting a small file system needs privileges this run does not have");
    const auto unmount =
        qScopeGuard([&mountPoint] { QProcess::execute(s("umount"), {mountPoint}); });

    const QString big = dir.filePath(s("big.mp3"));
    test::writeFile(big, QByteArray(2 * 1024 * 1024, 'x'));
    const QString library = mountPoint + s("/Library");
    const Result<LibraryItem> full = MediaLibrary(library).importFile(record(s("song"), big, {}));
    QVERIFY(!full.ok());
    QVERIFY2(full.errorText().contains(s("No space left")), qPrintable(full.errorText()));
    QCOMPARE(MediaLibrary(library).items().valueOr({}).size(), 0);
    QDirIterator leftovers(library, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    QStringList names;
    while (leftovers.hasNext())
        names << leftovers.next();
    QCOMPARE(names, QStringList{library + s("/Library.sqlite")});

    QVERIFY(mount({s("remount,ro")}));
    const Result<LibraryItem> readOnly =
        MediaLibrary(library).importFile(record(s("song"), fixture("id3v24.mp3"), {}));
    QVERIFY(!readOnly.ok());
    QVERIFY2(readOnly.errorText().contains(s("Read-only")), qPrintable(readOnly.errorText()));
}

void TestLibrary::recoveryAfterDeath_data() {
    QTest::addColumn<bool>("renamed");
    QTest::addColumn<int>("itemsAfter");

    QTest::newRow("died before the rename") << false << 0;
    QTest::newRow("died after the rename") << true << 1;
}

void TestLibrary::recoveryAfterDeath() {
    QFETCH(bool, renamed);
    QFETCH(int, itemsAfter);

    QTemporaryDir dir;
    MediaLibrary library(dir.path());
    const QString temp = dir.filePath(s(".tolvane-import-x.part"));
    const QString name = s("Ringtones/Tone.m4r");
    // A child process stands for an import killed half-way.
    const pid_t child = fork();
    if (child == 0) {
        auto catalogue = LibraryCatalogue::open(library.catalogueFile());
        const qint64 id = catalogue ? catalogue.value()->beginItem(temp, {}).valueOr(-1) : -1;
        test::writeFile(temp, "partial");
        if (renamed && catalogue.value()->setCandidate(id, name).ok()) {
            QDir().mkpath(dir.filePath(s("Ringtones")));
            ::rename(QFile::encodeName(temp).constData(),
                     QFile::encodeName(dir.filePath(name)).constData());
        }
        _exit(id > 0 ? 0 : 1);
    }
    int status = 0;
    QCOMPARE(waitpid(child, &status, 0), child);
    QCOMPARE(WEXITSTATUS(status), 0);

    QCOMPARE(library.items().valueOr({}).size(), 0); // a pending row is not an item
    QVERIFY(library.recover().ok());
    QVERIFY(!QFileInfo::exists(temp));
    const QList<QVariantMap> items = library.items().valueOr({});
    QCOMPARE(items.size(), itemsAfter);
    QCOMPARE(QFileInfo::exists(dir.filePath(name)), renamed);
    if (renamed)
        QCOMPARE(items.first().value(s("path")).toString(), name);
}

namespace {

QString text(const TagLib::String& value) {
    return QString::fromStdString(value.to8Bit(true));
}

// What a copy holds, read with the tag library: its date, lyrics, comment and picture.
struct ReadBack {
    QString date, lyrics, comment;
    QByteArray picture;
};

ReadBack readBack(const QString& path) {
    ReadBack found;
    const QByteArray name = QFile::encodeName(path);
    if (path.endsWith(s(".mp3"))) {
        TagLib::MPEG::File file(name.constData());
        TagLib::ID3v2::Tag* tag = file.ID3v2Tag();
        if (!tag)
            return found;
        for (const char* id : {"TDRC", "TYER"}) {
            if (!tag->frameList(id).isEmpty() && found.date.isEmpty())
                found.date = text(tag->frameList(id).front()->toString());
        }
        if (!tag->frameList("USLT").isEmpty())
            found.lyrics = text(tag->frameList("USLT").front()->toString());
        if (!tag->frameList("COMM").isEmpty())
            found.comment = text(tag->frameList("COMM").front()->toString());
        if (!tag->frameList("APIC").isEmpty()) {
            const auto* apic =
                dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*>(tag->frameList("APIC").front());
            if (apic)
                found.picture = QByteArray(apic->picture().data(), int(apic->picture().size()));
        }
    } else {
        TagLib::MP4::File file(name.constData());
        TagLib::MP4::Tag* tag = file.tag();
        if (!tag)
            return found;
        const auto item = [tag](const char* key) {
            return tag->contains(key) ? text(tag->item(key).toStringList().toString()) : QString();
        };
        found.date = item("\251day");
        found.lyrics = item("\251lyr");
        found.comment = item("\251cmt");
        if (tag->contains("covr") && !tag->item("covr").toCoverArtList().isEmpty()) {
            const TagLib::ByteVector data = tag->item("covr").toCoverArtList().front().data();
            found.picture = QByteArray(data.data(), int(data.size()));
        }
    }
    return found;
}

// The source's own tags that no record carries: lyrics, a comment and a full date.
bool addTagsOfItsOwn(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    if (path.endsWith(s(".mp3"))) {
        TagLib::MPEG::File file(name.constData());
        TagLib::ID3v2::Tag* tag = file.ID3v2Tag(true);
        tag->removeFrames("TDRC");
        tag->removeFrames("TYER");
        auto* date = new TagLib::ID3v2::TextIdentificationFrame("TDRC", TagLib::String::UTF8);
        date->setText("2003-04-05");
        tag->addFrame(date);
        auto* lyrics = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
        lyrics->setText("Salt on the wind");
        tag->addFrame(lyrics);
        auto* comment = new TagLib::ID3v2::CommentsFrame(TagLib::String::UTF8);
        comment->setText("Recorded at dawn");
        tag->addFrame(comment);
        return file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone, TagLib::ID3v2::v4);
    }
    TagLib::MP4::File file(name.constData());
    file.tag()->setItem("\251day", TagLib::StringList("2003-04-05"));
    file.tag()->setItem("\251lyr", TagLib::StringList("Salt on the wind"));
    file.tag()->setItem("\251cmt", TagLib::StringList("Recorded at dawn"));
    return file.save();
}

} // namespace

void TestLibrary::yearShownIsYearWritten_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("year");
    QTest::newRow("ID3v2.3") << s("id3v23.mp3") << s("1999");
    QTest::newRow("ID3v2.4") << s("id3v24.mp3") << s("2011");
    QTest::newRow("MPEG-4") << s("track3of10.m4a") << s("2011");
}

void TestLibrary::yearShownIsYearWritten() {
    // An open-in record as the hand-off makes it (the current year in "year"), with the
    // file's own tags read over it as the editor reads them.
    QFETCH(QString, name);
    QFETCH(QString, year);
    QTemporaryDir dir;
    const QString source = dir.filePath(name);
    QVERIFY(QFile::copy(fixture(qPrintable(name)), source));
    const QVariantMap given =
        record(s("song"), source, {{s("title"), name}, {s("artist"), s("")}, {s("year"), 2026}})
            .toDictionary();
    ImportRecord importDict = ImportRecord::fromWholeRecord(given);
    QCOMPARE(ImportSubmission::shownYear(importDict.metadata), year);

    ImportSubmission::writeShownYear(importDict.metadata);
    ImportSubmission::saveNewMetadataAndImport(importDict, true, std::nullopt, 1);
    const Result<LibraryItem> item =
        MediaLibrary(dir.filePath(s("Library"))).importFile(importDict);
    QVERIFY2(item.ok(), qPrintable(item.errorText()));
    QCOMPARE(readBack(item->path).date.left(4), year);
    // And the catalogue says the same.
    QCOMPARE(importDict.metadata.yearText().value_or(QString()), year);
}

void TestLibrary::valuesNotCarriedAreKept_data() {
    QTest::addColumn<QString>("name");
    QTest::newRow("ID3v2") << s("id3v24.mp3");
    QTest::newRow("MPEG-4") << s("track3of10.m4a");
}

void TestLibrary::valuesNotCarriedAreKept() {
    // As `tolvane-cli import FILE --kind song --set title=...`: a record with a title and no
    // year, no lyrics, no comment.
    QFETCH(QString, name);
    QTemporaryDir dir;
    const QString source = dir.filePath(name);
    QVERIFY(QFile::copy(fixture(qPrintable(name)), source));
    QFile::setPermissions(source, QFile::ReadOwner | QFile::WriteOwner);
    QVERIFY(addTagsOfItsOwn(source));
    const ReadBack before = readBack(source);
    QCOMPARE(before.date, s("2003-04-05"));

    const Result<LibraryItem> item = MediaLibrary(dir.filePath(s("Library")))
                                         .importFile(record(s("song"), source,
                                                            {{s("title"), s("Tide Over Stone")},
                                                             {s("artist"), s("The Pilots")}}));
    QVERIFY2(item.ok(), qPrintable(item.errorText()));
    const ReadBack after = readBack(item->path);
    QCOMPARE(after.date, s("2003-04-05"));
    QCOMPARE(after.lyrics, s("Salt on the wind"));
    QCOMPARE(after.comment, s("Recorded at dawn"));
    QCOMPARE(after.picture, before.picture);
    QCOMPARE(MetadataReader::metadataForFile(item->path)->value(AVMetadataCommonKeyTitle),
             QVariant(s("Tide Over Stone")));

    // A year the record does carry replaces the date.
    const Result<LibraryItem> dated =
        MediaLibrary(dir.filePath(s("Library")))
            .importFile(record(s("song"), source, {{s("title"), s("T")}, {s("year"), 1987}}));
    QVERIFY(dated.ok());
    QCOMPARE(readBack(dated->path).date, s("1987"));
    QCOMPARE(readBack(dated->path).lyrics, s("Salt on the wind"));
}

void TestLibrary::fileTypeIconIsNeverArtwork_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("ownCover");
    QTest::newRow("a song without a cover") << s("id3v23.mp3") << false;
    QTest::newRow("a song with its own cover") << s("id3v24.mp3") << true;
    QTest::newRow("an MPEG-4 song with its own cover") << s("track3of10.m4a") << true;
}

void TestLibrary::fileTypeIconIsNeverArtwork() {
    // A song from the browser: its record carries the file type's icon until the user picks
    // a picture, and the file's tags are read over it.
    QFETCH(QString, name);
    QFETCH(bool, ownCover);
    QTemporaryDir dir;
    const auto restore = qScopeGuard([user = Paths::userRoot(), system = Paths::systemRoot()] {
        Paths::setRoots(user, system);
    });
    Paths::setRoots(dir.filePath(s("var/mobile")), s(TOLVANE_BUILD_SYSTEM_ROOT));
    const ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 1.0);
    const QString source = dir.filePath(name);
    QVERIFY(QFile::copy(fixture(qPrintable(name)), source));
    const QByteArray sourceCover = readBack(source).picture;
    QCOMPARE(!sourceCover.isEmpty(), ownCover);

    ImportRecord importDict = ImportRecord::fromHandoffRecord(
        {{s("filePath"), source}, {s("name"), name}, {s("icon"), s("audio.png")}}, s("song"));
    const QByteArray shown = importDict.metadata.artwork.value_or(QByteArray());
    QVERIFY(!shown.isEmpty()); // the editor shows a picture: the icon, or the file's cover

    const Result<LibraryItem> item = ImportSubmission::submit(importDict, std::nullopt);
    QVERIFY2(item.ok(), qPrintable(item.errorText()));
    const QByteArray written = readBack(item->path).picture;
    if (!ownCover) {
        QVERIFY2(written.isEmpty(), "the icon was written as the song's cover");
    } else {
        // The file's cover, sized for the kind: a picture, never the icon.
        QVERIFY(!written.isEmpty());
        QVERIFY(written != test::contents(Paths::iconsFolder() + s("/audio.png")));
    }
}

QTEST_GUILESS_MAIN(TestLibrary)
#include "tst_library.moc"

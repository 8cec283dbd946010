#include "HttpTestServer.h"
#include "TestSupport.h"
#include "platform/Paths.h"
#include "search/ArtworkAnswerCache.h"
#include "search/ArtworkResults.h"
#include "search/ArtworkSearch.h"
#include "search/DeezerArtworkProvider.h"
#include "search/FolderArtworkProvider.h"
#include "search/ItunesArtworkProvider.h"
#include "search/MusicBrainzArtworkProvider.h"
#include "search/ProviderPause.h"
#include "search/RequestPacer.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

using namespace tolvane;
using namespace tolvane::test;

using Records = QList<QVariantMap>;
using Answers = QList<std::pair<QString, int>>; // a provider and its number of records
Q_DECLARE_METATYPE(Records)

namespace {

QByteArray json(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QVariantMap record(const char* provider, const QString& image, const QString& thumbnail,
                   const QString& title = {}) {
    return ArtworkRecord::make(s(provider), image, thumbnail, title);
}

QByteArray itunesAnswer(const QJsonArray& results) {
    return json({{s("resultCount"), results.size()}, {s("results"), results}});
}

QJsonObject itunesAlbum(const QString& artwork, const QString& album, const QString& artist) {
    return {{s("wrapperType"), s("collection")},
            {s("artworkUrl100"), artwork},
            {s("collectionName"), album},
            {s("artistName"), artist}};
}

QByteArray deezerAnswer(const QJsonArray& albums) {
    return json({{s("data"), albums}, {s("total"), albums.size()}});
}

QJsonObject deezerAlbum(const QString& xl, const QString& medium, const QString& title) {
    return {{s("title"), title},
            {s("cover_medium"), medium},
            {s("cover_xl"), xl},
            {s("artist"), QJsonObject{{s("name"), s("Harbour")}}}};
}

QString mbid(int n) {
    return s("0b5f0a4c-1c38-4d5e-9a0f-%1").arg(n, 12, 10, QLatin1Char('0'));
}

QByteArray coverAnswer(const QString& base, int n) {
    const QString at = base + s("/img/%1").arg(n);
    return json({{s("images"),
                  QJsonArray{QJsonObject{{s("front"), false}, {s("image"), at + s("-back.jpg")}},
                             QJsonObject{{s("front"), true},
                                         {s("image"), at + s(".jpg")},
                                         {s("thumbnails"),
                                          QJsonObject{{s("250"), at + s("-250.jpg")},
                                                      {s("1200"), at + s("-1200.jpg")}}}}}}});
}

// Local stand-ins for the artwork services and the page search, named in the environment for
// as long as they live.
struct Services {
    HttpTestServer itunes, deezer, musicbrainz, coverart, page;

    bool start() {
        for (HttpTestServer* server : {&itunes, &deezer, &musicbrainz, &coverart, &page}) {
            if (!server->listen())
                return false;
        }
        qputenv("TOLVANE_ITUNES_URL", itunes.base().toUtf8());
        qputenv("TOLVANE_DEEZER_URL", deezer.base().toUtf8());
        qputenv("TOLVANE_MUSICBRAINZ_URL", musicbrainz.base().toUtf8());
        qputenv("TOLVANE_COVERART_URL", coverart.base().toUtf8());
        qputenv("TOLVANE_SEARCH_URL", page.base().toUtf8());
        return true;
    }
    ~Services() {
        for (const char* name : {"TOLVANE_ITUNES_URL", "TOLVANE_DEEZER_URL",
                                 "TOLVANE_MUSICBRAINZ_URL", "TOLVANE_COVERART_URL"})
            qputenv(name, "http://127.0.0.1:9");
        qunsetenv("TOLVANE_SEARCH_URL");
    }
    qsizetype sent() const {
        qsizetype count = 0;
        for (const HttpTestServer* server : {&itunes, &deezer, &musicbrainz, &coverart, &page})
            count += server->requests().size();
        return count;
    }
};

// A search run to its end, with the answers in the order they came.
struct Run {
    QStringList answered;
    QHash<QString, QString> failures;
    bool ended = false;
};

bool runToEnd(ArtworkSearch& search, const ArtworkQuery& query, Run& run, int timeoutMs = 10000) {
    search.start(
        query,
        [&run](const QString& provider, const Result<ArtworkAnswer>& answer) {
            run.answered.append(provider);
            if (!answer)
                run.failures.insert(provider, answer.failure().text());
        },
        [&run] { run.ended = true; });
    return QTest::qWaitFor([&run] { return run.ended; }, timeoutMs);
}

ArtworkQuery songQuery(const QString& words = s("Evening Tide")) {
    return {words, s("albums"), words, s("song"), {}};
}

} // namespace

class TestArtwork : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();

    void itunesRecords_data();
    void itunesRecords();
    void deezerRecords_data();
    void deezerRecords();
    void musicBrainzReleases_data();
    void musicBrainzReleases();
    void coverArchiveImage_data();
    void coverArchiveImage();
    void folderRecords();
    void merge_data();
    void merge();
    void retryAfter_data();
    void retryAfter();

    void itunesQueryForEveryKind_data();
    void itunesQueryForEveryKind();
    void textIsEscaped_data();
    void textIsEscaped();
    void providersFitKinds_data();
    void providersFitKinds();
    void everyProviderTogether();
    void failures_data();
    void failures();
    void busyServicePausesProvider_data();
    void busyServicePausesProvider();
    void repeatedSearchIsAnsweredFromDisk();
    void slowProviderDoesNotHoldBackOthers();
    void newerSearchCancelsOlder();
    void hugeAnswerKeepsFirst200();
    void preferencesNameProviders_data();
    void preferencesNameProviders();

private:
    QTemporaryDir m_device;
};

void TestArtwork::initTestCase() {
    QVERIFY(m_device.isValid());
    Paths::setDeviceRoot(m_device.path());
}

void TestArtwork::init() {
    ProviderPause::clear();
    RequestPacer::reset();
}

// --- reading the answers ------------------------------------------------------------------

void TestArtwork::itunesRecords_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<Records>("records");

    const QString thumb = s("https://is1.example/image/thumb/a/100x100bb.jpg");
    const QString large = s("https://is1.example/image/thumb/a/600x600bb.jpg");
    QTest::newRow("an album") << itunesAnswer({itunesAlbum(thumb, s("Tide"), s("Harbour"))}) << true
                              << Records{record("itunes", large, thumb, s("Tide \u2013 Harbour"))};
    QTest::newRow("a film is named by its track")
        << itunesAnswer({QJsonObject{{s("artworkUrl100"), thumb}, {s("trackName"), s("Dune")}}})
        << true << Records{record("itunes", large, thumb, s("Dune"))};
    QTest::newRow("only the last size in the address changes")
        << itunesAnswer({itunesAlbum(s("https://h.example/100x100/x/100x100bb.png"), {}, {})})
        << true
        << Records{record("itunes", s("https://h.example/100x100/x/600x600bb.png"),
                          s("https://h.example/100x100/x/100x100bb.png"))};
    QTest::newRow("an address without a size is both")
        << itunesAnswer({itunesAlbum(s("https://h.example/a.jpg"), s("A"), {})}) << true
        << Records{record("itunes", s("https://h.example/a.jpg"), s("https://h.example/a.jpg"),
                          s("A"))};
    QTest::newRow("a result without artwork")
        << itunesAnswer({QJsonObject{{s("collectionName"), s("Tide")}},
                         itunesAlbum(thumb, s("Tide"), s("Harbour"))})
        << true << Records{record("itunes", large, thumb, s("Tide \u2013 Harbour"))};
    QTest::newRow("an empty answer") << itunesAnswer({}) << true << Records{};
    QTest::newRow("wrong types everywhere")
        << itunesAnswer({QJsonObject{{s("artworkUrl100"), 42}, {s("collectionName"), 7}},
                         QJsonObject{{s("artworkUrl100"), QJsonObject{}}},
                         QJsonObject{{s("artworkUrl100"), QJsonArray{thumb}}}, 5, s("text"),
                         QJsonArray{}, itunesAlbum(thumb, {}, {})})
        << true << Records{record("itunes", large, thumb)};
    QTest::newRow("a name that is a number is left out")
        << itunesAnswer({QJsonObject{
               {s("artworkUrl100"), thumb}, {s("collectionName"), 3}, {s("artistName"), s("H")}}})
        << true << Records{record("itunes", large, thumb, s("H"))};
    QTest::newRow("addresses that are not http(s)")
        << itunesAnswer({itunesAlbum(s("ftp://h.example/100x100.jpg"), {}, {}),
                         itunesAlbum(s("javascript:alert(1)"), {}, {}),
                         itunesAlbum(s("file:///etc/passwd"), {}, {}),
                         itunesAlbum(s("//h.example/100x100.jpg"), {}, {})})
        << true << Records{};
    QTest::newRow("results that are an object")
        << json({{s("results"), QJsonObject{{s("0"), itunesAlbum(thumb, {}, {})}}}}) << false
        << Records{};
    QTest::newRow("no results at all") << QByteArray("{}") << false << Records{};
    QTest::newRow("a list at the top") << QByteArray("[]") << false << Records{};
    QTest::newRow("not JSON") << QByteArray("<html>busy</html>") << false << Records{};
    QTest::newRow("cut short") << itunesAnswer({itunesAlbum(thumb, {}, {})}).chopped(5) << false
                               << Records{};
}

void TestArtwork::itunesRecords() {
    QFETCH(QByteArray, body);
    QFETCH(bool, ok);
    QFETCH(Records, records);

    const Result<Records> read = ItunesArtworkProvider::recordsFromAnswer(body);
    QCOMPARE(read.ok(), ok);
    if (ok)
        QCOMPARE(*read, records);
    else
        QVERIFY(!read.failure().message().isEmpty());
}

void TestArtwork::deezerRecords_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<Records>("records");

    const QString xl = s("https://cdn.example/cover/1000x1000.jpg");
    const QString medium = s("https://cdn.example/cover/250x250.jpg");
    QTest::newRow("an album") << deezerAnswer({deezerAlbum(xl, medium, s("Tide"))}) << true
                              << Records{record("deezer", xl, medium, s("Tide \u2013 Harbour"))};
    QTest::newRow("no medium cover: the large one")
        << deezerAnswer({deezerAlbum(xl, {}, s("T"))}) << true
        << Records{record("deezer", xl, xl, s("T \u2013 Harbour"))};
    QTest::newRow("no large cover: nothing")
        << deezerAnswer({deezerAlbum({}, medium, s("T")),
                         QJsonObject{{s("cover_xl"), 1}, {s("cover_medium"), medium}}})
        << true << Records{};
    QTest::newRow("an artist that is not an object")
        << deezerAnswer({QJsonObject{{s("cover_xl"), xl}, {s("artist"), s("Harbour")}}}) << true
        << Records{record("deezer", xl, xl)};
    QTest::newRow("an empty answer") << deezerAnswer({}) << true << Records{};
    QTest::newRow("the service's own error")
        << json({{s("error"), QJsonObject{{s("type"), s("Exception")},
                                          {s("message"), s("Quota limit exceeded")},
                                          {s("code"), 4}}}})
        << false << Records{};
    QTest::newRow("data that is a number") << json({{s("data"), 3}}) << false << Records{};
    QTest::newRow("not JSON") << QByteArray("\xff\xfe") << false << Records{};
}

void TestArtwork::deezerRecords() {
    QFETCH(QByteArray, body);
    QFETCH(bool, ok);
    QFETCH(Records, records);

    const Result<Records> read = DeezerArtworkProvider::recordsFromAnswer(body);
    QCOMPARE(read.ok(), ok);
    if (ok)
        QCOMPARE(*read, records);
}

void TestArtwork::musicBrainzReleases_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QStringList>("ids");
    QTest::addColumn<QStringList>("titles");

    const QJsonArray credit{QJsonObject{{s("name"), s("Harbour")}, {s("joinphrase"), s(" & ")}},
                            QJsonObject{{s("name"), s("Tide")}}};
    QTest::newRow("two releases")
        << json({{s("releases"),
                  QJsonArray{QJsonObject{{s("id"), mbid(1)},
                                         {s("title"), s("Lights")},
                                         {s("artist-credit"), credit}},
                             QJsonObject{{s("id"), mbid(2)}, {s("title"), s("Lights (live)")}}}}})
        << true << QStringList{mbid(1), mbid(2)}
        << QStringList{s("Lights \u2013 Harbour & Tide"), s("Lights (live)")};
    QTest::newRow("identifiers that are not ones")
        << json({{s("releases"),
                  QJsonArray{QJsonObject{{s("id"), s("../../admin")}}, QJsonObject{{s("id"), 12}},
                             QJsonObject{{s("id"), mbid(3) + s("/x")}},
                             QJsonObject{{s("id"), s("{") + mbid(4) + s("}")}},
                             QJsonObject{{s("id"), mbid(5)}, {s("artist-credit"), s("x")}}}}})
        << true << QStringList{mbid(5)} << QStringList{QString()};
    QTest::newRow("releases that are an object")
        << json({{s("releases"), QJsonObject{}}}) << false << QStringList{} << QStringList{};
    QTest::newRow("not JSON") << QByteArray("oops") << false << QStringList{} << QStringList{};
}

void TestArtwork::musicBrainzReleases() {
    QFETCH(QByteArray, body);
    QFETCH(bool, ok);
    QFETCH(QStringList, ids);
    QFETCH(QStringList, titles);

    const auto read = MusicBrainzArtworkProvider::releasesFromAnswer(body);
    QCOMPARE(read.ok(), ok);
    if (!ok)
        return;
    QStringList readIds, readTitles;
    for (const auto& release : *read) {
        readIds.append(release.id);
        readTitles.append(release.title);
    }
    QCOMPARE(readIds, ids);
    QCOMPARE(readTitles, titles);
}

void TestArtwork::coverArchiveImage_data() {
    QTest::addColumn<QJsonArray>("images");
    QTest::addColumn<QString>("image");
    QTest::addColumn<QString>("thumbnail");

    const QString base = s("https://archive.example/x");
    const auto image = [&base](const QJsonValue& front, const QJsonObject& thumbnails) {
        return QJsonObject{
            {s("front"), front}, {s("image"), base + s(".jpg")}, {s("thumbnails"), thumbnails}};
    };
    QTest::newRow("1200 and 250") << QJsonArray{image(true, {{s("250"), base + s("-250")},
                                                             {s("1200"), base + s("-1200")},
                                                             {s("large"), base + s("-500")},
                                                             {s("small"), base + s("-small")}})}
                                  << base + s("-1200") << base + s("-250");
    QTest::newRow("large and small") << QJsonArray{image(true, {{s("large"), base + s("-500")},
                                                                {s("small"), base + s("-small")}})}
                                     << base + s("-500") << base + s("-small");
    QTest::newRow("no thumbnails: the image")
        << QJsonArray{image(true, {})} << base + s(".jpg") << base + s(".jpg");
    QTest::newRow("thumbnails of the wrong types")
        << QJsonArray{image(true, {{s("1200"), 5}, {s("250"), QJsonArray{}}})} << base + s(".jpg")
        << base + s(".jpg");
    QTest::newRow("only the front one")
        << QJsonArray{image(false, {{s("1200"), s("https://other.example/back")}}),
                      image(true, {{s("1200"), base + s("-1200")}})}
        << base + s("-1200") << base + s(".jpg");
    QTest::newRow("front as text is not front")
        << QJsonArray{image(s("true"), {})} << QString() << QString();
    QTest::newRow("no front") << QJsonArray{image(false, {})} << QString() << QString();
}

void TestArtwork::coverArchiveImage() {
    QFETCH(QJsonArray, images);
    QFETCH(QString, image);
    QFETCH(QString, thumbnail);

    const Result<Records> read =
        MusicBrainzArtworkProvider::coverFromAnswer(json({{s("images"), images}}), s("Lights"));
    QVERIFY(read.ok());
    if (image.isEmpty()) {
        QVERIFY(read->isEmpty());
        return;
    }
    QCOMPARE(*read, Records{record("musicbrainz", image, thumbnail, s("Lights"))});
    QVERIFY(!MusicBrainzArtworkProvider::coverFromAnswer("{\"images\": 1}", {}).ok());
}

void TestArtwork::folderRecords() {
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    for (const char* name : {"Song One.mp3", "Song One.JPG", "ALBUM.Png", "front.jpeg", "Cover.jpg",
                             "folder.png", "cover.gif", "other.jpg", "cover.jpg.txt"})
        QVERIFY(writeFile(folder.filePath(s(name)), "x"));
    QVERIFY(QDir(folder.path()).mkdir(s("folder.jpg")));

    const Records records =
        FolderArtworkProvider::recordsBeside(folder.filePath(s("Song One.mp3")));
    QStringList names;
    for (const QVariantMap& found : records) {
        const QUrl address(found.value(s("imgurl")).toString());
        QVERIFY(address.isLocalFile());
        QCOMPARE(found.value(s("thumburl")), found.value(s("imgurl")));
        QCOMPARE(found.value(s("provider")).toString(), s("folder"));
        names.append(QFileInfo(address.toLocalFile()).fileName());
    }
    QCOMPARE(names, (QStringList{s("Cover.jpg"), s("folder.png"), s("front.jpeg"), s("ALBUM.Png"),
                                 s("Song One.JPG")}));
    QVERIFY(FolderArtworkProvider::recordsBeside(folder.filePath(s("gone/x.mp3"))).isEmpty());
}

void TestArtwork::merge_data() {
    QTest::addColumn<Answers>("answers");
    QTest::addColumn<QStringList>("order"); // provider of each record
    QTest::addColumn<int>("count");

    QTest::newRow("in the fixed order, whatever came first")
        << Answers{{s("web"), 1},
                   {s("deezer"), 1},
                   {s("folder"), 1},
                   {s("itunes"), 1},
                   {s("musicbrainz"), 1}}
        << QStringList{s("folder"), s("itunes"), s("deezer"), s("musicbrainz"), s("web")} << 5;
    QTest::newRow("200 of each service")
        << Answers{{s("itunes"), 300}, {s("deezer"), 250}} << QStringList{} << 400;
    QTest::newRow("the page search keeps all of its list")
        << Answers{{s("web"), 300}} << QStringList{} << 300;
}

void TestArtwork::merge() {
    QFETCH(Answers, answers);
    QFETCH(QStringList, order);
    QFETCH(int, count);

    ArtworkResults results;
    for (const auto& [provider, number] : answers) {
        Records records;
        for (int i = 0; i < number; ++i) {
            const QString address = s("https://%1.example/%2.jpg").arg(provider).arg(i);
            records.append(provider == QLatin1String("web")
                               ? QVariantMap{{s("imgurl"), address}, {s("thumburl"), address}}
                               : record(qPrintable(provider), address, address));
        }
        results.setRecords(provider, records);
    }
    const Records merged = results.merged();
    QCOMPARE(merged.size(), count);
    if (!order.isEmpty()) {
        QStringList providers;
        for (const QVariantMap& each : merged)
            providers.append(ArtworkResults::providerOf(each));
        QCOMPARE(providers, order);
    }
}

void TestArtwork::retryAfter_data() {
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<qint64>("seconds");

    QTest::newRow("absent: a minute") << QByteArray() << qint64(60);
    QTest::newRow("seconds") << QByteArray("120") << qint64(120);
    QTest::newRow("zero: a second") << QByteArray("0") << qint64(1);
    QTest::newRow("a year: an hour") << QByteArray("31536000") << qint64(3600);
    QTest::newRow("digits past any clock") << QByteArray("99999999999999999999999") << qint64(3600);
    QTest::newRow("a date in two minutes")
        << QByteArray("Wed, 01 May 2030 12:02:00 GMT") << qint64(120);
    QTest::newRow("a date a year away")
        << QByteArray("Thu, 01 May 2031 12:00:00 GMT") << qint64(3600);
    QTest::newRow("a date gone by") << QByteArray("Tue, 30 Apr 2030 12:00:00 GMT") << qint64(1);
    QTest::newRow("negative") << QByteArray("-5") << qint64(60);
    QTest::newRow("words") << QByteArray("soon") << qint64(60);
}

void TestArtwork::retryAfter() {
    QFETCH(QByteArray, value);
    QFETCH(qint64, seconds);
    const QDateTime now(QDate(2030, 5, 1), QTime(12, 0), Qt::UTC);
    QCOMPARE(ProviderPause::pauseFor(value, now).count(), seconds);
}

// --- asking the services --------------------------------------------------------------------

void TestArtwork::itunesQueryForEveryKind_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QByteArray>("query");

    QTest::newRow("song") << s("song") << QByteArray("media=music&entity=album");
    QTest::newRow("ringtone") << s("ringtone") << QByteArray("media=music&entity=song");
    QTest::newRow("music video") << s("music-video")
                                 << QByteArray("media=musicVideo&entity=musicVideo");
    QTest::newRow("movie") << s("feature-movie") << QByteArray("media=movie&entity=movie");
    QTest::newRow("TV episode") << s("tv-episode") << QByteArray("media=tvShow&entity=tvSeason");
    QTest::newRow("podcast") << s("podcast") << QByteArray("media=podcast&entity=podcast");
}

void TestArtwork::itunesQueryForEveryKind() {
    QFETCH(QString, kind);
    QFETCH(QByteArray, query);

    Services services;
    QVERIFY(services.start());
    services.itunes.route("/search", HttpTestServer::ok(itunesAnswer({}), "application/json"));
    ArtworkSearch search({s("itunes")});
    Run run;
    QVERIFY(runToEnd(search, {s("x"), {}, s("Evening Tide"), kind, {}}, run));
    QCOMPARE(run.failures, (QHash<QString, QString>{}));
    QVERIFY(search.anyRecords());
    QCOMPARE(services.itunes.requests().size(), 1);
    const QByteArray head = services.itunes.requests().constFirst().head;
    QVERIFY2(head.startsWith("GET /search?term=Evening%20Tide&" + query + "&limit=50 HTTP/1.1"),
             head.constData());
    QVERIFY(head.contains("User-Agent: Tolvane/"));
}

void TestArtwork::textIsEscaped_data() {
    QTest::addColumn<QString>("words");
    QTest::addColumn<QByteArray>("term");

    QTest::newRow("reserved characters")
        << s("AC/DC & Co = 1+2?#x") << QByteArray("AC%2FDC%20%26%20Co%20%3D%201%2B2%3F%23x");
    QTest::newRow("not ASCII") << s("Sigur Rós – Ágætis")
                               << QByteArray("Sigur%20R%C3%B3s%20%E2%80%93%20%C3%81g%C3%A6tis");
    QTest::newRow("10,000 characters are cut")
        << QString(10000, QLatin1Char('a')) << QByteArray(256, 'a');
    QTest::newRow("a cut through a character")
        << QString(255, QLatin1Char('a')) + s("\U0001F3B5") << QByteArray(255, 'a');
}

void TestArtwork::textIsEscaped() {
    QFETCH(QString, words);
    QFETCH(QByteArray, term);

    Services services;
    QVERIFY(services.start());
    services.itunes.route("/search", HttpTestServer::ok(itunesAnswer({})));
    services.deezer.route("/search/album", HttpTestServer::ok(deezerAnswer({})));
    services.musicbrainz.route("/ws/2/release/", HttpTestServer::ok("{\"releases\": []}"));
    ArtworkSearch search({s("itunes"), s("deezer"), s("musicbrainz")});
    Run run;
    QVERIFY(runToEnd(search, songQuery(words), run));
    QCOMPARE(run.failures, (QHash<QString, QString>{}));
    QVERIFY(services.itunes.requests().constFirst().head.startsWith("GET /search?term=" + term +
                                                                    "&media="));
    QVERIFY(services.deezer.requests().constFirst().head.startsWith("GET /search/album?q=" + term +
                                                                    " HTTP/1.1"));
    QVERIFY(services.musicbrainz.requests().constFirst().head.startsWith(
        "GET /ws/2/release/?query=" + term + "&fmt=json&limit=10 HTTP/1.1"));
}

void TestArtwork::providersFitKinds_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("asked");

    const QStringList music{s("itunes"), s("deezer"), s("web")};
    QTest::newRow("song") << s("song") << s("/music/a.mp3")
                          << QStringList{s("folder"), s("itunes"), s("deezer"), s("musicbrainz"),
                                         s("web")};
    QTest::newRow("song without a file")
        << s("song") << QString()
        << QStringList{s("itunes"), s("deezer"), s("musicbrainz"), s("web")};
    QTest::newRow("ringtone") << s("ringtone") << QString() << music;
    QTest::newRow("music video") << s("music-video") << QString() << music;
    QTest::newRow("movie") << s("feature-movie") << QString() << QStringList{s("itunes"), s("web")};
    QTest::newRow("TV episode") << s("tv-episode") << QString()
                                << QStringList{s("itunes"), s("web")};
    QTest::newRow("podcast") << s("podcast") << QString() << QStringList{s("itunes"), s("web")};
    QTest::newRow("unknown kind") << s("opera") << QString() << QStringList{s("web")};
}

void TestArtwork::providersFitKinds() {
    QFETCH(QString, kind);
    QFETCH(QString, path);
    QFETCH(QStringList, asked);

    // Every service refuses at once: only which ones were asked counts here.
    ArtworkSearch search(ArtworkSearch::allProviders());
    Run run;
    qputenv("TOLVANE_SEARCH_URL", "http://127.0.0.1:9");
    QVERIFY(runToEnd(search, {s("x"), {}, s("x"), kind, path}, run));
    qunsetenv("TOLVANE_SEARCH_URL");
    QCOMPARE(search.asked(), asked);
}

void TestArtwork::everyProviderTogether() {
    Services services;
    QVERIFY(services.start());
    const QString shared = services.itunes.base() + s("/shared/600x600bb.jpg");
    services.itunes.route(
        "/search", HttpTestServer::ok(itunesAnswer({itunesAlbum(services.itunes.base() +
                                                                    s("/shared/100x100bb.jpg"),
                                                                s("Tide"), s("Harbour"))}),
                                      "text/javascript; charset=utf-8"));
    services.deezer.route(
        "/search/album",
        HttpTestServer::ok(
            deezerAnswer({deezerAlbum(shared, shared, s("Tide")),
                          deezerAlbum(services.deezer.base() + s("/xl.jpg"), {}, s("Lights"))})));
    services.musicbrainz.route(
        "/ws/2/release/",
        HttpTestServer::ok(json({{s("releases"), QJsonArray{QJsonObject{{s("id"), mbid(1)}},
                                                            QJsonObject{{s("id"), mbid(2)}},
                                                            QJsonObject{{s("id"), mbid(3)}}}}})));
    // The second release has no cover.
    services.coverart.route("/release/" + mbid(1).toUtf8(),
                            HttpTestServer::ok(coverAnswer(services.coverart.base(), 1)));
    services.coverart.route("/release/" + mbid(3).toUtf8(),
                            HttpTestServer::ok(coverAnswer(services.coverart.base(), 3)));
    services.page.route("/search",
                        HttpTestServer::ok("<div class=\"rg_di\"><a href=\"/imgres?imgurl=" +
                                           shared.toUtf8() + "&amp;h=1\">{\"tu\":\"" +
                                           services.page.base().toUtf8() + "/t\",\"s\":1}"));
    QTemporaryDir folder;
    QVERIFY(writeFile(folder.filePath(s("cover.png")), "x"));

    ArtworkSearch search(ArtworkSearch::allProviders());
    Run run;
    QElapsedTimer clock;
    clock.start();
    QVERIFY(runToEnd(
        search,
        {s("Evening Tide"), s("albums"), s("Evening Tide"), s("song"), folder.filePath(s("a.mp3"))},
        run));
    QCOMPARE(run.failures, (QHash<QString, QString>{}));
    QCOMPARE(run.answered.size(), 5);

    QStringList providers, images;
    for (const QVariantMap& each : search.records()) {
        providers.append(ArtworkResults::providerOf(each));
        images.append(each.value(s("imgurl")).toString());
    }
    // The shared image once, from the first provider that gave it; the page search's copy too.
    QCOMPARE(providers, (QStringList{s("folder"), s("itunes"), s("deezer"), s("musicbrainz"),
                                     s("musicbrainz")}));
    QCOMPARE(images.mid(1), (QStringList{shared, services.deezer.base() + s("/xl.jpg"),
                                         services.coverart.base() + s("/img/1-1200.jpg"),
                                         services.coverart.base() + s("/img/3-1200.jpg")}));

    // The cover archive was asked for each release in order, a second apart, with a
    // User-Agent naming Tolvane and a contact.
    const QList<HttpTestServer::Request>& covers = services.coverart.requests();
    QCOMPARE(covers.size(), 3);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(covers.at(i).path, "/release/" + mbid(i + 1).toUtf8());
    QVERIFY(clock.elapsed() >= 2 * MusicBrainzArtworkProvider::intervalMs - 50);
    QVERIFY(covers.constFirst().head.contains("\r\nUser-Agent: Tolvane/"));
    QVERIFY(covers.constFirst().head.contains(" ( "));
    // The page search's request stays as it was.
    QVERIFY(services.page.requests().constFirst().head.contains("&q=Evening+Tide+albums HTTP/1.1"));
}

void TestArtwork::failures_data() {
    QTest::addColumn<HttpTestServer::Response>("response");
    QTest::addColumn<QString>("cause");

    QTest::newRow("404") << HttpTestServer::Response{404, "Not Found", {}, "no", false}
                         << s("HTTP status 404");
    QTest::newRow("500") << HttpTestServer::Response{500, "Oops", {}, "no", false}
                         << s("HTTP status 500");
    QTest::newRow("not JSON") << HttpTestServer::ok("<html>maintenance</html>")
                              << s("the answer is not JSON");
    QTest::newRow("20 MB") << HttpTestServer::ok("{\"results\": [" +
                                                 QByteArray(20 * 1024 * 1024, ' ') + "]}")
                           << s("larger than 16 MB");
    QTest::newRow("a redirect to another host")
        << HttpTestServer::redirect("OTHER") << s("was not followed");
    // The network layer itself never follows this one; the answer is the redirect.
    QTest::newRow("a redirect to a file")
        << HttpTestServer::redirect("file:///etc/passwd") << s("HTTP status 302");
}

void TestArtwork::failures() {
    QFETCH(HttpTestServer::Response, response);
    QFETCH(QString, cause);

    Services services;
    QVERIFY(services.start());
    HttpTestServer other;
    QVERIFY(other.listen());
    other.route("/search", HttpTestServer::ok(itunesAnswer({})));
    for (auto& [name, value] : response.headers) {
        if (value == "OTHER")
            value = other.url("/search").toEncoded();
    }
    services.itunes.route("/search", response);
    services.deezer.route("/search/album", HttpTestServer::ok(deezerAnswer({})));

    ArtworkSearch search({s("itunes"), s("deezer")});
    Run run;
    QVERIFY(runToEnd(search, songQuery(), run));
    QVERIFY2(run.failures.value(s("itunes")).contains(cause),
             qPrintable(run.failures.value(s("itunes"))));
    QCOMPARE(other.requests().size(), 0);
    // The other provider's answer stands.
    QVERIFY(!run.failures.contains(s("deezer")));
    QVERIFY(search.anyRecords());
    QCOMPARE(search.failures().size(), 1);
    QVERIFY(search.failures().constFirst().startsWith(s("itunes: ")));
}

void TestArtwork::busyServicePausesProvider_data() {
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("retryAfter");
    QTest::addColumn<qint64>("seconds");

    QTest::newRow("429 for two minutes") << 429 << QByteArray("120") << qint64(120);
    QTest::newRow("503 without a time") << 503 << QByteArray() << qint64(60);
    QTest::newRow("403 for a year") << 403 << QByteArray("31536000") << qint64(3600);
}

void TestArtwork::busyServicePausesProvider() {
    QFETCH(int, status);
    QFETCH(QByteArray, retryAfter);
    QFETCH(qint64, seconds);

    Services services;
    QVERIFY(services.start());
    HttpTestServer::Response busy{status, "Busy", {}, "slow down", false};
    if (!retryAfter.isEmpty())
        busy.headers.append({"Retry-After", retryAfter});
    services.musicbrainz.route("/ws/2/release/", busy);

    ArtworkSearch search({s("musicbrainz")});
    Run run;
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(s("musicbrainz answered HTTP %1: not "
                                                            "asked again for %2 s")
                                                              .arg(status)
                                                              .arg(seconds)));
    QVERIFY(runToEnd(search, songQuery(), run));
    QVERIFY(run.failures.contains(s("musicbrainz")));
    const auto left = ProviderPause::remaining(s("musicbrainz"));
    QVERIFY(left && left->count() <= seconds && left->count() >= seconds - 2);

    // Asked again at once: nothing is sent, and the failure says why.
    Run again;
    QVERIFY(runToEnd(search, songQuery(s("other")), again, 2000));
    QVERIFY2(again.failures.value(s("musicbrainz")).contains(s("asked to wait")),
             qPrintable(again.failures.value(s("musicbrainz"))));
    QCOMPARE(services.musicbrainz.requests().size(), 1);
}

void TestArtwork::repeatedSearchIsAnsweredFromDisk() {
    Services services;
    QVERIFY(services.start());
    services.itunes.route(
        "/search", HttpTestServer::ok(itunesAnswer(
                       {itunesAlbum(services.itunes.base() + s("/a/100x100.jpg"), s("A"), {})})));
    services.musicbrainz.route(
        "/ws/2/release/",
        HttpTestServer::ok(json({{s("releases"), QJsonArray{QJsonObject{{s("id"), mbid(7)}}}}})));
    services.coverart.route("/release/" + mbid(7).toUtf8(),
                            HttpTestServer::ok(coverAnswer(services.coverart.base(), 7)));
    // A failed answer is not kept.
    services.deezer.route("/search/album", HttpTestServer::ok("{\"error\": {\"message\": \"q\"}}"));

    Records first;
    for (int round = 0; round < 2; ++round) {
        // A new search object each time, as a new screen or a new run of the program makes.
        ArtworkSearch search({s("itunes"), s("deezer"), s("musicbrainz")});
        Run run;
        QVERIFY(runToEnd(search, songQuery(), run));
        QCOMPARE(run.failures.keys(), QStringList{s("deezer")});
        if (round == 0)
            first = search.records();
        else
            QCOMPARE(search.records(), first);
    }
    QCOMPARE(first.size(), 2);
    QCOMPARE(services.itunes.requests().size(), 1);
    QCOMPARE(services.musicbrainz.requests().size(), 1);
    QCOMPARE(services.coverart.requests().size(), 1);
    QCOMPARE(services.deezer.requests().size(), 2);
    QVERIFY(QDir(ArtworkAnswerCache::folder()).exists());
    QVERIFY(ArtworkAnswerCache::folder().startsWith(m_device.path()));
}

void TestArtwork::slowProviderDoesNotHoldBackOthers() {
    Services services;
    QVERIFY(services.start());
    auto slow = HttpTestServer::ok(itunesAnswer({}));
    slow.delayMs = 1500;
    services.itunes.route("/search", slow);
    auto quick = HttpTestServer::ok(deezerAnswer({deezerAlbum(s("https://x.example/1"), {}, {})}));
    quick.delayMs = 50;
    services.deezer.route("/search/album", quick);

    ArtworkSearch search({s("itunes"), s("deezer")});
    Run run;
    QElapsedTimer clock;
    clock.start();
    qint64 deezerAt = -1;
    search.start(
        songQuery(),
        [&](const QString& provider, const Result<ArtworkAnswer>&) {
            run.answered.append(provider);
            if (provider == QLatin1String("deezer"))
                deezerAt = clock.elapsed();
        },
        [&run] { run.ended = true; });
    QVERIFY(QTest::qWaitFor([&run] { return run.ended; }, 10000));
    QCOMPARE(run.answered, (QStringList{s("deezer"), s("itunes")}));
    QVERIFY2(deezerAt >= 0 && deezerAt < 1000, qPrintable(QString::number(deezerAt)));
}

void TestArtwork::newerSearchCancelsOlder() {
    Services services;
    QVERIFY(services.start());
    auto slow = HttpTestServer::ok(
        itunesAnswer({itunesAlbum(s("https://x.example/100x100.jpg"), s("Old"), {})}));
    slow.delayMs = 300;
    services.itunes.route("/search", slow);

    ArtworkSearch search({s("itunes")});
    Run older;
    search.start(
        songQuery(s("older")),
        [&older](const QString& provider, const Result<ArtworkAnswer>&) {
            older.answered.append(provider);
        },
        [&older] { older.ended = true; });
    QTRY_COMPARE(services.itunes.requests().size(), 1);
    Run newer;
    QVERIFY(runToEnd(search, songQuery(s("newer")), newer));
    QCOMPARE(newer.answered, QStringList{s("itunes")});
    QTest::qWait(500);
    QVERIFY(older.answered.isEmpty());
    QVERIFY(!older.ended);
    QVERIFY(services.itunes.requests().constLast().head.contains("term=newer&"));
}

void TestArtwork::hugeAnswerKeepsFirst200() {
    Services services;
    QVERIFY(services.start());
    QByteArray body = "{\"resultCount\":100000,\"results\":[";
    for (int i = 0; i < 100000; ++i) {
        if (i > 0)
            body += ',';
        body +=
            "{\"artworkUrl100\":\"https://i.example/" + QByteArray::number(i) + "/100x100.jpg\"}";
    }
    body += "]}";
    services.itunes.route("/search", HttpTestServer::ok(body));

    ArtworkSearch search({s("itunes")});
    Run run;
    QVERIFY(runToEnd(search, songQuery(), run, 30000));
    const Records records = search.records();
    QCOMPARE(records.size(), 200);
    QCOMPARE(records.constLast().value(s("imgurl")).toString(),
             s("https://i.example/199/600x600.jpg"));
}

void TestArtwork::preferencesNameProviders_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QStringList>("providers");

    QTest::newRow("absent: all") << QVariant() << ArtworkSearch::allProviders();
    QTest::newRow("two, in merge order")
        << QVariant(QVariantList{s("web"), s("itunes")}) << QStringList{s("itunes"), s("web")};
    QTest::newRow("unknown names and wrong types are left out")
        << QVariant(QVariantList{s("ITUNES"), 4, s("deezer"), QVariantMap{}})
        << QStringList{s("deezer")};
    QTest::newRow("none") << QVariant(QVariantList{}) << QStringList{};
    QTest::newRow("not a list: all") << QVariant(s("itunes")) << ArtworkSearch::allProviders();
}

void TestArtwork::preferencesNameProviders() {
    QFETCH(QVariant, value);
    QFETCH(QStringList, providers);

    QVariantMap preferences{{s("savePath"), s("/tmp")}};
    if (value.isValid())
        preferences.insert(s("artworkProviders"), value);
    QVERIFY(writePlist(Paths::preferencesFile(), preferences));
    if (value.isValid() && value.typeId() != QMetaType::QVariantList)
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(s("not a list")));
    QCOMPARE(ArtworkSearch::providersFromPreferences(), providers);
    QFile::remove(Paths::preferencesFile());
}

QTEST_MAIN(TestArtwork)
#include "tst_artwork.moc"

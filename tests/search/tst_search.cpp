#include "TestSupport.h"
#include "search/ImageSearchRequest.h"
#include "search/ImageSearchScraper.h"
#include "search/RegexSearch.h"

#include <QRandomGenerator>
#include <QTest>

#include <optional>

using namespace tolvane;
using namespace tolvane::test;

namespace {

const QString marker = s("<div class=\"rg_di rg_el\">");

// One result as the page writes it: the link with its escaped ampersands, then the metadata
// object whose "tu" key holds the thumbnail.
QString result(const char* image, const char* thumbnail, const char* after = ",\"ity\":\"jpg\"}") {
    return marker + s("<a href=\"/imgres?imgurl=") + s(image) +
           s("&amp;imgrefurl=http://site.example/&amp;h=500\"></a><div class=\"rg_meta\">"
             "{\"id\":\"r1\",\"tu\":\"") +
           s(thumbnail) + s("\"") + s(after) + s("</div></div>");
}

// Records as "image | thumbnail" lines; nothing for an absent list.
std::optional<QStringList> lines(const std::optional<QList<QVariantMap>>& records) {
    if (!records)
        return std::nullopt;
    QStringList out;
    for (const QVariantMap& record : *records) {
        if (record.keys() != QStringList{s("imgurl"), s("thumburl")})
            return QStringList{s("bad keys")};
        out.append(record.value(s("imgurl")).toString() + s(" | ") +
                   record.value(s("thumburl")).toString());
    }
    return out;
}

} // namespace

class TestSearch : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void queryText_data();
    void queryText();
    void requestUrl_data();
    void requestUrl();
    void regex_data();
    void regex();
    void scrape_data();
    void scrape();
    void hostilePages_data();
    void hostilePages();
};

void TestSearch::queryText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("keyword");
    QTest::addColumn<QString>("query");
    QTest::addColumn<QByteArray>("escaped");

    const auto row = [](const char* tag, const char* text, const char* keyword, const char* query,
                        const char* escaped) {
        QTest::newRow(tag) << s(text) << s(keyword) << s(query) << QByteArray(escaped);
    };
    row("screen load", "a b.mp4", "albums", "a+b+albums", "a+b+albums");
    row("search bar", "a b.mp4", "", "a+b+", "a+b+");
    row("upper-case extension kept", "x.MP4", "", "x.MP4+", "x.MP4+");
    row("every .mp4 removed", "a.mp4b.mp4", "k", "ab+k", "ab+k");
    row("unsafe characters escaped", "Björk \"x\" <y> 100% {z}", "", "Björk+\"x\"+<y>+100%+{z}+",
        "Bj%C3%B6rk+%22x%22+%3Cy%3E+100%25+%7Bz%7D+");
    row("reserved characters leak", "a&b=c/d?e:f,g;h@i$j", "", "a&b=c/d?e:f,g;h@i$j+",
        "a&b=c/d?e:f,g;h@i$j+");
    row("marks kept, brackets escaped", "-_.!~*'()[x]|^`\\", "", "-_.!~*'()[x]|^`\\+",
        "-_.!~*'()%5Bx%5D%7C%5E%60%5C+");
}

void TestSearch::queryText() {
    QFETCH(QString, text);
    QFETCH(QString, keyword);
    QFETCH(QString, query);
    QFETCH(QByteArray, escaped);

    QCOMPARE(ImageSearchRequest::queryText(text, keyword), query);
    QCOMPARE(ImageSearchRequest::legacyPercentEscaped(query), escaped);
}

void TestSearch::requestUrl_data() {
    QTest::addColumn<QByteArray>("service");
    QTest::addColumn<QByteArray>("url");

    const QByteArray tail = "/search?espv=2&biw=1050&bih=757&tbs=imgo:1,islt:vga,isz:ex,iszw:500,"
                            "iszh:500&tbm=isch&source=lnt&q=Caf%C3%A9+Noir+albums";
    QTest::newRow("default host") << QByteArray() << "https://www.google.com" + tail;
    QTest::newRow("mirror") << QByteArray("http://127.0.0.1:8080")
                            << "http://127.0.0.1:8080" + tail;
    QTest::newRow("mirror path dropped")
        << QByteArray("http://mirror.example/base/") << "http://mirror.example" + tail;
    QTest::newRow("not a URL") << QByteArray("no host here") << "https://www.google.com" + tail;
}

void TestSearch::requestUrl() {
    QFETCH(QByteArray, service);
    QFETCH(QByteArray, url);

    if (service.isEmpty())
        qunsetenv("TOLVANE_SEARCH_URL");
    else
        qputenv("TOLVANE_SEARCH_URL", service);
    const ImageSearchRequest request = ImageSearchRequest::forSearch(s("Café Noir"), s("albums"));
    qunsetenv("TOLVANE_SEARCH_URL");
    QCOMPARE(request.url.toEncoded(), url);
    const QList<std::pair<QByteArray, QByteArray>> headers{
        {"User-Agent", "Mozilla/5.0 (X11; Linux x86_64; rv:10.0) Gecko/20100101 Firefox/10.0"}};
    QCOMPARE(request.headers, headers);
}

void TestSearch::regex_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<uint>("range");
    QTest::addColumn<bool>("lineSeparators");
    QTest::addColumn<QString>("found"); // null: nothing

    const auto row = [](const char* tag, const char* text, const char* pattern, uint range,
                        bool lineSeparators, const char* found) {
        QTest::newRow(tag) << s(text) << s(pattern) << range << lineSeparators
                           << (found ? s(found) : QString());
    };
    row("whole match", "x IMGURL=HTTP://a;b", "(imgurl=http)[^;]+", 0, true, "IMGURL=HTTP://a");
    row("group as found", "x IMGURL=HTTP://a;b", "(imgurl=http)[^;]+", 1, true, "IMGURL=HTTP");
    row("group beyond the pattern", "imgurl=http://a", "(imgurl=http)[^;]+", 2, true, nullptr);
    row("group not taking part", "y", "(x)?y", 1, false, nullptr);
    row("leftmost match", "b2 a1 b3", "[ab]\\d", 0, false, "b2");
    row("no match", "abc", "z", 0, false, nullptr);
    row("empty text", "", "a", 0, false, nullptr);
    row("empty pattern", "abc", "", 0, false, nullptr);
    row("pattern that does not compile", "abc", "(a", 0, false, nullptr);
    row("dot crosses line ends when asked", "a\nb", "a.b", 0, true, "a\nb");
    row("dot stops at line ends otherwise", "a\nb", "a.b", 0, false, nullptr);
}

void TestSearch::regex() {
    QFETCH(QString, text);
    QFETCH(QString, pattern);
    QFETCH(uint, range);
    QFETCH(bool, lineSeparators);
    QFETCH(QString, found);

    const std::optional<QString> result = searchRegexInString(text, pattern, range, lineSeparators);
    QCOMPARE(result.has_value(), !found.isNull());
    if (result)
        QCOMPARE(*result, found);
}

void TestSearch::scrape_data() {
    QTest::addColumn<QString>("page");
    QTest::addColumn<std::optional<QStringList>>("records");

    const auto some = [](std::initializer_list<const char*> texts) {
        QStringList list;
        for (const char* text : texts)
            list.append(s(text));
        return std::optional<QStringList>(list);
    };
    const QString one =
        result("http://a.example/one.jpg", "https://t0.example/images?q\\u003dtbn:ABC");

    QTest::newRow("empty page") << QString() << std::optional<QStringList>();
    QTest::newRow("pairs without a marker")
        << one.mid(marker.size()) << std::optional<QStringList>();
    QTest::newRow("markers without pairs")
        << marker + s("imgurl=http://a.example/x.jpg;") + marker + s("\"tu\":\"http://t/x\",")
        << some({});
    QTest::newRow("one result")
        << s("<html>") + one + s("</html>")
        << some({"http://a.example/one.jpg | https://t0.example/images?q=tbn:ABC"});
    QTest::newRow("escaped ampersand continues the address")
        << result("http://a.example/x.jpg\\u0026w\\u003d1", "http://t/x")
        << some({"http://a.example/x.jpg&w=1 | http://t/x"});
    QTest::newRow("ampersand without semicolon")
        << result("http://a.example/a&ampb.jpg", "http://t/x")
        << some({"http://a.example/ab.jpg | http://t/x"});
    QTest::newRow("last key runs to the next comma")
        << result("http://a.example/l.jpg", "http://t/last", "},{\"id\":\"r2\"}")
        << some({"http://a.example/l.jpg | http://t/last}"});
    QTest::newRow("every tu: removed") << result("http://a.example/s.jpg", "http://t/statu:s:1")
                                       << some({"http://a.example/s.jpg | http://t/stas:1"});
    QTest::newRow("upper-case prefixes")
        << marker + s("IMGURL=HTTP://A.EXAMPLE/B.JPG;x \"TU\":\"HTTP://T/B\",")
        << some({"IMGURL=HTTP://A.EXAMPLE/B.JPG | TU:HTTP://T/B"});
    QTest::newRow("empty run skipped")
        << marker + s("imgurl=http;imgurl=http://b.example/c;\"tu\":\"http://t/c\",")
        << some({"http://b.example/c | http://t/c"});
    QTest::newRow("piece before the first marker")
        << s("imgurl=http://first.example/0;\"tu\":\"http://t/0\",") + one
        << some({"http://first.example/0 | http://t/0",
                 "http://a.example/one.jpg | https://t0.example/images?q=tbn:ABC"});
    QTest::newRow("duplicates kept")
        << one + one
        << some({"http://a.example/one.jpg | https://t0.example/images?q=tbn:ABC",
                 "http://a.example/one.jpg | https://t0.example/images?q=tbn:ABC"});
    QTest::newRow("only one address in a piece")
        << marker + s("imgurl=http://a.example/x.jpg;") + result("http://b/y", "http://t/y")
        << some({"http://b/y | http://t/y"});
}

void TestSearch::scrape() {
    QFETCH(QString, page);
    QFETCH(std::optional<QStringList>, records);

    QCOMPARE(lines(ImageSearchScraper::imagesFromPage(page)), records);
}

void TestSearch::hostilePages_data() {
    QTest::addColumn<QString>("page");
    QTest::addColumn<qsizetype>("count"); // -1: no list

    constexpr qsizetype tenMegabytes = 10 * 1024 * 1024;
    QTest::newRow("10 MB without ; or ,")
        << marker + s("imgurl=http") + QString(tenMegabytes, QLatin1Char('a')) +
               s("\"tu\":\"http") + QString(tenMegabytes / 10, QLatin1Char('b'))
        << qsizetype(1);
    QTest::newRow("10 MB of prefixes")
        << marker + s("imgurl=http;\"tu\":\"http,").repeated(tenMegabytes / 25) << qsizetype(0);

    QByteArray garbage(tenMegabytes, Qt::Uninitialized);
    QRandomGenerator random(7);
    random.fillRange(reinterpret_cast<quint32*>(garbage.data()), garbage.size() / 4);
    QTest::newRow("binary garbage") << QString::fromLatin1(garbage) + marker << qsizetype(0);
    QTest::newRow("invalid UTF-8")
        << QString::fromUtf8(QByteArray("\xff\xfe\xc3(\xed\xa0\x80") + garbage.left(4096)) +
               result("http://a/\xc3", "http://t/x")
        << qsizetype(1);
    QTest::newRow("a marker every 20 bytes")
        << (marker.left(17) + s("abc")).repeated(500'000) << qsizetype(0);
    QTest::newRow("50,000 records")
        << result("http://a.example/i.jpg", "http://t/i").repeated(50'000) << qsizetype(50'000);
}

void TestSearch::hostilePages() {
    QFETCH(QString, page);
    QFETCH(qsizetype, count);

    const std::optional<QList<QVariantMap>> records = ImageSearchScraper::imagesFromPage(page);
    QCOMPARE(records ? records->size() : qsizetype(-1), count);
}

QTEST_GUILESS_MAIN(TestSearch)
#include "tst_search.moc"

#include "HttpTestServer.h"
#include "TestSupport.h"
#include "net/HttpClient.h"
#include "net/RemoteImageLoader.h"

#include <QBuffer>
#include <QImage>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <optional>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// What a request ended with.
struct Outcome {
    bool done = false;
    std::optional<QString> body;
    QString failure;
};

} // namespace

class TestNet : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void get_data();
    void get();
    void sendsHeadersAndFollowsRedirects();
    void goneContextGetsNoCallback();
    void requestDeliversEveryStatus();

    void oneRequestForSeveralWaiters();
    void imageErrors_data();
    void imageErrors();
    void memoryCacheStaysWithinBound();
    void diskCacheServesAgain();
    void goneContextGetsNoImage();
    void localFiles_data();
    void localFiles();

private:
    Outcome fetch(HttpClient& client, const QUrl& url, const HttpClient::Headers& headers = {});

    HttpTestServer m_server;
    QUrl m_refused;
};

void TestNet::initTestCase() {
    QVERIFY(m_server.listen());
    m_server.route(
        "/utf8", HttpTestServer::ok("gr\xc3\xbc\xc3\x9f \xe2\x9c\x93", "text/html; charset=utf-8"));
    m_server.route("/latin1",
                   HttpTestServer::ok("caf\xe9 \xa3", "text/html; charset=\"ISO-8859-1\""));
    m_server.route("/undeclared", HttpTestServer::ok("\xc3\xa9t\xc3\xa9", "text/html"));
    m_server.route("/unknown-charset",
                   HttpTestServer::ok("\xc3\xa9", "text/html; charset=no-such-set"));
    m_server.route("/error", {500, "Internal Server Error", {}, "oops", false});
    m_server.route("/created", {201, "Created", {}, "made", false});
    m_server.route("/moved", HttpTestServer::redirect("/utf8"));
    m_server.route("/at-limit", HttpTestServer::ok(QByteArray(4096, 'a')));
    m_server.route("/over-limit", HttpTestServer::ok(QByteArray(4097, 'a')));
    m_server.route("/silent", {200, "OK", {}, {}, true});

    QTcpServer closed;
    QVERIFY(closed.listen(QHostAddress::LocalHost));
    m_refused = QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort()));
}

Outcome TestNet::fetch(HttpClient& client, const QUrl& url, const HttpClient::Headers& headers) {
    auto outcome = std::make_shared<Outcome>();
    client.get(url, headers, nullptr, [outcome](const Result<HttpReply>& reply) {
        if (reply)
            outcome->body = reply->text();
        else
            outcome->failure = reply.failure().message();
        outcome->done = true;
    });
    if (!QTest::qWaitFor([&outcome] { return outcome->done; }, 10000))
        return {};
    return *outcome;
}

void TestNet::get_data() {
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("body");
    QTest::addColumn<QString>("failure");

    const auto row = [this](const char* tag, const char* path, const QString& body,
                            const char* failure) {
        QTest::newRow(tag) << m_server.url(path) << body << s(failure);
    };
    row("declared UTF-8", "/utf8", s("grüß ✓"), "");
    row("declared ISO-8859-1", "/latin1", s("café £"), "");
    row("no charset is UTF-8", "/undeclared", s("été"), "");
    row("unknown charset read as UTF-8", "/unknown-charset", s("é"), "");
    row("201 is success", "/created", s("made"), "");
    row("body at the limit", "/at-limit", QString(4096, QLatin1Char('a')), "");
    row("404", "/nowhere", {}, "HTTP status 404 (Not Found)");
    row("500", "/error", {}, "HTTP status 500 (Internal Server Error)");
    row("body over the limit", "/over-limit", {}, "larger than");
    row("no answer", "/silent", {}, "No answer from the server within 0.3 s");
    QTest::newRow("connection refused") << m_refused << QString() << s("refused");
}

void TestNet::get() {
    QFETCH(QUrl, url);
    QFETCH(QString, body);
    QFETCH(QString, failure);

    HttpClient client;
    client.setBodyLimit(4096);
    client.setTimeout(300);
    const Outcome outcome = fetch(client, url);
    QVERIFY(outcome.done);
    if (failure.isEmpty()) {
        QCOMPARE(outcome.failure, QString());
        QCOMPARE(outcome.body, body);
    } else {
        QVERIFY(!outcome.body);
        QVERIFY2(outcome.failure.contains(failure, Qt::CaseInsensitive),
                 qPrintable(outcome.failure));
        QVERIFY(!outcome.failure.contains(QLatin1Char('\n')));
    }
}

void TestNet::sendsHeadersAndFollowsRedirects() {
    HttpClient client;
    const Outcome outcome = fetch(client, m_server.url("/moved"), {{"User-Agent", "Tester/1.0"}});
    QCOMPARE(outcome.body, s("grüß ✓"));
    const HttpTestServer::Request& last = m_server.requests().constLast();
    QCOMPARE(last.path, QByteArray("/utf8"));
    QVERIFY(last.head.contains("\r\nUser-Agent: Tester/1.0"));
}

void TestNet::goneContextGetsNoCallback() {
    HttpClient client;
    int calls = 0;
    auto context = std::make_unique<QObject>();
    for (const char* path : {"/utf8", "/silent"})
        client.get(m_server.url(path), {}, context.get(),
                   [&calls](const Result<HttpReply>&) { ++calls; });
    context.reset();
    QTest::qWait(400);
    QCOMPARE(calls, 0);
}

void TestNet::requestDeliversEveryStatus() {
    // An answer of any status is a reply with its headers; only get() turns 4xx into failure.
    HttpTestServer::Response limited{429, "Too Many Requests", {}, "slow down", false};
    limited.headers.append(std::pair<QByteArray, QByteArray>("Retry-After", "120"));
    m_server.route("/limited", limited);
    HttpClient client;
    std::optional<Result<HttpReply>> received;
    client.request(m_server.url("/limited"), {}, nullptr,
                   [&received](const Result<HttpReply>& reply) { received = reply; });
    QTRY_VERIFY(received.has_value());
    QVERIFY2(received->ok(), qPrintable(received->errorText()));
    QCOMPARE(received->value().status, 429);
    QCOMPARE(received->value().reason, s("Too Many Requests"));
    QCOMPARE(received->value().header("retry-after"), QByteArray("120"));
    QCOMPARE(received->value().body, QByteArray("slow down"));
    QVERIFY(!received->value().isSuccess());

    received.reset();
    client.get(m_server.url("/limited"), {}, nullptr,
               [&received](const Result<HttpReply>& reply) { received = reply; });
    QTRY_VERIFY(received.has_value());
    QVERIFY(!received->ok());
    QCOMPARE(received->failure().message(), s("HTTP status 429 (Too Many Requests)"));
    QCOMPARE(received->failure().path(), m_server.url("/limited").toDisplayString());
}

void TestNet::oneRequestForSeveralWaiters() {
    m_server.route("/shared.png", HttpTestServer::ok(pngBytes(QSize(8, 6), Qt::red), "image/png"));
    RemoteImageLoader loader({});
    QList<QSize> sizes;
    for (int i = 0; i < 3; ++i)
        loader.loadImage(
            m_server.url("/shared.png"), nullptr,
            [&sizes](const Result<QImage>& image) { sizes.append(image.valueOr({}).size()); });
    QTRY_COMPARE(sizes.size(), 3);
    QCOMPARE(sizes, QList<QSize>(3, QSize(8, 6)));
    QCOMPARE(m_server.requestCount("/shared.png"), 1);

    // Held in memory now: answered at once, without a request.
    bool answered = false;
    loader.loadImage(m_server.url("/shared.png"), nullptr,
                     [&answered](const Result<QImage>& image) { answered = image.ok(); });
    QVERIFY(answered);
    QCOMPARE(m_server.requestCount("/shared.png"), 1);
}

void TestNet::imageErrors_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QString>("error");

    m_server.route("/text.png", HttpTestServer::ok("<html>not a picture</html>", "image/png"));
    // The header of a 20,000 x 20,000 grey map and no pixels: refused from its size alone.
    m_server.route("/huge.pgm", HttpTestServer::ok("P5\n20000 20000\n255\n" + QByteArray(64, 0),
                                                   "image/x-portable-graymap"));
    QTest::newRow("not an image") << QByteArray("/text.png") << s("not an image");
    QTest::newRow("too large") << QByteArray("/huge.pgm")
                               << s("too large to decode (20000 x 20000 pixels)");
    QTest::newRow("missing") << QByteArray("/none.png") << s("HTTP status 404");
}

void TestNet::imageErrors() {
    QFETCH(QByteArray, path);
    QFETCH(QString, error);

    RemoteImageLoader loader({});
    std::optional<Result<QImage>> received;
    const QUrl url = m_server.url(path.constData());
    loader.loadImage(url, nullptr, [&](const Result<QImage>& loaded) { received = loaded; });
    QTRY_VERIFY(received.has_value());
    QVERIFY(!received->ok());
    QVERIFY2(received->failure().message().contains(error), qPrintable(received->errorText()));
    QCOMPARE(received->failure().path(), url.toDisplayString());
    QVERIFY(loader.cachedImage(m_server.url(path.constData())).isNull());
}

void TestNet::memoryCacheStaysWithinBound() {
    constexpr int count = 12;
    for (int i = 0; i < count; ++i)
        m_server.route(
            "/thumb" + QByteArray::number(i) + ".png",
            HttpTestServer::ok(pngBytes(QSize(16, 16), QColor(i * 20, 0, 0)), "image/png"));
    RemoteImageLoader loader({});
    const qint64 imageBytes = 16 * 16 * 4;
    loader.setMemoryCacheLimit(3 * imageBytes);
    for (int i = 0; i < count; ++i) {
        const QUrl url = m_server.url(("/thumb" + QByteArray::number(i) + ".png").constData());
        bool done = false;
        loader.loadImage(url, nullptr, [&done](const Result<QImage>&) { done = true; });
        QTRY_VERIFY(done);
        QVERIFY(loader.memoryCacheCost() <= loader.memoryCacheLimit());
        QVERIFY(!loader.cachedImage(url).isNull());
    }
    QCOMPARE(loader.memoryCacheCost(), 3 * imageBytes);
    QVERIFY(loader.cachedImage(m_server.url("/thumb0.png")).isNull());
}

void TestNet::diskCacheServesAgain() {
    HttpTestServer::Response response =
        HttpTestServer::ok(pngBytes(QSize(4, 4), Qt::blue), "image/png");
    response.headers.append(std::pair<QByteArray, QByteArray>("Cache-Control", "max-age=3600"));
    m_server.route("/kept.png", response);
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    for (int round = 0; round < 2; ++round) {
        RemoteImageLoader loader(folder.path());
        QImage image;
        loader.loadImage(m_server.url("/kept.png"), nullptr,
                         [&image](const Result<QImage>& loaded) { image = loaded.valueOr({}); });
        QTRY_VERIFY(!image.isNull());
        QCOMPARE(image.pixelColor(0, 0), QColor(Qt::blue));
    }
    QCOMPARE(m_server.requestCount("/kept.png"), 1);
}

void TestNet::goneContextGetsNoImage() {
    m_server.route("/late.png", HttpTestServer::ok(pngBytes(QSize(2, 2), Qt::green), "image/png"));
    RemoteImageLoader loader({});
    int goneCalls = 0;
    bool liveCalled = false;
    auto gone = std::make_unique<QObject>();
    QObject live;
    loader.loadImage(m_server.url("/late.png"), gone.get(),
                     [&goneCalls](const Result<QImage>&) { ++goneCalls; });
    loader.loadImage(m_server.url("/late.png"), &live,
                     [&liveCalled](const Result<QImage>&) { liveCalled = true; });
    gone.reset();
    QTRY_VERIFY(liveCalled);
    QCOMPARE(goneCalls, 0);
}

void TestNet::localFiles_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QSize>("size"); // empty: the load fails

    QTest::newRow("a picture beside a song") << s("cover.png") << QSize(7, 5);
    QTest::newRow("a text named as a picture") << s("text.png") << QSize();
    QTest::newRow("a folder named as a picture") << s("folder.jpg") << QSize();
    QTest::newRow("nothing there") << s("gone.png") << QSize();
}

void TestNet::localFiles() {
    QFETCH(QString, name);
    QFETCH(QSize, size);

    QTemporaryDir folder;
    QVERIFY(writePng(folder.filePath(s("cover.png")), QSize(7, 5), Qt::red));
    QVERIFY(writeFile(folder.filePath(s("text.png")), "not a picture"));
    QVERIFY(QDir(folder.path()).mkdir(s("folder.jpg")));

    RemoteImageLoader loader({});
    std::optional<Result<QImage>> received;
    loader.loadImage(QUrl::fromLocalFile(folder.filePath(name)), nullptr,
                     [&](const Result<QImage>& loaded) { received = loaded; });
    QTRY_VERIFY(received.has_value());
    QCOMPARE(received->ok(), size.isValid());
    if (size.isValid())
        QCOMPARE((*received)->size(), size);
    else
        QVERIFY(!received->failure().message().isEmpty());
}

QTEST_MAIN(TestNet)
#include "tst_net.moc"

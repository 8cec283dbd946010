#include "HttpTestServer.h"
#include "TestSupport.h"
#include "net/RemoteImageLoader.h"
#include "net/ui/ImageViewLoading.h"
#include "platform/ui/ImageView.h"

#include <QApplication>
#include <QBuffer>
#include <QTest>

#include <memory>

using namespace tolvane;
using namespace tolvane::test;

namespace {

QImage filled(QSize size, QColor colour) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    return image;
}

QByteArray png(const QImage& image) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace

class TestNetUi : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void contentModes_data();
    void contentModes();
    void placeholderUntilArrival();
    void failureKeepsPlaceholder();
    void laterLoadWins();
    void goneViewGetsNothing();

private:
    HttpTestServer m_server;
};

void TestNetUi::initTestCase() {
    QVERIFY(m_server.listen());
    m_server.route("/red.png", HttpTestServer::ok(png(filled(QSize(4, 4), Qt::red)), "image/png"));
    m_server.route("/blue.png",
                   HttpTestServer::ok(png(filled(QSize(4, 4), Qt::blue)), "image/png"));
}

void TestNetUi::contentModes_data() {
    QTest::addColumn<ImageView::ContentMode>("mode");
    QTest::addColumn<QSize>("imageSize");
    QTest::addColumn<QRectF>("imageRect");
    // Pixels sampled at the view's left edge, middle row: the picture or the background.
    QTest::addColumn<bool>("edgeIsPicture");

    using Mode = ImageView::ContentMode;
    QTest::newRow("fill stretches")
        << Mode::ScaleToFill << QSize(20, 20) << QRectF(0, 0, 100, 50) << true;
    QTest::newRow("fit letter-boxes")
        << Mode::ScaleAspectFit << QSize(20, 20) << QRectF(25, 0, 50, 50) << false;
    QTest::newRow("fit of a wide image")
        << Mode::ScaleAspectFit << QSize(400, 100) << QRectF(0, 12.5, 100, 25) << true;
    QTest::newRow("aspect fill covers")
        << Mode::ScaleAspectFill << QSize(20, 20) << QRectF(0, 0, 100, 50) << true;
    QTest::newRow("aspect fill of a sliver")
        << Mode::ScaleAspectFill << QSize(1, 5000) << QRectF(0, 0, 100, 50) << true;
}

void TestNetUi::contentModes() {
    QFETCH(ImageView::ContentMode, mode);
    QFETCH(QSize, imageSize);
    QFETCH(QRectF, imageRect);
    QFETCH(bool, edgeIsPicture);

    ImageView view(filled(imageSize, Qt::red));
    view.setContentMode(mode);
    view.setBackgroundColor(Qt::white);
    view.resize(100, 50);
    QCOMPARE(view.imageRect(), imageRect);
    const QImage shown = view.grab().toImage();
    QCOMPARE(shown.pixelColor(shown.width() / 2, shown.height() / 2), QColor(Qt::red));
    QCOMPARE(shown.pixelColor(1, shown.height() / 2),
             edgeIsPicture ? QColor(Qt::red) : QColor(Qt::white));
}

void TestNetUi::placeholderUntilArrival() {
    RemoteImageLoader loader({});
    ImageView view;
    const QImage placeholder = filled(QSize(2, 2), Qt::gray);
    QImage received;
    setImageWithURL(
        &view, m_server.url("/red.png"), placeholder,
        [&received](const Result<QImage>& image) { received = image.valueOr({}); }, &loader);
    QCOMPARE(view.image(), placeholder);
    QTRY_VERIFY(!received.isNull());
    QCOMPARE(view.image().pixelColor(0, 0), QColor(Qt::red));
}

void TestNetUi::failureKeepsPlaceholder() {
    RemoteImageLoader loader({});
    ImageView view;
    const QImage placeholder = filled(QSize(2, 2), Qt::gray);
    QString error;
    setImageWithURL(
        &view, m_server.url("/absent.png"), placeholder,
        [&error](const Result<QImage>& image) { error = image.errorText(); }, &loader);
    QTRY_VERIFY(!error.isEmpty());
    QCOMPARE(view.image(), placeholder);
}

void TestNetUi::laterLoadWins() {
    RemoteImageLoader loader({});
    ImageView view;
    int firstCalls = 0;
    bool secondDone = false;
    setImageWithURL(
        &view, m_server.url("/red.png"), {}, [&firstCalls](const Result<QImage>&) { ++firstCalls; },
        &loader);
    setImageWithURL(
        &view, m_server.url("/blue.png"), {},
        [&secondDone](const Result<QImage>&) { secondDone = true; }, &loader);
    QTRY_VERIFY(secondDone);
    QTest::qWait(100);
    QCOMPARE(firstCalls, 0);
    QCOMPARE(view.image().pixelColor(0, 0), QColor(Qt::blue));
}

void TestNetUi::goneViewGetsNothing() {
    RemoteImageLoader loader({});
    auto view = std::make_unique<ImageView>();
    int calls = 0;
    setImageWithURL(
        view.get(), m_server.url("/red.png"), {}, [&calls](const Result<QImage>&) { ++calls; },
        &loader);
    view.reset();
    bool other = false;
    loader.loadImage(m_server.url("/red.png"), nullptr,
                     [&other](const Result<QImage>&) { other = true; });
    QTRY_VERIFY(other);
    QCOMPARE(calls, 0);
}

QTEST_MAIN(TestNetUi)
#include "tst_netui.moc"

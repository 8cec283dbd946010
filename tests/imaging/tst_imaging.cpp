#include "TestSupport.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageDensity.h"
#include "imaging/THEOSData.h"
#include "imaging/THEOSImage.h"
#include "platform/Device.h"

#include <QBuffer>
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <sys/stat.h>

using namespace tolvane;
using namespace tolvane::test;

namespace {

const QColor fixtureColour(200, 30, 60);

// Makes the files of a row in a folder: "a@2x.png:120x80" a PNG of that many pixels,
// "a.png:junk" a file that is no image.
bool makeFixtures(const QString& folder, const QStringList& files) {
    for (const QString& file : files) {
        const QString path = QDir(folder).filePath(file.section(QLatin1Char(':'), 0, 0));
        const QStringList sides = file.section(QLatin1Char(':'), 1).split(QLatin1Char('x'));
        const bool made =
            sides.size() == 2
                ? writePng(path, QSize(sides[0].toInt(), sides[1].toInt()), fixtureColour)
                : writeFile(path, "\x89PNG not really");
        if (!made)
            return false;
    }
    return true;
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format, 90);
    return bytes;
}

// A JPEG of the size whose EXIF data says it is to be shown turned a quarter clockwise.
QByteArray jpegTurnedClockwise(QSize stored) {
    QImage image(stored, QImage::Format_RGB32);
    image.fill(Qt::darkGreen);
    const QByteArray jpeg = encoded(image, "JPEG");
    // TIFF header (big-endian), one IFD entry: Orientation (0x0112), SHORT, 1, value 6.
    const QByteArray tiff = QByteArray("MM\0\x2a\0\0\0\x08", 8) + QByteArray("\0\x01", 2) +
                            QByteArray("\x01\x12\0\x03\0\0\0\x01\0\x06\0\0", 12) +
                            QByteArray(4, '\0');
    const QByteArray exif = QByteArray("Exif\0\0", 6) + tiff;
    QByteArray segment("\xff\xe1", 2);
    segment += char((exif.size() + 2) >> 8);
    segment += char((exif.size() + 2) & 0xff);
    segment += exif;
    return jpeg.left(2) + segment + jpeg.mid(2);
}

} // namespace

class TestImaging : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void resolve_data();
    void resolve();
    void imageWithName_data();
    void imageWithName();
    void dataFromFileAtPath_data();
    void dataFromFileAtPath();
    void decoderLimits_data();
    void decoderLimits();
    void decoderReducesAndFits_data();
    void decoderReducesAndFits();
    void decoderAppliesOrientation();
    void decoderReadsOnlyOrdinaryFiles();
};

void TestImaging::resolve_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<QString>("expectedName");
    QTest::addColumn<int>("expectedFactor");

    const auto row = [](const char* tag, const char* name, qreal scale, const char* expected,
                        int factor) {
        QTest::newRow(tag) << QString::fromUtf8(name) << scale << QString::fromUtf8(expected)
                           << factor;
    };
    row("scale 1", "a.png", 1, "a.png", 0);
    row("scale 2", "a.png", 2, "a@2x.png", 2);
    row("scale 3", "a.png", 3, "a@3x.png", 3);
    row("scale 0 (unknown)", "a.png", 0, "a.png", 0);
    row("scale 2.5", "a.png", 2.5, "a.png", 0);
    row("scale just below 2", "a.png", 1.9999, "a.png", 0);
    row("scale 4", "a.png", 4, "a.png", 0);
    row("already @2x at scale 2", "a@2x.png", 2, "a@2x.png", 0);
    row("already @3x at scale 3", "a@3x.png", 3, "a@3x.png", 0);
    row("@2x name at scale 3", "a@2x.png", 3, "a@2x@3x.png", 3);
    row("@3x name at scale 2", "a@3x.png", 2, "a@3x@2x.png", 2);
    row("every .png replaced", "a.png.png", 3, "a@3x.png@3x.png", 3);
    row("folder named .png", "/I.png/unknown.png", 2, "/I@2x.png/unknown@2x.png", 2);
    row("no .png in the name", "README", 2, "README", 2);
    row("capital .PNG is not replaced", "A.PNG", 2, "A.PNG", 2);
}

void TestImaging::resolve() {
    QFETCH(QString, name);
    QFETCH(qreal, scale);

    const ImageDensity density = ImageDensity::resolve(name, scale);
    QTEST(density.name, "expectedName");
    QTEST(density.factor, "expectedFactor");
}

void TestImaging::imageWithName_data() {
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("name");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<QSize>("pixels"); // invalid: no image
    QTest::addColumn<qreal>("pixelRatio");

    const auto row = [](const char* tag, const char* files, const char* name, qreal scale,
                        QSize pixels = QSize(), qreal pixelRatio = 0) {
        QTest::newRow(tag) << s(files).split(QLatin1Char(' '), Qt::SkipEmptyParts) << s(name)
                           << scale << pixels << pixelRatio;
    };
    row("2x, only the plain file", "a.png:60x40", "a.png", 2);
    row("2x file, halved to points", "a.png:60x40 a@2x.png:120x80", "a.png", 2, {120, 80}, 2);
    row("3x file, a third in points", "a@3x.png:180x180", "a.png", 3, {180, 180}, 3);
    row("3x, only a 2x file", "a@2x.png:120x80", "a.png", 3);
    row("2x, name already @2x: not halved", "a@2x.png:120x80", "a@2x.png", 2, {120, 80}, 1);
    row("3x, name already @3x: not divided", "b@3x.png:90x90", "b@3x.png", 3, {90, 90}, 1);
    row("1x, plain file as it is", "a.png:60x40 a@2x.png:120x80", "a.png", 1, {60, 40}, 1);
    row("1x, @2x name as it is", "a@2x.png:120x80", "a@2x.png", 1, {120, 80}, 1);
    row("scale 0, plain file", "a.png:60x40", "a.png", 0, {60, 40}, 1);
    row("scale 2.5, plain file", "a.png:60x40 a@2x.png:120x80", "a.png", 2.5, {60, 40}, 1);
    row("2x file undecodable", "a.png:60x40 a@2x.png:junk", "a.png", 2);
    row("1x file undecodable", "a.png:junk", "a.png", 1);
    row("missing file", "", "a.png", 1);
    row("3x, every .png replaced", "a@3x.png@3x.png:30x30 a@3x.png:90x90", "a.png.png", 3, {30, 30},
        3);
    row("2x, name with a folder", "sub/a@2x.png:64x32", "sub/a.png", 2, {64, 32}, 2);
}

void TestImaging::imageWithName() {
    QFETCH(QStringList, files);
    QFETCH(QString, name);
    QFETCH(qreal, scale);
    QFETCH(QSize, pixels);
    QFETCH(qreal, pixelRatio);

    QTemporaryDir dir;
    QVERIFY(makeFixtures(dir.path(), files));
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), scale);

    const QImage image = THEOSImage::imageWithName(name, dir.path());
    if (!pixels.isValid()) {
        QVERIFY(image.isNull());
        return;
    }
    QVERIFY(!image.isNull());
    QCOMPARE(image.size(), pixels);
    QCOMPARE(image.devicePixelRatio(), pixelRatio);
    QCOMPARE(image.deviceIndependentSize(), QSizeF(pixels) / pixelRatio);
    // The picture survives a redraw: the centre keeps the fixture's colour.
    const QColor centre = image.pixelColor(pixels.width() / 2, pixels.height() / 2);
    QCOMPARE(centre.rgba(), fixtureColour.rgba());
}

void TestImaging::dataFromFileAtPath_data() {
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("path");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<QString>("expectedFile"); // whose bytes come back; empty for nothing

    const auto row = [](const char* tag, const char* files, const char* path, qreal scale,
                        const char* expected) {
        QTest::newRow(tag) << s(files).split(QLatin1Char(' '), Qt::SkipEmptyParts) << s(path)
                           << scale << s(expected);
    };
    const char* all = "a.png:4x4 a@2x.png:8x8 a@3x.png:12x12";
    row("scale 1", all, "a.png", 1, "a.png");
    row("scale 2", all, "a.png", 2, "a@2x.png");
    row("scale 3", all, "a.png", 3, "a@3x.png");
    row("scale 0", all, "a.png", 0, "a.png");
    row("scale 2, only the plain file", "a.png:4x4", "a.png", 2, "");
    row("scale 2, path already @2x", all, "a@2x.png", 2, "a@2x.png");
    row("bytes are not decoded", "a@2x.png:junk", "a.png", 2, "a@2x.png");
    row("folder named .png is renamed too", "set.png/a.png:4x4 set@2x.png/a@2x.png:8x8",
        "set.png/a.png", 2, "set@2x.png/a@2x.png");
    row("missing file", "", "a.png", 1, "");
}

void TestImaging::dataFromFileAtPath() {
    QFETCH(QStringList, files);
    QFETCH(QString, path);
    QFETCH(qreal, scale);
    QFETCH(QString, expectedFile);

    QTemporaryDir dir;
    QVERIFY(makeFixtures(dir.path(), files));
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), scale);

    const std::optional<QByteArray> bytes = THEOSData::DataFromFileAtPath(dir.filePath(path));
    if (expectedFile.isEmpty()) {
        QVERIFY(!bytes.has_value());
        return;
    }
    QVERIFY(bytes.has_value());
    const QByteArray expected = contents(dir.filePath(expectedFile));
    QVERIFY(!expected.isEmpty());
    QCOMPARE(*bytes, expected);
}

void TestImaging::decoderLimits_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("failure");
    QTest::newRow("16000 x 16000 in 1 KB")
        << pngHeaderClaiming(QSize(16000, 16000))
        << QStringLiteral("too large to decode \\(16000 x 16000 pixels\\)");
    // Under the side limit, over the pixel limit, and small enough for the readers' own guard.
    QTest::newRow("8000 x 6000") << pngHeaderClaiming(QSize(8000, 6000))
                                 << QStringLiteral("too large to decode \\(8000 x 6000 pixels\\)");
    QTest::newRow("a side too long")
        << pngHeaderClaiming(QSize(20000, 10))
        << QStringLiteral("too large to decode \\(20000 x 10 pixels\\)");
    QTest::newRow("a drawing without a size")
        << QByteArray("<svg xmlns=\"http://www.w3.org/2000/svg\"><rect width=\"10\"/></svg>")
        << QStringLiteral("has no pixels \\(0 x 0\\)");
    QTest::newRow("empty") << QByteArray() << QStringLiteral("no image data");
    QTest::newRow("not an image") << QByteArray("<html>no picture</html>")
                                  << QStringLiteral("not an image that can be decoded");
    QTest::newRow("truncated") << encoded(QImage(64, 64, QImage::Format_RGB32), "PNG").left(40)
                               << QStringLiteral("cannot be decoded|does not say its size");
}

void TestImaging::decoderLimits() {
    QFETCH(QByteArray, bytes);
    QFETCH(QString, failure);
    const Result<QImage> image = ImageDecoder::decode(bytes);
    QVERIFY(!image.ok());
    QVERIFY2(image.failure().message().contains(QRegularExpression(failure)),
             qPrintable(image.errorText()));

    // The same answer through a file, naming it.
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("picture"));
    QVERIFY(writeFile(path, bytes));
    const Result<QImage> fromFile = ImageDecoder::decodeFile(path);
    QVERIFY(!fromFile.ok());
    QCOMPARE(fromFile.failure().path(), path);
}

void TestImaging::decoderReducesAndFits_data() {
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<QSize>("cover");
    QTest::addColumn<bool>("exact");
    QTest::addColumn<QSize>("fit");
    QTest::addColumn<QSize>("expected");

    const QSize none;
    // 3000 x 2000 stored pixels in each row.
    QTest::newRow("jpeg, full") << QByteArray("JPEG") << none << false << none << QSize(3000, 2000);
    QTest::newRow("jpeg, a quarter still covers 500")
        << QByteArray("JPEG") << QSize(500, 500) << false << none << QSize(750, 500);
    QTest::newRow("jpeg, never below the cover")
        << QByteArray("JPEG") << QSize(751, 10) << false << none << QSize(1500, 1000);
    QTest::newRow("jpeg, exact cover")
        << QByteArray("JPEG") << QSize(400, 400) << true << none << QSize(600, 400);
    QTest::newRow("png is decoded whole for a cover")
        << QByteArray("PNG") << QSize(500, 500) << false << none << QSize(3000, 2000);
    QTest::newRow("png, exact cover")
        << QByteArray("PNG") << QSize(400, 400) << true << none << QSize(600, 400);
    QTest::newRow("jpeg fitted") << QByteArray("JPEG") << none << false << QSize(300, 300)
                                 << QSize(300, 200);
    QTest::newRow("png fitted") << QByteArray("PNG") << none << false << QSize(300, 300)
                                << QSize(300, 200);
    QTest::newRow("smaller than the fit")
        << QByteArray("PNG") << none << false << QSize(4000, 4000) << QSize(3000, 2000);
}

void TestImaging::decoderReducesAndFits() {
    QFETCH(QByteArray, format);
    QFETCH(QSize, cover);
    QFETCH(bool, exact);
    QFETCH(QSize, fit);
    QFETCH(QSize, expected);
    QImage picture(3000, 2000, QImage::Format_RGB32);
    picture.fill(fixtureColour);
    const QByteArray bytes = encoded(picture, format.constData());
    const Result<ImageDecoder::Header> header = ImageDecoder::header(bytes);
    QVERIFY(header.ok());
    QCOMPARE(header->size, QSize(3000, 2000));
    QCOMPARE(header->format, format.toLower());

    ImageDecoder::Request request = ImageDecoder::Request::covering(
        cover, exact ? ImageDecoder::Reduction::Exact : ImageDecoder::Reduction::PowerOfTwo);
    request.fit = fit;
    const Result<QImage> image = ImageDecoder::decode(bytes, request);
    QVERIFY2(image.ok(), qPrintable(image.errorText()));
    QCOMPARE(image->size(), expected);
    const QColor middle = image->pixelColor(image->width() / 2, image->height() / 2);
    QVERIFY(qAbs(middle.red() - fixtureColour.red()) < 8);
}

void TestImaging::decoderAppliesOrientation() {
    const QByteArray bytes = jpegTurnedClockwise(QSize(64, 32));
    const Result<ImageDecoder::Header> header = ImageDecoder::header(bytes);
    QVERIFY2(header.ok(), qPrintable(header.errorText()));
    QCOMPARE(header->size, QSize(32, 64));
    QCOMPARE(ImageDecoder::decode(bytes).valueOr({}).size(), QSize(32, 64));
    // A cover asked of the image as shown: 16 x 32 shown is 32 x 16 stored, half of each side.
    QCOMPARE(ImageDecoder::decode(bytes, ImageDecoder::Request::covering(QSize(16, 32)))
                 .valueOr({})
                 .size(),
             QSize(16, 32));
}

void TestImaging::decoderReadsOnlyOrdinaryFiles() {
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("pipe.png"));
    QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    for (const QString& path : {fifo, QStringLiteral("/dev/zero"), dir.path(),
                                dir.filePath(QStringLiteral("missing.png"))}) {
        const Result<QImage> image = ImageDecoder::decodeFile(path);
        QVERIFY2(!image.ok(), qPrintable(path));
        QCOMPARE(image.failure().path(), path);
        QVERIFY(!ImageDecoder::headerOfFile(path).ok());
    }
}

QTEST_MAIN(TestImaging)
#include "tst_imaging.moc"

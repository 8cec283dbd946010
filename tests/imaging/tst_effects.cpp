// The blur, the colour matrix and the frosted-glass composition, held against plain reference
// loops written here from the rules, on small images.

#include "TestSupport.h"
#include "imaging/ImageEffects.h"
#include "imaging/ImageScale.h"
#include "imaging/PixelReferences.h"
#include "platform/Device.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>

using namespace tolvane;
using namespace tolvane::test;

namespace {

QImage randomImage(QSize size, quint32 seed, bool opaque) {
    return test::randomImage(size, seed, opaque ? Alpha::Opaque : Alpha::Any);
}

} // namespace

class TestEffects : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void kernelSize_data();
    void kernelSize();
    void matrixEntries();
    void boxMatchesReference_data();
    void boxMatchesReference();
    void constantStaysConstant();
    void matrixMatchesReference();
    void effectIsBlurThenMatrixThenTint_data();
    void effectIsBlurThenMatrixThenTint();
    void invalidInput_data();
    void invalidInput();
    void tintOnlyWithoutBlur();
    void tintEffectKeepsGreyAndTintsRed();
    void maskLimitsTheBlur();
    void scaledToSize();
};

void TestEffects::kernelSize_data() {
    QTest::addColumn<qreal>("radius");
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<int>("size");
    QTest::newRow("30 at 2") << 30.0 << 2.0 << 113;
    QTest::newRow("30 at 3") << 30.0 << 3.0 << 169;
    QTest::newRow("30 at 1") << 30.0 << 1.0 << 57;
    QTest::newRow("20 at 1, even made odd") << 20.0 << 1.0 << 39;
    QTest::newRow("10 at 1") << 10.0 << 1.0 << 19;
    QTest::newRow("tiny radius") << 0.1 << 1.0 << 1;
}

void TestEffects::kernelSize() {
    QFETCH(qreal, radius);
    QFETCH(qreal, scale);
    QFETCH(int, size);
    QCOMPARE(ImageEffects::boxKernelSize(radius, scale), size);
}

void TestEffects::matrixEntries() {
    // At factor 1 the fixed-point matrix is the identity (0.9999 x 256 rounds to 256).
    const auto identity = ImageEffects::saturationMatrix(1.0);
    for (int i = 0; i < 16; ++i)
        QCOMPARE(identity[size_t(i)], qint16(i % 5 == 0 ? 256 : 0));
    const auto strong = ImageEffects::saturationMatrix(1.8);
    QCOMPARE(strong[0], qint16(446));  // (0.0722 + 0.9278 x 1.8) x 256 = 446.01
    QCOMPARE(strong[1], qint16(-15));  // (0.0722 - 0.1300) x 256 = -14.79, away from zero
    QCOMPARE(strong[10], qint16(417)); // (0.2126 + 0.7873 x 1.8) x 256 = 417.2
    QCOMPARE(strong[15], qint16(256));
}

void TestEffects::boxMatchesReference_data() {
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("kernel");
    QTest::addColumn<bool>("opaque");
    QTest::newRow("3 on 9x7") << QSize(9, 7) << 3 << true;
    QTest::newRow("5 on 13x11 translucent") << QSize(13, 11) << 5 << false;
    QTest::newRow("kernel wider than the image") << QSize(4, 6) << 9 << true;
    QTest::newRow("one pixel wide") << QSize(1, 12) << 7 << false;
    QTest::newRow("identity kernel") << QSize(5, 5) << 1 << true;
    QTest::newRow("32-bit sums") << QSize(20, 3) << 259 << true;
    QTest::newRow("two bands of rows") << QSize(7, 150) << 9 << false;
    QTest::newRow("two bands, kernel taller than a band") << QSize(3, 140) << 181 << true;
}

void TestEffects::boxMatchesReference() {
    QFETCH(QSize, size);
    QFETCH(int, kernel);
    QFETCH(bool, opaque);
    const QImage source = randomImage(size, quint32(size.width() * 31 + kernel), opaque);
    QImage out(size, QImage::Format_ARGB32_Premultiplied);
    ImageEffects::boxConvolve(source, out, kernel);
    QCOMPARE(out, referenceBox(source, kernel));
}

void TestEffects::constantStaysConstant() {
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 2);
    QImage grey(300, 200, QImage::Format_ARGB32_Premultiplied);
    grey.fill(qRgb(120, 120, 120));
    grey.setDevicePixelRatio(2);
    // No tint and no saturation change: a blur of a constant image is the image.
    const QImage blurred = ImageEffects::applyBlurWithRadius(grey, 30, std::nullopt, 1.0);
    QCOMPARE(blurred.size(), grey.size());
    QCOMPARE(blurred.devicePixelRatio(), 2.0);
    QCOMPARE(blurred.convertToFormat(QImage::Format_ARGB32_Premultiplied), grey);
}

void TestEffects::matrixMatchesReference() {
    const QImage source = randomImage(QSize(17, 9), 3, false);
    for (const qreal factor : {1.8, -1.0, 0.0}) {
        const auto m = ImageEffects::saturationMatrix(factor);
        QImage out(source.size(), QImage::Format_ARGB32_Premultiplied);
        ImageEffects::matrixMultiply(source, out, m, 256);
        for (int y = 0; y < source.height(); ++y) {
            for (int x = 0; x < source.width(); ++x) {
                const QRgb p = source.pixel(x, y);
                const int in[4] = {qBlue(p), qGreen(p), qRed(p), qAlpha(p)};
                int expected[4];
                for (int c = 0; c < 4; ++c) {
                    int sum = 0;
                    for (int i = 0; i < 4; ++i)
                        sum += in[i] * m[size_t(4 * i + c)];
                    expected[c] = std::clamp(sum / 256, 0, 255);
                }
                for (int c = 0; c < 3; ++c)
                    expected[c] = std::min(expected[c], expected[3]);
                const QRgb q = out.pixel(x, y);
                QCOMPARE(qBlue(q), expected[0]);
                QCOMPARE(qGreen(q), expected[1]);
                QCOMPARE(qRed(q), expected[2]);
                QCOMPARE(qAlpha(q), expected[3]);
            }
        }
    }
}

void TestEffects::effectIsBlurThenMatrixThenTint_data() {
    QTest::addColumn<bool>("opaque");
    QTest::addColumn<qreal>("saturation");
    QTest::addColumn<QColor>("tint");
    QTest::newRow("light") << true << 1.8 << QColor::fromRgbF(1, 1, 1, 0.3f);
    QTest::newRow("translucent, dark")
        << false << 1.8 << QColor::fromRgbF(0.11f, 0.11f, 0.11f, 0.73f);
    QTest::newRow("translucent, no saturation change") << false << 1.0 << QColor(Qt::transparent);
}

void TestEffects::effectIsBlurThenMatrixThenTint() {
    QFETCH(bool, opaque);
    QFETCH(qreal, saturation);
    QFETCH(QColor, tint);
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 1);
    const QImage source = randomImage(QSize(37, 23), 5, opaque);
    const QImage result = ImageEffects::applyBlurWithRadius(source, 4, tint, saturation);

    // The same steps one after another: three box passes, the matrix, the effect drawn over
    // the source and the tint filled over both.
    const int kernel = ImageEffects::boxKernelSize(4, 1);
    QImage a = source.copy();
    QImage b(source.size(), QImage::Format_ARGB32_Premultiplied);
    ImageEffects::boxConvolve(a, b, kernel);
    ImageEffects::boxConvolve(b, a, kernel);
    ImageEffects::boxConvolve(a, b, kernel);
    if (saturation != 1.0)
        ImageEffects::matrixMultiply(b, b, ImageEffects::saturationMatrix(saturation), 256);
    const QRgb t = qPremultiply(tint.rgba());
    const auto over = [](int top, int topAlpha, int below) {
        return top + (below * (255 - topAlpha) + 127) / 255;
    };
    for (int y = 0; y < source.height(); ++y) {
        for (int x = 0; x < source.width(); ++x) {
            const QRgb e = b.pixel(x, y);
            const QRgb s = source.pixel(x, y);
            const QRgb q = result.pixel(x, y);
            const auto expected = [&](int tintChannel, int effect, int under) {
                return over(tintChannel, qAlpha(t), over(effect, qAlpha(e), under));
            };
            QCOMPARE(qBlue(q), expected(qBlue(t), qBlue(e), qBlue(s)));
            QCOMPARE(qGreen(q), expected(qGreen(t), qGreen(e), qGreen(s)));
            QCOMPARE(qRed(q), expected(qRed(t), qRed(e), qRed(s)));
            QCOMPARE(qAlpha(q), expected(qAlpha(t), qAlpha(e), qAlpha(s)));
        }
    }
}

void TestEffects::invalidInput_data() {
    QTest::addColumn<QImage>("image");
    QTest::addColumn<QImage>("mask");
    QTest::addColumn<QString>("message");
    QImage thin(1, 20, QImage::Format_ARGB32);
    thin.fill(Qt::red);
    thin.setDevicePixelRatio(2); // 0.5 x 10 points
    QImage fine(4, 4, QImage::Format_ARGB32);
    fine.fill(Qt::red);
    QTest::newRow("half a point wide")
        << thin << QImage()
        << s("^\\*\\*\\* error: invalid size: \\(0\\.50 x 10\\.00\\)\\. Both dimensions must be "
             ">= 1: ");
    QTest::newRow("no image") << QImage() << QImage()
                              << s("^\\*\\*\\* error: invalid size: \\(0\\.00 x 0\\.00\\)");
    QTest::newRow("mask without pixels")
        << fine << QImage() << s("^\\*\\*\\* error: maskImage must be backed by a CGImage: ");
}

void TestEffects::invalidInput() {
    QFETCH(QImage, image);
    QFETCH(QImage, mask);
    QFETCH(QString, message);
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 1);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(message));
    const bool maskGiven = QTest::currentDataTag() == QByteArray("mask without pixels");
    QVERIFY(ImageEffects::applyBlurWithRadius(
                image, 10, Qt::white, 1.8, maskGiven ? std::optional<QImage>(mask) : std::nullopt)
                .isNull());
}

void TestEffects::tintOnlyWithoutBlur() {
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 1);
    const QImage source = randomImage(QSize(6, 5), 9, true);
    const QColor tint = QColor::fromRgbF(0, 0, 1, 0.5f);
    const QImage result = ImageEffects::applyBlurWithRadius(source, 0, tint, 1.8);
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 6; ++x) {
            const QRgb p = source.pixel(x, y);
            const QRgb q = result.pixel(x, y);
            QVERIFY(std::abs(qRed(q) - qRed(p) / 2) <= 1);
            QVERIFY(std::abs(qBlue(q) - (qBlue(p) / 2 + 128)) <= 1);
        }
    }
}

void TestEffects::tintEffectKeepsGreyAndTintsRed() {
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 1);
    QImage grey(40, 40, QImage::Format_ARGB32_Premultiplied);
    grey.fill(qRgb(100, 100, 100));
    const QImage result = ImageEffects::applyTintEffectWithColor(grey, Qt::red);
    // Red at 0.6 over grey 100, which the blur and the inverted saturation leave grey.
    const QRgb centre = result.pixel(20, 20);
    QVERIFY(std::abs(qRed(centre) - 193) <= 2);
    QVERIFY(std::abs(qGreen(centre) - 40) <= 2);
    QCOMPARE(qGreen(centre), qBlue(centre));
}

void TestEffects::maskLimitsTheBlur() {
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 1);
    QImage stripes(40, 40, QImage::Format_ARGB32_Premultiplied);
    for (int x = 0; x < 40; ++x)
        for (int y = 0; y < 40; ++y)
            stripes.setPixel(x, y, x % 2 ? qRgb(255, 255, 255) : qRgb(0, 0, 0));
    QImage mask(10, 10, QImage::Format_ARGB32); // another size: stretched over the image
    mask.fill(Qt::transparent);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 5; ++x)
            mask.setPixel(x, y, qRgba(0, 0, 0, 255));
    const QImage result = ImageEffects::applyBlurWithRadius(stripes, 5, std::nullopt, 1.0, mask);
    // Left half blurred to mid grey, right half the sharp stripes.
    QVERIFY(std::abs(qRed(result.pixel(8, 20)) - 128) < 20);
    QCOMPARE(qRed(result.pixel(30, 20)), 0);
    QCOMPARE(qRed(result.pixel(31, 20)), 255);
}

void TestEffects::scaledToSize() {
    ScopedDevice device(Idiom::Phone, QSizeF(375, 667), 2);
    QImage wide(100, 50, QImage::Format_ARGB32);
    wide.fill(Qt::green);
    const QImage scaled = ImageScale::imageWithImage(wide, QSizeF(40, 40));
    QCOMPARE(scaled.size(), QSize(80, 80));
    QCOMPARE(scaled.deviceIndependentSize(), QSizeF(40, 40));
    QCOMPARE(QColor(scaled.pixel(5, 75)), QColor(Qt::green));
}

QTEST_GUILESS_MAIN(TestEffects)
#include "tst_effects.moc"

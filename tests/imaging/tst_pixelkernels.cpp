// The portable and the AVX2 row loops held against plain reference loops and against each
// other, and the band split held to the same pixels for any number of threads.

#include "imaging/BoxBlur.h"
#include "imaging/ImageEffects.h"
#include "imaging/ParallelRows.h"
#include "imaging/PixelKernels.h"
#include "imaging/PixelReferences.h"

#include <QRandomGenerator>
#include <QTest>
#include <QThreadPool>

#include <algorithm>
#include <vector>

using namespace tolvane;
using namespace tolvane::test;

namespace {

const PixelKernels* kernelsNamed(const QByteArray& name) {
    return name == "avx2" ? PixelKernels::avx2() : &PixelKernels::portable();
}

// Adds each case once for each set of row loops.
template <typename Add>
void forEachKernelSet(Add&& add) {
    for (const char* set : {"portable", "avx2"})
        add(QByteArray(set));
}

// Restores the default thread count when a test ends, however it ends.
struct ThreadCount {
    explicit ThreadCount(int threads) { ParallelRows::setThreadCount(threads); }
    ~ThreadCount() { ParallelRows::setThreadCount(0); }
};

} // namespace

class TestPixelKernels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blurMatchesReference_data();
    void blurMatchesReference();
    void rowsAgree_data();
    void rowsAgree();
    void anyThreadCountGivesTheSamePixels_data();
    void anyThreadCountGivesTheSamePixels();
    void runsFromWorkersOfTheGlobalPool();
};

void TestPixelKernels::blurMatchesReference_data() {
    QTest::addColumn<QByteArray>("set");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("kernel");
    QTest::addColumn<int>("passes");
    QTest::addColumn<int>("alpha");
    struct Case {
        const char* name;
        QSize size;
        int kernel;
        int passes;
        Alpha alpha;
    };
    const Case cases[] = {
        {"odd width", QSize(13, 11), 5, 1, Alpha::Any},
        {"narrower than a vector", QSize(3, 9), 3, 1, Alpha::Any},
        {"one pixel wide", QSize(1, 12), 7, 1, Alpha::Opaque},
        {"kernel 1", QSize(9, 5), 1, 1, Alpha::Any},
        {"radius larger than the width", QSize(5, 9), 41, 1, Alpha::Any},
        {"alpha 0 and 255 only", QSize(41, 17), 9, 1, Alpha::Edges},
        {"widest 16-bit sums", QSize(33, 4), 257, 1, Alpha::Opaque},
        {"32-bit sums", QSize(20, 3), 259, 1, Alpha::Any},
        {"three passes", QSize(37, 23), 7, 3, Alpha::Any},
        {"three passes, rows shorter than the kernel", QSize(6, 70), 15, 3, Alpha::Edges},
    };
    forEachKernelSet([&](const QByteArray& set) {
        for (const Case& c : cases)
            QTest::addRow("%s: %s", set.constData(), c.name)
                << set << c.size << c.kernel << c.passes << int(c.alpha);
    });
}

void TestPixelKernels::blurMatchesReference() {
    QFETCH(QByteArray, set);
    QFETCH(QSize, size);
    QFETCH(int, kernel);
    QFETCH(int, passes);
    QFETCH(int, alpha);
    const PixelKernels* kernels = kernelsNamed(set);
    if (!kernels)
        QSKIP("this processor has no AVX2");
    const QImage source = randomImage(size, quint32(size.width() * 131 + kernel), Alpha(alpha));
    QImage expected = source;
    for (int pass = 0; pass < passes; ++pass)
        expected = referenceBox(expected, kernel);
    QImage out(size, QImage::Format_ARGB32_Premultiplied);
    BoxBlur::apply(source, out, kernel, passes, {}, *kernels);
    QCOMPARE(out, expected);
}

void TestPixelKernels::rowsAgree_data() {
    QTest::addColumn<int>("width");
    for (const int width : {1, 2, 7, 8, 9, 31, 33, 64, 101})
        QTest::addRow("%d pixels", width) << width;
}

// The matrix and the composition of the AVX2 set against the portable one, and both against
// the rules: the matrix's sums over 256 clamped (alpha to a byte, colour to alpha), and the
// effect over the source with the tint over both, each over rounded.
void TestPixelKernels::rowsAgree() {
    QFETCH(int, width);
    const QImage pixels = randomImage(QSize(width, 3), quint32(width), Alpha::Any);
    const uchar* source = pixels.constScanLine(0);
    const uchar* effect = pixels.constScanLine(1);
    const uchar* mask = pixels.constScanLine(2);
    const auto fixed = ImageEffects::saturationMatrix(1.8);
    int matrix[16];
    std::copy(fixed.begin(), fixed.end(), matrix);
    const QRgb tint = qPremultiply(qRgba(250, 20, 120, 77));

    std::vector<uchar> saturated(size_t(4 * width));
    std::vector<uchar> composed(size_t(4 * width));
    PixelKernels::portable().matrixRow256(effect, saturated.data(), width, matrix);
    PixelKernels::portable().compositeRow(source, effect, nullptr, tint, composed.data(), width);
    for (int i = 0; i < 4 * width; ++i) {
        const int x = i / 4, c = i % 4;
        const auto channel = [&](int k) {
            int sum = 0;
            for (int in = 0; in < 4; ++in)
                sum += effect[4 * x + in] * matrix[4 * in + k];
            return std::clamp(sum / 256, 0, 255);
        };
        QCOMPARE(int(saturated[size_t(i)]), std::min(channel(c), channel(3)));
        const auto over = [](int top, int topAlpha, int below) {
            return top + (below * (255 - topAlpha) + 127) / 255;
        };
        const int tintBytes[4] = {qBlue(tint), qGreen(tint), qRed(tint), qAlpha(tint)};
        QCOMPARE(int(composed[size_t(i)]),
                 over(tintBytes[c], qAlpha(tint), over(effect[i], effect[4 * x + 3], source[i])));
    }

    const PixelKernels* avx2 = PixelKernels::avx2();
    if (!avx2)
        QSKIP("this processor has no AVX2");
    std::vector<uchar> fast(size_t(4 * width));
    avx2->matrixRow256(effect, fast.data(), width, matrix);
    QCOMPARE(fast, saturated);
    for (const uchar* withMask : {static_cast<const uchar*>(nullptr), mask}) {
        for (const uchar* withEffect : {static_cast<const uchar*>(nullptr), effect}) {
            PixelKernels::portable().compositeRow(source, withEffect, withMask, tint,
                                                  composed.data(), width);
            avx2->compositeRow(source, withEffect, withMask, tint, fast.data(), width);
            QCOMPARE(fast, composed);
        }
    }
}

void TestPixelKernels::anyThreadCountGivesTheSamePixels_data() {
    QTest::addColumn<int>("threads");
    for (const int threads : {2, 3, 4, 7})
        QTest::addRow("%d threads", threads) << threads;
}

// Bands of 32 rows and up: 400 rows make seven bands, each blurring rows of its neighbours.
void TestPixelKernels::anyThreadCountGivesTheSamePixels() {
    QFETCH(int, threads);
    const QImage source = randomImage(QSize(61, 400), 7, Alpha::Any);
    QImage mask(source.size(), QImage::Format_ARGB32);
    mask.fill(Qt::transparent);
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 61; ++x)
            mask.setPixel(x, y, qRgba(0, 0, 0, (x * 4 + y) % 256));
    const auto effect = [&] {
        return ImageEffects::applyBlurWithRadius(source, 3, QColor::fromRgbF(1, 1, 1, 0.3f), 1.8,
                                                 mask, 1);
    };
    QImage single;
    {
        ThreadCount one(1);
        single = effect();
    }
    ThreadCount many(threads);
    QCOMPARE(ParallelRows::threadCount(), threads);
    QCOMPARE(effect(), single);
    QImage blurred(source.size(), QImage::Format_ARGB32_Premultiplied);
    BoxBlur::apply(source, blurred, 7, 3);
    QImage expected = source;
    for (int pass = 0; pass < 3; ++pass)
        expected = referenceBox(expected, 7);
    QCOMPARE(blurred, expected);
}

// Called from every worker of the global pool at once, the band split must not wait on tasks
// queued behind those same callers.
void TestPixelKernels::runsFromWorkersOfTheGlobalPool() {
    ThreadCount many(4);
    const QImage source = randomImage(QSize(40, 300), 9, Alpha::Opaque);
    const QImage expected = ImageEffects::applyLightEffect(source, 1);
    QThreadPool& global = *QThreadPool::globalInstance();
    const int callers = std::max(2, global.maxThreadCount()) + 2;
    std::vector<QImage> results(static_cast<size_t>(callers));
    for (int i = 0; i < callers; ++i)
        global.start([&source, &results, i] {
            results[size_t(i)] = ImageEffects::applyLightEffect(source, 1);
        });
    QVERIFY(global.waitForDone(60000));
    for (const QImage& result : results)
        QCOMPARE(result, expected);
}

QTEST_GUILESS_MAIN(TestPixelKernels)
#include "tst_pixelkernels.moc"

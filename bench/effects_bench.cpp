// The light effect on a 1170 x 2532 pixel image (390 x 844 points at scale 3, kernel 169),
// blur and colour matrix together, and sized artwork from the bytes of a 3000 x 3000 JPEG
// cover. When OpenCV is found at configure time, the same blur and matrix work is timed with
// it in the same run for comparison (three cv::blur passes with a replicated border, then
// cv::transform with the 4 x 4 matrix); the project itself does not use OpenCV.
#include "imaging/ImageEffects.h"
#include "import/ArtworkSizing.h"
#include "platform/Device.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <benchmark/benchmark.h>

#ifdef TOLVANE_WITH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

using namespace tolvane;

namespace {

QImage screenSnapshot() {
    QImage image(1170, 2532, QImage::Format_ARGB32_Premultiplied);
    QRandomGenerator generator(11);
    QPainter painter(&image);
    painter.fillRect(image.rect(), Qt::white);
    for (int i = 0; i < 400; ++i)
        painter.fillRect(QRect(generator.bounded(1170), generator.bounded(2532),
                               generator.bounded(300), generator.bounded(120)),
                         QColor::fromRgb(generator.generate()));
    painter.end();
    image.setDevicePixelRatio(3);
    return image;
}

void BM_LightEffect(benchmark::State& state) {
    ScopedDevice device(Idiom::Phone, QSizeF(390, 844), 3);
    const QImage snapshot = screenSnapshot();
    for (auto _ : state) {
        const QImage result = ImageEffects::applyLightEffect(snapshot);
        benchmark::DoNotOptimize(result.constBits());
    }
}
BENCHMARK(BM_LightEffect)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BlurAndMatrixOnly(benchmark::State& state) {
    const QImage snapshot = screenSnapshot();
    QImage a = snapshot.copy();
    QImage b(snapshot.size(), QImage::Format_ARGB32_Premultiplied);
    const int kernel = ImageEffects::boxKernelSize(30, 3);
    const auto matrix = ImageEffects::saturationMatrix(1.8);
    for (auto _ : state) {
        ImageEffects::boxConvolve(a, b, kernel);
        ImageEffects::boxConvolve(b, a, kernel);
        ImageEffects::boxConvolve(a, b, kernel);
        ImageEffects::matrixMultiply(b, a, matrix, 256);
        benchmark::DoNotOptimize(a.constBits());
    }
}
BENCHMARK(BM_BlurAndMatrixOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

#ifdef TOLVANE_WITH_OPENCV
void BM_OpenCvBlurAndMatrix(benchmark::State& state) {
    const QImage snapshot = screenSnapshot();
    cv::Mat a(snapshot.height(), snapshot.width(), CV_8UC4,
              const_cast<uchar*>(snapshot.constBits()), size_t(snapshot.bytesPerLine()));
    a = a.clone();
    cv::Mat b;
    const int kernel = ImageEffects::boxKernelSize(30, 3);
    const auto fixed = ImageEffects::saturationMatrix(1.8);
    cv::Matx44f matrix;
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            matrix(column, row) = float(fixed[size_t(row * 4 + column)]) / 256.0f;
    const cv::Size size(kernel, kernel);
    for (auto _ : state) {
        cv::blur(a, b, size, cv::Point(-1, -1), cv::BORDER_REPLICATE);
        cv::blur(b, a, size, cv::Point(-1, -1), cv::BORDER_REPLICATE);
        cv::blur(a, b, size, cv::Point(-1, -1), cv::BORDER_REPLICATE);
        cv::transform(b, a, matrix);
        benchmark::DoNotOptimize(a.data);
    }
}
BENCHMARK(BM_OpenCvBlurAndMatrix)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

QByteArray bigCover() {
    QImage image(3000, 3000, QImage::Format_RGB32);
    QPainter painter(&image);
    QLinearGradient gradient(0, 0, 3000, 3000);
    gradient.setColorAt(0, Qt::darkBlue);
    gradient.setColorAt(1, Qt::yellow);
    painter.fillRect(image.rect(), gradient);
    QRandomGenerator generator(5);
    for (int i = 0; i < 300; ++i)
        painter.fillRect(QRect(generator.bounded(3000), generator.bounded(3000), 200, 200),
                         QColor::fromRgb(generator.generate()));
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 90);
    return bytes;
}

void BM_SongArtworkFrom3000Jpeg(benchmark::State& state) {
    const QByteArray cover = bigCover();
    for (auto _ : state) {
        const auto jpeg =
            ArtworkSizing::sizedJpeg(cover, QStringLiteral("song"), 80, double(state.range(0)));
        benchmark::DoNotOptimize(jpeg->bytes.constData());
    }
}
BENCHMARK(BM_SongArtworkFrom3000Jpeg)->Arg(1)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();

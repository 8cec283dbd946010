// The light effect on a 1170 x 2532 pixel image (390 x 844 points at scale 3, kernel 169),
// blur and colour matrix together, each with the row loops for this processor and with the
// portable ones, beside one plain pass over the image's memory; and sized artwork from the
// bytes of a 3000 x 3000 JPEG cover. When OpenCV is found at configure time, the same blur and
// matrix work is timed with it in the same run for comparison (three cv::blur passes with a
// replicated border, then cv::transform with the 4 x 4 matrix); the project itself does not
// use OpenCV. Counters x_opencv and x_memory_pass give each time over those two.
#include "imaging/BoxBlur.h"
#include "imaging/ImageEffects.h"
#include "imaging/PixelKernels.h"
#include "import/ArtworkSizing.h"
#include "platform/Device.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <map>
#include <string>

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

// Milliseconds per iteration of the benchmarks run so far, for the ratios the later ones report.
std::map<std::string, double>& timings() {
    static std::map<std::string, double> measured;
    return measured;
}

// Runs body once per iteration, records its mean time under name and returns it (ms).
template <typename Body>
double timed(benchmark::State& state, const std::string& name, Body&& body) {
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state)
        body();
    const std::chrono::duration<double, std::milli> elapsed =
        std::chrono::steady_clock::now() - start;
    const double each =
        elapsed.count() / double(std::max<benchmark::IterationCount>(1, state.iterations()));
    timings()[name] = each;
    return each;
}

// This run's time over an earlier benchmark's, as a counter named after that benchmark.
void ratioTo(benchmark::State& state, const std::string& other, double each) {
    const auto found = timings().find(other);
    if (found != timings().end() && found->second > 0)
        state.counters["x_" + other] = each / found->second;
}

// One pass over the memory of the image: its pixels copied into another image, which is what
// reading and writing a full-screen image once costs. The yardstick of the fused blur.
void BM_MemoryPass(benchmark::State& state) {
    const QImage snapshot = screenSnapshot();
    QImage copy(snapshot.size(), QImage::Format_ARGB32_Premultiplied);
    copy.fill(0);
    timed(state, "memory_pass", [&] {
        std::memcpy(copy.bits(), snapshot.constBits(), size_t(snapshot.sizeInBytes()));
        benchmark::DoNotOptimize(copy.constBits());
    });
}
BENCHMARK(BM_MemoryPass)->Unit(benchmark::kMillisecond)->UseRealTime();

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
    timed(state, "opencv", [&] {
        cv::blur(a, b, size, cv::Point(-1, -1), cv::BORDER_REPLICATE);
        cv::blur(b, a, size, cv::Point(-1, -1), cv::BORDER_REPLICATE);
        cv::blur(a, b, size, cv::Point(-1, -1), cv::BORDER_REPLICATE);
        cv::transform(b, a, matrix);
        benchmark::DoNotOptimize(a.data);
    });
}
BENCHMARK(BM_OpenCvBlurAndMatrix)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

// The whole effect: the blur, the matrix and the composition with the tint, with the row loops
// for this processor (range 0) and, as TOLVANE_PORTABLE_PIXELS=1 makes them, the portable ones
// (range 1).
void BM_LightEffect(benchmark::State& state) {
    const bool portable = state.range(0) == 1;
    const QImage snapshot = screenSnapshot();
    if (portable)
        qputenv("TOLVANE_PORTABLE_PIXELS", "1");
    state.SetLabel(PixelKernels::chosen().name);
    const double each = timed(state, portable ? "light_portable" : "light", [&] {
        const QImage result = ImageEffects::applyLightEffect(snapshot, 3);
        benchmark::DoNotOptimize(result.constBits());
    });
    if (portable)
        qunsetenv("TOLVANE_PORTABLE_PIXELS");
    ratioTo(state, "opencv", each);
    ratioTo(state, "memory_pass", each);
}
BENCHMARK(BM_LightEffect)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// The three box passes and the matrix alone, the work OpenCV is timed on.
void BM_BlurAndMatrixOnly(benchmark::State& state) {
    const bool portable = state.range(0) == 1;
    const PixelKernels& kernels = portable ? PixelKernels::portable() : PixelKernels::chosen();
    state.SetLabel(kernels.name);
    const QImage snapshot = screenSnapshot();
    QImage out(snapshot.size(), QImage::Format_ARGB32_Premultiplied);
    const int kernel = ImageEffects::boxKernelSize(30, 3);
    const auto fixed = ImageEffects::saturationMatrix(1.8);
    std::array<int, 16> matrix{};
    std::copy(fixed.begin(), fixed.end(), matrix.begin());
    BoxBlur::Finish finish;
    finish.matrix = matrix.data();
    const double each = timed(state, portable ? "blur_matrix_portable" : "blur_matrix", [&] {
        BoxBlur::apply(snapshot, out, kernel, 3, finish, kernels);
        benchmark::DoNotOptimize(out.constBits());
    });
    ratioTo(state, "opencv", each);
    ratioTo(state, "memory_pass", each);
}
BENCHMARK(BM_BlurAndMatrixOnly)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

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

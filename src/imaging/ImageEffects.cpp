#include "ImageEffects.h"

#include "imaging/ParallelRows.h"
#include "platform/Device.h"

#include <QDebug>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#endif
#if defined(__GNUC__) && defined(__x86_64__) && defined(__linux__)
#include <immintrin.h>
#endif

namespace tolvane {

namespace {

#if defined(__GNUC__) && defined(__x86_64__) && defined(__linux__)
// Clang (16) leaves the inline functions that a target_clones function calls undefined, so
// a clang build (the fuzzers') keeps one portable version of those rows.
#if defined(__clang__)
#define TOLVANE_CLONES
#else
#define TOLVANE_CLONES __attribute__((target_clones("avx2", "default")))
#endif
#define TOLVANE_INLINE inline __attribute__((always_inline))
#define TOLVANE_AVX2_ROWS 1
#else
#define TOLVANE_CLONES
#define TOLVANE_INLINE inline
#endif

bool hasAvx2() {
#ifdef TOLVANE_AVX2_ROWS
    static const bool avx2 = __builtin_cpu_supports("avx2");
    return avx2;
#else
    return false;
#endif
}

constexpr double epsilon = 1.1920928955078125e-07;
constexpr double sqrtTwoPi = 2.5066282746310002;
constexpr int matrixDivisor = 256;

qreal screenScale() {
    const qreal scale = Device::current().scale();
    return scale > 0 ? scale : 1;
}

QSizeF pointSize(const QImage& image) {
    return image.deviceIndependentSize();
}

QSize pixelSize(QSizeF points, qreal scale) {
    return QSize(int(std::ceil(points.width() * scale - 1e-6)),
                 int(std::ceil(points.height() * scale - 1e-6)));
}

// A transparent surface of a size in points at a scale.
QImage surface(QSizeF points, qreal scale) {
    QImage image(pixelSize(points, scale), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    return image;
}

// A premultiplied image whose pixels are left unset, in memory the kernel may back with huge
// pages: a full-screen working image then costs a handful of page faults instead of thousands.
QImage largeImage(QSize size) {
#ifdef __linux__
    constexpr size_t hugePage = 2 * 1024 * 1024;
    const size_t bytes = size_t(size.width()) * 4 * size_t(size.height());
    if (size.isEmpty() || bytes < hugePage)
        return QImage(size, QImage::Format_ARGB32_Premultiplied);
    const size_t rounded = (bytes + hugePage - 1) / hugePage * hugePage;
    void* memory = std::aligned_alloc(hugePage, rounded);
    if (!memory)
        return {};
    ::madvise(memory, rounded, MADV_HUGEPAGE);
    return QImage(
        static_cast<uchar*>(memory), size.width(), size.height(), size.width() * 4,
        QImage::Format_ARGB32_Premultiplied, [](void* data) { std::free(data); }, memory);
#else
    return QImage(size, QImage::Format_ARGB32_Premultiplied);
#endif
}

// The image drawn over the whole of a transparent surface of its point size.
QImage drawnAtScale(const QImage& image, qreal scale) {
    // Only ever read, so a shared copy does.
    if (image.format() == QImage::Format_ARGB32_Premultiplied && image.devicePixelRatio() == scale)
        return image;
    QImage drawn = surface(pointSize(image), scale);
    if (drawn.isNull())
        return drawn;
    QPainter painter(&drawn);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(QPointF(0, 0), pointSize(image)), image);
    return drawn;
}

QString describe(const QImage& image) {
    const QSizeF points = pointSize(image);
    return QStringLiteral("<QImage: %1 x %2 points, scale %3>")
        .arg(points.width())
        .arg(points.height())
        .arg(image.devicePixelRatio());
}

// Exact division of sums below 2^25 by a fixed divisor, as a multiply and a shift. The
// multiplier stays below 2^27, so the product is a 32 x 32 -> 64-bit one, which vector units
// have (a 64 x 64-bit multiply would keep the loop scalar).
struct Divider {
    explicit Divider(quint32 divisor) {
        int bits = 0;
        while ((quint64(1) << bits) < divisor)
            ++bits;
        shift = 25 + bits;
        multiplier = quint32(((quint64(1) << shift) + divisor - 1) / divisor);
        half = divisor / 2;
    }
    quint32 operator()(quint32 sum) const {
        return quint32((quint64(sum + half) * quint64(multiplier)) >> shift);
    }

    quint32 multiplier = 0;
    int shift = 0;
    quint32 half = 0;
};

// Sums of a d-wide window along one row, edge pixels repeated, four channels at a time. The
// middle of the row, where no index needs clamping, runs without any.
template <typename Sum>
TOLVANE_INLINE void rowSums(const uchar* row, Sum* out, int width, int radius) {
    const int last = width - 1;
    quint32 a0 = 0, a1 = 0, a2 = 0, a3 = 0;
    for (int k = -radius; k <= radius; ++k) {
        const uchar* pixel = row + 4 * std::clamp(k, 0, last);
        a0 += pixel[0];
        a1 += pixel[1];
        a2 += pixel[2];
        a3 += pixel[3];
    }
    const auto step = [&](int x, const uchar* in, const uchar* outgoing) {
        Sum* o = out + 4 * x;
        o[0] = Sum(a0);
        o[1] = Sum(a1);
        o[2] = Sum(a2);
        o[3] = Sum(a3);
        a0 += quint32(in[0]) - outgoing[0];
        a1 += quint32(in[1]) - outgoing[1];
        a2 += quint32(in[2]) - outgoing[2];
        a3 += quint32(in[3]) - outgoing[3];
    };
    // Both ends of the window lie inside the row from x = radius to width - radius - 2.
    const int middleBegin = std::min(radius, width);
    const int middleEnd = std::max(middleBegin, width - radius - 1);
    int x = 0;
    for (; x < middleBegin; ++x)
        step(x, row + 4 * std::min(x + radius + 1, last), row);
    for (; x < middleEnd; ++x)
        step(x, row + 4 * (x + radius + 1), row + 4 * (x - radius));
    for (; x < width; ++x)
        step(x, row + 4 * last, row + 4 * std::max(x - radius, 0));
}

#ifdef TOLVANE_AVX2_ROWS
// Four pixels from index on, widened to 16 bits a channel.
__attribute__((target("avx2"))) inline __m256i fourPixels(const uchar* pixels, int index) {
    return _mm256_cvtepu8_epi16(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 4 * size_t(index))));
}

// Window sums along a row given with radius + 1 copies of its edge pixels on either side,
// four pixels per step. The running sum is a chain from pixel to pixel; here the differences
// of incoming and outgoing pixels are summed up inside the vector first, so that the chain
// from one step to the next is a single add. Window sums of up to 257 pixels fit 16 bits, so
// the 16-bit lanes may wrap in between and still end exact.
__attribute__((target("avx2"))) void paddedRowSums16Avx2(const uchar* padded, quint16* out,
                                                         int width, int radius) {
    // The first window: padded pixels 1 to 2r + 1, four pixel slots summed apart, then folded.
    const int window = 2 * radius + 1;
    __m256i partial = _mm256_setzero_si256();
    int k = 0;
    for (; k + 4 <= window; k += 4)
        partial = _mm256_add_epi16(partial, fourPixels(padded, 1 + k));
    partial = _mm256_add_epi16(partial, _mm256_permute4x64_epi64(partial, _MM_SHUFFLE(1, 0, 3, 2)));
    partial = _mm256_add_epi16(partial, _mm256_permute4x64_epi64(partial, _MM_SHUFFLE(2, 3, 0, 1)));
    alignas(32) quint16 first[16];
    _mm256_store_si256(reinterpret_cast<__m256i*>(first), partial);
    for (; k < window; ++k)
        for (int c = 0; c < 4; ++c)
            first[c] = quint16(first[c] + padded[4 * (1 + k) + c]);
    quint64 packed = 0;
    std::memcpy(&packed, first, sizeof packed);
    // The sum at x, in each of the four pixel slots.
    __m256i sum = _mm256_set1_epi64x(qint64(packed));

    int x = 0;
    for (; x + 4 <= width; x += 4) {
        // d[i] takes the sum at x + i to the sum at x + i + 1.
        const __m256i d =
            _mm256_sub_epi16(fourPixels(padded, x + window + 1), fourPixels(padded, x + 1));
        const __m256i shifted = _mm256_slli_si256(d, 8);    // 0, d0 | 0, d2
        const __m256i pairs = _mm256_add_epi16(d, shifted); // d0, d0+d1 | d2, d2+d3
        const __m256i lowPair = _mm256_permute4x64_epi64(pairs, _MM_SHUFFLE(1, 1, 1, 1));
        const __m256i highPair = _mm256_permute4x64_epi64(pairs, _MM_SHUFFLE(3, 3, 3, 3));
        // 0, d0 | d0+d1, d0+d1+d2
        const __m256i offsets =
            _mm256_add_epi16(shifted, _mm256_blend_epi32(_mm256_setzero_si256(), lowPair, 0xf0));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * size_t(x)),
                            _mm256_add_epi16(sum, offsets));
        sum = _mm256_add_epi16(sum, _mm256_add_epi16(lowPair, highPair));
    }
    _mm256_store_si256(reinterpret_cast<__m256i*>(first), sum);
    for (; x < width; ++x) {
        for (int c = 0; c < 4; ++c) {
            out[4 * x + c] = first[c];
            first[c] =
                quint16(first[c] + padded[4 * (x + window + 1) + c] - padded[4 * (x + 1) + c]);
        }
    }
}
#endif

// Window sums of one row into 16-bit sums. On processors with AVX2 the row is first copied
// with its edge pixels repeated on either side, so that no index needs clamping; padded has
// room for width + 2 x radius + 2 pixels.
void rowSums16(const uchar* row, quint16* out, int width, int radius, quint32* padded) {
#ifdef TOLVANE_AVX2_ROWS
    if (hasAvx2()) {
        const int pad = radius + 1;
        quint32 left = 0;
        quint32 right = 0;
        std::memcpy(&left, row, 4);
        std::memcpy(&right, row + 4 * size_t(width - 1), 4);
        std::fill(padded, padded + pad, left);
        std::memcpy(padded + pad, row, 4 * size_t(width));
        std::fill(padded + pad + width, padded + 2 * pad + width, right);
        paddedRowSums16Avx2(reinterpret_cast<const uchar*>(padded), out, width, radius);
        return;
    }
#else
    Q_UNUSED(padded);
#endif
    rowSums(row, out, width, radius);
}

// The column sums of a row, each divided by the kernel's area, as bytes. Plain pointers
// and a count of their own let the compiler vectorise the loop.
TOLVANE_INLINE void divideRow(const quint32* __restrict sums, uchar* __restrict out, size_t count,
                              Divider divide) {
    for (size_t i = 0; i < count; ++i)
        out[i] = uchar(divide(sums[i]));
}

// Moves the column sums one row down: the row sums of the incoming row added, those of the
// outgoing one taken away.
template <typename Sum>
TOLVANE_INLINE void slideColumns(quint32* __restrict sums, const Sum* __restrict incoming,
                                 const Sum* __restrict outgoing, size_t count) {
    for (size_t i = 0; i < count; ++i)
        sums[i] += quint32(incoming[i]) - outgoing[i];
}

#ifdef TOLVANE_AVX2_ROWS
// Eight column sums divided as Divider does: the 32 x 32 -> 64-bit multiply covers every
// other lane, so odd and even lanes go separately and meet again as 32-bit quotients.
__attribute__((target("avx2"))) inline __m256i divideEight(__m256i sums, __m256i half,
                                                           __m256i multiplier, __m128i shift) {
    const __m256i rounded = _mm256_add_epi32(sums, half);
    const __m256i even = _mm256_srl_epi64(_mm256_mul_epu32(rounded, multiplier), shift);
    const __m256i odd =
        _mm256_srl_epi64(_mm256_mul_epu32(_mm256_srli_epi64(rounded, 32), multiplier), shift);
    return _mm256_or_si256(even, _mm256_slli_epi64(odd, 32));
}

// Eight 16-bit row sums as 32-bit lanes.
__attribute__((target("avx2"))) inline __m256i widened(const quint16* sums) {
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(sums)));
}

// divideRow and then, with an incoming row, slideColumns in one go over the column sums,
// 32 at a time; the compiler's own version of the division shuffles a lot. Returns how many
// it did.
template <bool Slide>
__attribute__((target("avx2"))) size_t divideAndSlideAvx2(quint32* sums, const quint16* incoming,
                                                          const quint16* outgoing, uchar* out,
                                                          size_t count, const Divider& divide) {
    const __m256i half = _mm256_set1_epi32(int(divide.half));
    const __m256i multiplier = _mm256_set1_epi64x(qint64(divide.multiplier));
    const __m128i shift = _mm_cvtsi32_si128(divide.shift);
    // Packing leaves quotients in the order 0-3, 8-11, 16-19, 24-27 | 4-7, 12-15, ...
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        __m256i quotients[4];
        for (size_t k = 0; k < 4; ++k) {
            __m256i* at = reinterpret_cast<__m256i*>(sums + i + 8 * k);
            const __m256i current = _mm256_loadu_si256(at);
            quotients[k] = divideEight(current, half, multiplier, shift);
            if constexpr (Slide) {
                _mm256_storeu_si256(
                    at, _mm256_add_epi32(current, _mm256_sub_epi32(widened(incoming + i + 8 * k),
                                                                   widened(outgoing + i + 8 * k))));
            }
        }
        const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(quotients[0], quotients[1]),
                                                  _mm256_packus_epi32(quotients[2], quotients[3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            _mm256_permutevar8x32_epi32(bytes, order));
    }
    return i;
}
#endif

// The output row of the column sums and, unless incoming is null, the sums moved one row
// down.
template <typename Sum>
void divideAndSlide(quint32* sums, const Sum* incoming, const Sum* outgoing, uchar* out,
                    size_t count, const Divider& divide) {
    size_t done = 0;
#ifdef TOLVANE_AVX2_ROWS
    if constexpr (std::is_same_v<Sum, quint16>) {
        if (hasAvx2())
            done = incoming ? divideAndSlideAvx2<true>(sums, incoming, outgoing, out, count, divide)
                            : divideAndSlideAvx2<false>(sums, nullptr, nullptr, out, count, divide);
    }
#endif
    divideRow(sums + done, out + done, count - done, divide);
    if (incoming)
        slideColumns(sums + done, incoming + done, outgoing + done, count - done);
}

// One row through the matrix. The divisor is a template parameter so that the usual 256
// becomes a shift the compiler can vectorise.
template <int FixedDivisor>
TOLVANE_INLINE void matrixRow(const uchar* in, uchar* out, int width,
                              const std::array<int, 16>& matrix, int divisor) {
    // A copy of its own: byte stores may alias anything, and reloading the entries after each
    // one would keep the loop scalar.
    const std::array<int, 16> m = matrix;
    const auto divide = [divisor](int sum) {
        if constexpr (FixedDivisor == 256) {
            Q_UNUSED(divisor) // a shift instead
            return sum >> 8;
        } else {
            return sum / divisor;
        }
    };
    for (int x = 0; x < width; ++x) {
        const int p0 = in[4 * x], p1 = in[4 * x + 1], p2 = in[4 * x + 2], p3 = in[4 * x + 3];
        // Negative sums end at 0 whichever way the division rounds.
        const int alpha =
            std::clamp(divide(p0 * m[3] + p1 * m[7] + p2 * m[11] + p3 * m[15]), 0, 255);
        // Colour never exceeds coverage in a premultiplied pixel.
        out[4 * x] =
            uchar(std::clamp(divide(p0 * m[0] + p1 * m[4] + p2 * m[8] + p3 * m[12]), 0, alpha));
        out[4 * x + 1] =
            uchar(std::clamp(divide(p0 * m[1] + p1 * m[5] + p2 * m[9] + p3 * m[13]), 0, alpha));
        out[4 * x + 2] =
            uchar(std::clamp(divide(p0 * m[2] + p1 * m[6] + p2 * m[10] + p3 * m[14]), 0, alpha));
        out[4 * x + 3] = uchar(alpha);
    }
}

#ifdef TOLVANE_AVX2_ROWS
// Two rows of the matrix as 16-bit pairs, (first row, second row) for each output channel, in
// both lanes.
__attribute__((target("avx2"))) inline __m256i matrixPairs(const std::array<int, 16>& m, int first,
                                                           int second) {
    const auto e = [&m](int index) { return qint16(m[size_t(index)]); };
    return _mm256_setr_epi16(e(first), e(second), e(first + 1), e(second + 1), e(first + 2),
                             e(second + 2), e(first + 3), e(second + 3), e(first), e(second),
                             e(first + 1), e(second + 1), e(first + 2), e(second + 2), e(first + 3),
                             e(second + 3));
}

// Byte picks out of four pixels: channels (c, c + 1) of pixel j in lane 0 and of pixel j + 1
// in lane 1, each as a 16-bit pair repeated four times; -1 gives a zero byte.
__attribute__((target("avx2"))) inline __m256i channelPairs(int j, int c) {
    const char a = char(4 * j + c), b = char(4 * j + c + 1);
    const char p = char(4 * (j + 1) + c), q = char(4 * (j + 1) + c + 1);
    return _mm256_setr_epi8(a, -1, b, -1, a, -1, b, -1, a, -1, b, -1, a, -1, b, -1, p, -1, q, -1, p,
                            -1, q, -1, p, -1, q, -1, p, -1, q, -1);
}

// One pixel a lane through the matrix, clamped: alpha to 0..255, colour to 0..alpha.
__attribute__((target("avx2"))) inline __m256i
twoPixelsThroughMatrix(__m256i four, __m256i blueGreenPick, __m256i redAlphaPick,
                       __m256i blueGreenRows, __m256i redAlphaRows) {
    const __m256i sums =
        _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(four, blueGreenPick), blueGreenRows),
                         _mm256_madd_epi16(_mm256_shuffle_epi8(four, redAlphaPick), redAlphaRows));
    const __m256i value = _mm256_max_epi32(_mm256_srai_epi32(sums, 8), _mm256_setzero_si256());
    const __m256i alpha = _mm256_min_epi32(_mm256_shuffle_epi32(value, _MM_SHUFFLE(3, 3, 3, 3)),
                                           _mm256_set1_epi32(255));
    return _mm256_min_epi32(value, alpha);
}

// The same with divisor 256, eight pixels per step, written out because the compiler's own
// vectorisation of the loop above spends most of its time taking channels apart. Each 128-bit
// lane works on one pixel: its channels are spread as 16-bit pairs (blue, green) and (red,
// alpha), and two multiply-adds against the matching rows of the matrix give all four sums at
// once. The entries came as 16-bit values, so they fit the multiply-add.
__attribute__((target("avx2"))) void matrixRow256Avx2(const uchar* in, uchar* out, int width,
                                                      const std::array<int, 16>& m) {
    const __m256i blueGreenRows = matrixPairs(m, 0, 4);
    const __m256i redAlphaRows = matrixPairs(m, 8, 12);
    const __m256i blueGreen01 = channelPairs(0, 0), redAlpha01 = channelPairs(0, 2);
    const __m256i blueGreen23 = channelPairs(2, 0), redAlpha23 = channelPairs(2, 2);
    // Packing leaves pixels 0, 2, 4, 6 in lane 0 and 1, 3, 5, 7 in lane 1.
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        __m256i words[2];
        for (int half = 0; half < 2; ++half) {
            const __m256i four = _mm256_broadcastsi128_si256(_mm_loadu_si128(
                reinterpret_cast<const __m128i*>(in + 4 * size_t(x) + 16 * size_t(half))));
            words[half] = _mm256_packus_epi32(
                twoPixelsThroughMatrix(four, blueGreen01, redAlpha01, blueGreenRows, redAlphaRows),
                twoPixelsThroughMatrix(four, blueGreen23, redAlpha23, blueGreenRows, redAlphaRows));
        }
        const __m256i bytes = _mm256_packus_epi16(words[0], words[1]);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * size_t(x)),
                            _mm256_permutevar8x32_epi32(bytes, order));
    }
    matrixRow<256>(in + 4 * size_t(x), out + 4 * size_t(x), width - x, m, 256);
}
#endif

// One row through the matrix with the usual divisor.
void matrixRow256(const uchar* in, uchar* out, int width, const std::array<int, 16>& m) {
#ifdef TOLVANE_AVX2_ROWS
    if (hasAvx2()) {
        matrixRow256Avx2(in, out, width, m);
        return;
    }
#endif
    matrixRow<256>(in, out, width, m, 256);
}

inline uchar multiply255(uint value, uint factor) {
    return uchar((value * factor + 127) / 255);
}

#ifdef TOLVANE_AVX2_ROWS
// (value x factor + 127) / 255 in 16-bit lanes; the division is exact for all 16-bit values.
__attribute__((target("avx2"))) inline __m256i multiply255(__m256i value, __m256i factor) {
    const __m256i rounded =
        _mm256_add_epi16(_mm256_mullo_epi16(value, factor), _mm256_set1_epi16(127));
    return _mm256_srli_epi16(_mm256_mulhi_epu16(rounded, _mm256_set1_epi16(qint16(0x8081))), 7);
}

// The composition without a mask, four pixels per half step in 16-bit lanes, as the compiler
// does not vectorise the per-pixel alpha well. Returns how many pixels it did.
__attribute__((target("avx2"))) int compositeOverAvx2(const uchar* s, const uchar* e, QRgb tint,
                                                      uchar* out, int width) {
    const auto b = qint16(qBlue(tint)), g = qint16(qGreen(tint)), r = qint16(qRed(tint)),
               a = qint16(qAlpha(tint));
    const __m256i tintWords = _mm256_setr_epi16(b, g, r, a, b, g, r, a, b, g, r, a, b, g, r, a);
    const __m256i keepUnderTint = _mm256_set1_epi16(qint16(255 - a));
    const __m256i full = _mm256_set1_epi16(255);
    // The alpha word of each pixel, repeated over its four channels.
    const __m256i alphaPick =
        _mm256_setr_epi8(6, 7, 6, 7, 6, 7, 6, 7, 14, 15, 14, 15, 14, 15, 14, 15, 6, 7, 6, 7, 6, 7,
                         6, 7, 14, 15, 14, 15, 14, 15, 14, 15);
    int x = 0;
    for (; x + 8 <= width; x += 8) {
        __m256i words[2];
        for (int half = 0; half < 2; ++half) {
            const size_t at = 4 * size_t(x) + 16 * size_t(half);
            const __m256i effect = fourPixels(e + at, 0);
            const __m256i under = fourPixels(s + at, 0);
            const __m256i keep = _mm256_sub_epi16(full, _mm256_shuffle_epi8(effect, alphaPick));
            const __m256i below =
                _mm256_min_epu16(_mm256_add_epi16(effect, multiply255(under, keep)), full);
            words[half] = _mm256_add_epi16(tintWords, multiply255(below, keepUnderTint));
        }
        // Packing works per lane, which leaves the two halves' quarters interleaved.
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * size_t(x)),
                            _mm256_permute4x64_epi64(_mm256_packus_epi16(words[0], words[1]),
                                                     _MM_SHUFFLE(3, 1, 2, 0)));
    }
    return x;
}
#endif

// out = tint over (effect, weighted by the mask, over source) for one row; premultiplied
// throughout. Without an effect, the tint over the source; the mask may be absent. A colour
// above its alpha in the effect would push the sum under the tint past a byte; it is held at
// 255.
TOLVANE_CLONES void compositeRowPortable(const uchar* s, const uchar* e, const uchar* m, QRgb tint,
                                         uchar* out, int width) {
    const uint tintAlpha = qAlpha(tint);
    const uint keepUnderTint = 255 - tintAlpha;
    const uint tintBytes[4] = {uint(qBlue(tint)), uint(qGreen(tint)), uint(qRed(tint)), tintAlpha};
    if (!e) {
        for (int i = 0; i < 4 * width; ++i)
            out[i] = uchar(tintBytes[i & 3] + multiply255(s[i], keepUnderTint));
        return;
    }
    if (!m) {
        for (int x = 0; x < width; ++x) {
            const uint keep = 255 - e[4 * x + 3];
            for (int c = 0; c < 4; ++c) {
                const uint below =
                    std::min<uint>(e[4 * x + c] + multiply255(s[4 * x + c], keep), 255);
                out[4 * x + c] = uchar(tintBytes[c] + multiply255(below, keepUnderTint));
            }
        }
        return;
    }
    for (int x = 0; x < width; ++x) {
        const uint coverage = m[4 * x + 3];
        const uint keep = 255 - multiply255(e[4 * x + 3], coverage);
        for (int c = 0; c < 4; ++c) {
            const uint below = std::min<uint>(
                multiply255(e[4 * x + c], coverage) + multiply255(s[4 * x + c], keep), 255);
            out[4 * x + c] = uchar(tintBytes[c] + multiply255(below, keepUnderTint));
        }
    }
}

void compositeRow(const uchar* s, const uchar* e, const uchar* m, QRgb tint, uchar* out,
                  int width) {
#ifdef TOLVANE_AVX2_ROWS
    if (e && !m && hasAvx2()) {
        const int done = compositeOverAvx2(s, e, tint, out, width);
        const size_t at = 4 * size_t(done);
        compositeRowPortable(s + at, e + at, nullptr, tint, out + at, width - done);
        return;
    }
#endif
    compositeRowPortable(s, e, m, tint, out, width);
}

// What the last pass of a blur does with each row before storing it, while the row is still
// in the cache: the saturation change (when there is a matrix) and the composition over the
// source. This saves two passes over the whole image.
struct RowFinish {
    const std::array<int, 16>* matrix = nullptr; // divisor 256
    const QImage* source = nullptr;
    const QImage* mask = nullptr;
    QRgb tint = 0;
};

// One band of rows of a d x d box average, edge pixels repeated, each channel rounded once.
// The row sums of the d + 1 rows around the current one live in a ring, so that the source
// is read and the destination written once, and the working memory stays small.
template <typename Sum>
TOLVANE_INLINE void boxBand(const QImage& source, QImage& destination, int kernelSize, int rowBegin,
                            int rowEnd, void* ringMemory, const RowFinish* finish) {
    const int width = source.width();
    const int lastRow = source.height() - 1;
    const int radius = kernelSize / 2;
    const size_t stride = size_t(width) * 4;
    const int ringRows = kernelSize + 1;
    Sum* const ring = static_cast<Sum*>(ringMemory);
    std::vector<quint32> acc(stride, 0);
    const Divider divide(quint32(kernelSize) * quint32(kernelSize));

    // The slot of a row index (edge rows repeat, so an index may lie outside the image).
    const auto slot = [&](int y) {
        return ring + size_t(((y - rowBegin + radius) % ringRows + ringRows) % ringRows) * stride;
    };
    std::vector<quint32> padded(size_t(width) + 2 * size_t(radius) + 2);
    const auto computeRow = [&](int y) {
        Sum* target = slot(y);
        const uchar* row = source.constScanLine(std::clamp(y, 0, lastRow));
        if constexpr (std::is_same_v<Sum, quint16>)
            rowSums16(row, target, width, radius, padded.data());
        else
            rowSums(row, target, width, radius);
        return target;
    };
    for (int k = -radius; k <= radius; ++k) {
        const Sum* sums = computeRow(rowBegin + k);
        for (size_t i = 0; i < stride; ++i)
            acc[i] += sums[i];
    }
    std::vector<uchar> blurred(finish ? stride : 0);
    std::vector<uchar> saturated(finish && finish->matrix ? stride : 0);
    quint32* a = acc.data();
    for (int y = rowBegin; y < rowEnd; ++y) {
        const Sum* incoming = y + 1 < rowEnd ? computeRow(y + radius + 1) : nullptr;
        const Sum* outgoing = incoming ? slot(y - radius) : nullptr;
        divideAndSlide(a, incoming, outgoing, finish ? blurred.data() : destination.scanLine(y),
                       stride, divide);
        if (finish) {
            const uchar* effect = blurred.data();
            if (finish->matrix) {
                matrixRow256(effect, saturated.data(), width, *finish->matrix);
                effect = saturated.data();
            }
            compositeRow(finish->source->constScanLine(y), effect,
                         finish->mask ? finish->mask->constScanLine(y) : nullptr, finish->tint,
                         destination.scanLine(y), width);
        }
    }
}

// The pixel loops, built twice: for processors with AVX2 and for any other, the one to run
// chosen when the program loads.
TOLVANE_CLONES void boxBand16(const QImage& source, QImage& destination, int kernelSize, int begin,
                              int end, void* ring, const RowFinish* finish) {
    boxBand<quint16>(source, destination, kernelSize, begin, end, ring, finish);
}
TOLVANE_CLONES void boxBand32(const QImage& source, QImage& destination, int kernelSize, int begin,
                              int end, void* ring, const RowFinish* finish) {
    boxBand<quint32>(source, destination, kernelSize, begin, end, ring, finish);
}

// The rings of row sums for the two bands of an image, made once for all passes of a blur.
class BoxRings {
public:
    BoxRings(QSize size, int kernelSize)
        : m_wide(kernelSize > 257)
        , m_bytes(size_t(kernelSize + 1) * size_t(size.width()) * 4 *
                  (m_wide ? sizeof(quint32) : sizeof(quint16)))
        , m_first(new std::byte[m_bytes])
        , m_second(new std::byte[m_bytes]) {}

    // Row sums of up to 257 pixels fit 16 bits; wider kernels need 32.
    bool wide() const { return m_wide; }
    void* ring(bool firstBand) const { return firstBand ? m_first.get() : m_second.get(); }

private:
    bool m_wide;
    size_t m_bytes;
    std::unique_ptr<std::byte[]> m_first;
    std::unique_ptr<std::byte[]> m_second;
};

void boxConvolveInto(const QImage& source, QImage& destination, int kernelSize,
                     const BoxRings& rings, const RowFinish* finish = nullptr) {
    parallelRows(source.height(), [&](int begin, int end) {
        void* ring = rings.ring(begin == 0);
        if (rings.wide())
            boxBand32(source, destination, kernelSize, begin, end, ring, finish);
        else
            boxBand16(source, destination, kernelSize, begin, end, ring, finish);
    });
}

} // namespace

int ImageEffects::boxKernelSize(qreal blurRadius, qreal scale) {
    const double inputRadius = blurRadius * scale;
    int size = int(std::floor(inputRadius * 3.0 * sqrtTwoPi / 4.0 + 0.5));
    if (size % 2 == 0)
        ++size;
    return size;
}

std::array<qint16, 16> ImageEffects::saturationMatrix(qreal s) {
    const double floating[16] = {
        0.0722 + 0.9278 * s,
        0.0722 - 0.0722 * s,
        0.0722 - 0.0722 * s,
        0,
        0.7152 - 0.7152 * s,
        0.7152 + 0.2848 * s,
        0.7152 - 0.7152 * s,
        0,
        0.2126 - 0.2126 * s,
        0.2126 - 0.2126 * s,
        0.2126 + 0.7873 * s,
        0,
        0,
        0,
        0,
        1,
    };
    std::array<qint16, 16> fixed{};
    for (size_t i = 0; i < fixed.size(); ++i)
        fixed[i] = qint16(std::clamp(std::round(floating[i] * matrixDivisor), -32768.0, 32767.0));
    return fixed;
}

void ImageEffects::boxConvolve(const QImage& source, QImage& destination, int kernelSize) {
    Q_ASSERT(source.size() == destination.size());
    if (source.isNull() || kernelSize < 1)
        return;
    boxConvolveInto(source, destination, kernelSize, BoxRings(source.size(), kernelSize));
}

namespace {

void matrixRows256(const QImage& source, QImage& destination, const std::array<int, 16>& m,
                   int begin, int end) {
    for (int y = begin; y < end; ++y)
        matrixRow256(source.constScanLine(y), destination.scanLine(y), source.width(), m);
}

void matrixRowsAny(const QImage& source, QImage& destination, const std::array<int, 16>& m,
                   int divisor, int begin, int end) {
    for (int y = begin; y < end; ++y)
        matrixRow<0>(source.constScanLine(y), destination.scanLine(y), source.width(), m, divisor);
}

} // namespace

void ImageEffects::matrixMultiply(const QImage& source, QImage& destination,
                                  const std::array<qint16, 16>& matrix, int divisor) {
    Q_ASSERT(source.size() == destination.size());
    if (divisor == 0)
        return;
    std::array<int, 16> m{};
    std::copy(matrix.begin(), matrix.end(), m.begin());
    parallelRows(source.height(), [&](int begin, int end) {
        if (divisor == 256)
            matrixRows256(source, destination, m, begin, end);
        else
            matrixRowsAny(source, destination, m, divisor, begin, end);
    });
}

QImage ImageEffects::applyBlurWithRadius(const QImage& image, qreal blurRadius,
                                         const std::optional<QColor>& tintColor,
                                         qreal saturationDeltaFactor,
                                         const std::optional<QImage>& maskImage) {
    const QSizeF points = pointSize(image);
    if (points.width() < 1 || points.height() < 1) {
        qWarning().noquote() << QString::asprintf("*** error: invalid size: (%.2f x %.2f). Both "
                                                  "dimensions must be >= 1: ",
                                                  points.width(), points.height()) +
                                    describe(image);
        return {};
    }
    if (image.isNull()) {
        qWarning().noquote() << QStringLiteral("*** error: image must be backed by a CGImage: ") +
                                    describe(image);
        return {};
    }
    if (maskImage && maskImage->isNull()) {
        qWarning().noquote() << QStringLiteral(
                                    "*** error: maskImage must be backed by a CGImage: ") +
                                    describe(*maskImage);
        return {};
    }

    const qreal scale = screenScale();
    const bool hasBlur = blurRadius > epsilon;
    const bool hasSaturationChange = std::abs(saturationDeltaFactor - 1.0) > epsilon;

    const QImage source = drawnAtScale(image, scale);
    if (source.isNull())
        return {};
    const auto workingImage = [&source, scale] {
        QImage working = largeImage(source.size());
        working.setDevicePixelRatio(scale);
        return working;
    };

    QImage mask;
    if (hasBlur && maskImage) {
        mask = surface(points, scale);
        QPainter painter(&mask);
        painter.drawImage(QRectF(QPointF(0, 0), points),
                          maskImage->hasAlphaChannel()
                              ? *maskImage
                              : maskImage->convertToFormat(QImage::Format_Alpha8));
    }
    const QRgb tint = tintColor ? qPremultiply(tintColor->rgba()) : 0;

    if (!hasBlur) {
        // A saturation change is only ever seen through the blur, so it is not computed.
        QImage result = workingImage();
        if (result.isNull())
            return {};
        parallelRows(result.height(), [&](int begin, int end) {
            for (int y = begin; y < end; ++y)
                compositeRow(source.constScanLine(y), nullptr, nullptr, tint, result.scanLine(y),
                             result.width());
        });
        return result;
    }

    // Two working images: the passes go back and forth between them, the source only read.
    // The last pass reads the second and writes the finished result into the first.
    QImage first = workingImage();
    QImage second = workingImage();
    if (first.isNull() || second.isNull())
        return {};
    const int kernel = boxKernelSize(blurRadius, scale);
    const BoxRings rings(source.size(), kernel);
    std::array<int, 16> matrix{};
    const auto fixed = saturationMatrix(saturationDeltaFactor);
    std::copy(fixed.begin(), fixed.end(), matrix.begin());
    const RowFinish finish{hasSaturationChange ? &matrix : nullptr, &source,
                           maskImage ? &mask : nullptr, tint};
    boxConvolveInto(source, first, kernel, rings);
    boxConvolveInto(first, second, kernel, rings);
    boxConvolveInto(second, first, kernel, rings, &finish);
    return first;
}

QImage ImageEffects::applyLightEffect(const QImage& image) {
    return applyBlurWithRadius(image, 30, QColor::fromRgbF(1, 1, 1, 0.3f), 1.8);
}

QImage ImageEffects::applyExtraLightEffect(const QImage& image) {
    return applyBlurWithRadius(image, 20, QColor::fromRgbF(0.97f, 0.97f, 0.97f, 0.82f), 1.8);
}

QImage ImageEffects::applyDarkEffect(const QImage& image) {
    return applyBlurWithRadius(image, 20, QColor::fromRgbF(0.11f, 0.11f, 0.11f, 0.73f), 1.8);
}

QImage ImageEffects::applyTintEffectWithColor(const QImage& image, const QColor& tintColor) {
    QColor tint = tintColor;
    if (tintColor.isValid()) {
        // Grey colours keep their grey; others their red, green and blue; alpha becomes 0.6.
        const float alpha = 0.6f;
        tint = QColor::fromRgbF(tintColor.redF(), tintColor.greenF(), tintColor.blueF(), alpha);
    }
    return applyBlurWithRadius(image, 10, tint, -1.0);
}

QImage ImageScale::imageWithImage(const QImage& image, QSizeF size) {
    QImage scaled = surface(size, screenScale());
    if (scaled.isNull() || image.isNull())
        return scaled.isNull() ? QImage() : scaled;
    QPainter painter(&scaled);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(QRectF(QPointF(0, 0), size), image);
    return scaled;
}

} // namespace tolvane

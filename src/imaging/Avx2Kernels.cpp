// The row loops for processors with AVX2. This file alone is built with -mavx2; everything in
// it stays internal to it (an anonymous namespace, no library templates), so that no copy of a
// function built here can stand in for a portable one elsewhere. Tails shorter than a vector
// go to the portable loops.
#include "Avx2Kernels.h"

#include <cstring>
#include <immintrin.h>

namespace tolvane {

namespace {

using std::int16_t;
using std::int64_t;
using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

// Four pixels from index on, widened to 16 bits a channel.
inline __m256i fourPixels(const uint8_t* pixels, int index) {
    return _mm256_cvtepu8_epi16(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 4 * size_t(index))));
}

// Window sums along a row given with radius + 1 copies of its edge pixels on either side,
// four pixels per step. The running sum is a chain from pixel to pixel; here the differences
// of incoming and outgoing pixels are summed up inside the vector first, so that the chain
// from one step to the next is a single add. Window sums of up to 257 pixels fit 16 bits, so
// the 16-bit lanes may wrap in between and still end exact.
void paddedRowSums16(const uint8_t* padded, uint16_t* out, int width, int radius) {
    // The first window: padded pixels 1 to 2r + 1, four pixel slots summed apart, then folded.
    const int window = 2 * radius + 1;
    __m256i partial = _mm256_setzero_si256();
    int k = 0;
    for (; k + 4 <= window; k += 4)
        partial = _mm256_add_epi16(partial, fourPixels(padded, 1 + k));
    partial = _mm256_add_epi16(partial, _mm256_permute4x64_epi64(partial, _MM_SHUFFLE(1, 0, 3, 2)));
    partial = _mm256_add_epi16(partial, _mm256_permute4x64_epi64(partial, _MM_SHUFFLE(2, 3, 0, 1)));
    alignas(32) uint16_t first[16];
    _mm256_store_si256(reinterpret_cast<__m256i*>(first), partial);
    for (; k < window; ++k)
        for (int c = 0; c < 4; ++c)
            first[c] = uint16_t(first[c] + padded[4 * (1 + k) + c]);
    int64_t packed = 0;
    std::memcpy(&packed, first, sizeof packed);
    // The sum at x, in each of the four pixel slots.
    __m256i sum = _mm256_set1_epi64x(packed);

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
                uint16_t(first[c] + padded[4 * (x + window + 1) + c] - padded[4 * (x + 1) + c]);
        }
    }
}

// The row is first copied with its edge pixels repeated on either side, so that no index
// needs clamping.
void rowSums16(const uint8_t* row, uint16_t* out, int width, int radius, uint32_t* padded) {
    const int pad = radius + 1;
    uint32_t left = 0;
    uint32_t right = 0;
    std::memcpy(&left, row, 4);
    std::memcpy(&right, row + 4 * size_t(width - 1), 4);
    for (int i = 0; i < pad; ++i)
        padded[i] = left;
    std::memcpy(padded + pad, row, 4 * size_t(width));
    for (int i = pad + width; i < 2 * pad + width; ++i)
        padded[i] = right;
    paddedRowSums16(reinterpret_cast<const uint8_t*>(padded), out, width, radius);
}

// Eight sums divided as Divider does: the 32 x 32 -> 64-bit multiply covers every other lane,
// so odd and even lanes go separately and meet again as 32-bit quotients.
inline __m256i divideEight(__m256i sums, __m256i half, __m256i multiplier, __m128i shift) {
    const __m256i rounded = _mm256_add_epi32(sums, half);
    const __m256i even = _mm256_srl_epi64(_mm256_mul_epu32(rounded, multiplier), shift);
    const __m256i odd =
        _mm256_srl_epi64(_mm256_mul_epu32(_mm256_srli_epi64(rounded, 32), multiplier), shift);
    return _mm256_or_si256(even, _mm256_slli_epi64(odd, 32));
}

// Eight 16-bit sums as 32-bit lanes.
inline __m256i widened(const uint16_t* sums) {
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(sums)));
}

// The slide and the division in one go over the column sums, 32 at a time; the compiler's
// own version of the division shuffles a lot.
void slideAndDivide16(uint32_t* sums, const uint16_t* incoming, const uint16_t* outgoing,
                      uint8_t* out, size_t count, const Divider& divide) {
    const __m256i half = _mm256_set1_epi32(int(divide.half));
    const __m256i multiplier = _mm256_set1_epi64x(int64_t(divide.multiplier));
    const __m128i shift = _mm_cvtsi32_si128(divide.shift);
    // Packing leaves quotients in the order 0-3, 8-11, 16-19, 24-27 | 4-7, 12-15, ...
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    size_t i = 0;
    for (; i + 32 <= count; i += 32) {
        __m256i quotients[4];
        for (size_t k = 0; k < 4; ++k) {
            __m256i* at = reinterpret_cast<__m256i*>(sums + i + 8 * k);
            const __m256i moved = _mm256_add_epi32(
                _mm256_loadu_si256(at),
                _mm256_sub_epi32(widened(incoming + i + 8 * k), widened(outgoing + i + 8 * k)));
            _mm256_storeu_si256(at, moved);
            quotients[k] = divideEight(moved, half, multiplier, shift);
        }
        const __m256i bytes = _mm256_packus_epi16(_mm256_packus_epi32(quotients[0], quotients[1]),
                                                  _mm256_packus_epi32(quotients[2], quotients[3]));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i),
                            _mm256_permutevar8x32_epi32(bytes, order));
    }
    PixelKernels::portable().slideAndDivide16(sums + i, incoming + i, outgoing + i, out + i,
                                              count - i, divide);
}

// Two rows of the matrix as 16-bit pairs, (first row, second row) for each output channel, in
// both lanes.
inline __m256i matrixPairs(const int* m, int first, int second) {
    const auto e = [m](int index) { return int16_t(m[index]); };
    return _mm256_setr_epi16(e(first), e(second), e(first + 1), e(second + 1), e(first + 2),
                             e(second + 2), e(first + 3), e(second + 3), e(first), e(second),
                             e(first + 1), e(second + 1), e(first + 2), e(second + 2), e(first + 3),
                             e(second + 3));
}

// Byte picks out of four pixels: channels (c, c + 1) of pixel j in lane 0 and of pixel j + 1
// in lane 1, each as a 16-bit pair repeated four times; -1 gives a zero byte.
inline __m256i channelPairs(int j, int c) {
    const char a = char(4 * j + c), b = char(4 * j + c + 1);
    const char p = char(4 * (j + 1) + c), q = char(4 * (j + 1) + c + 1);
    return _mm256_setr_epi8(a, -1, b, -1, a, -1, b, -1, a, -1, b, -1, a, -1, b, -1, p, -1, q, -1, p,
                            -1, q, -1, p, -1, q, -1, p, -1, q, -1);
}

// One pixel a lane through the matrix, clamped: alpha to 0..255, colour to 0..alpha.
inline __m256i twoPixelsThroughMatrix(__m256i four, __m256i blueGreenPick, __m256i redAlphaPick,
                                      __m256i blueGreenRows, __m256i redAlphaRows) {
    const __m256i sums =
        _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(four, blueGreenPick), blueGreenRows),
                         _mm256_madd_epi16(_mm256_shuffle_epi8(four, redAlphaPick), redAlphaRows));
    const __m256i value = _mm256_max_epi32(_mm256_srai_epi32(sums, 8), _mm256_setzero_si256());
    const __m256i alpha = _mm256_min_epi32(_mm256_shuffle_epi32(value, _MM_SHUFFLE(3, 3, 3, 3)),
                                           _mm256_set1_epi32(255));
    return _mm256_min_epi32(value, alpha);
}

// Eight pixels per step, written out because the compiler's own vectorisation of the plain
// loop spends most of its time taking channels apart. Each 128-bit lane works on one pixel:
// its channels are spread as 16-bit pairs (blue, green) and (red, alpha), and two multiply-adds
// against the matching rows of the matrix give all four sums at once. The entries are 16-bit
// values, so they fit the multiply-add.
void matrixRow256(const uint8_t* in, uint8_t* out, int width, const int* m) {
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
    PixelKernels::portable().matrixRow256(in + 4 * size_t(x), out + 4 * size_t(x), width - x, m);
}

// (value x factor + 127) / 255 in 16-bit lanes; the division is exact for all 16-bit values.
inline __m256i multiply255(__m256i value, __m256i factor) {
    const __m256i rounded =
        _mm256_add_epi16(_mm256_mullo_epi16(value, factor), _mm256_set1_epi16(127));
    return _mm256_srli_epi16(_mm256_mulhi_epu16(rounded, _mm256_set1_epi16(int16_t(0x8081))), 7);
}

// The composition without a mask, four pixels per half step in 16-bit lanes, as the compiler
// does not vectorise the per-pixel alpha well. With a mask, or without an effect, the
// portable loop does it all.
void compositeRow(const uint8_t* s, const uint8_t* e, const uint8_t* m, uint32_t tint, uint8_t* out,
                  int width) {
    int x = 0;
    if (e && !m) {
        const auto b = int16_t(tint & 0xff), g = int16_t((tint >> 8) & 0xff),
                   r = int16_t((tint >> 16) & 0xff), a = int16_t(tint >> 24);
        const __m256i tintWords = _mm256_setr_epi16(b, g, r, a, b, g, r, a, b, g, r, a, b, g, r, a);
        const __m256i keepUnderTint = _mm256_set1_epi16(int16_t(255 - a));
        const __m256i full = _mm256_set1_epi16(255);
        // The alpha word of each pixel, repeated over its four channels.
        const __m256i alphaPick =
            _mm256_setr_epi8(6, 7, 6, 7, 6, 7, 6, 7, 14, 15, 14, 15, 14, 15, 14, 15, 6, 7, 6, 7, 6,
                             7, 6, 7, 14, 15, 14, 15, 14, 15, 14, 15);
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
    }
    const size_t at = 4 * size_t(x);
    PixelKernels::portable().compositeRow(s + at, e ? e + at : nullptr, m ? m + at : nullptr, tint,
                                          out + at, width - x);
}

// Kernels wider than 257 pixels need 32-bit row sums, which stay portable. Forwarded so that
// the table is a constant: a table made at start-up would run code of this file on any
// processor.
void rowSums32(const uint8_t* row, uint32_t* out, int width, int radius) {
    PixelKernels::portable().rowSums32(row, out, width, radius);
}

void slideAndDivide32(uint32_t* sums, const uint32_t* incoming, const uint32_t* outgoing,
                      uint8_t* out, size_t count, const Divider& divide) {
    PixelKernels::portable().slideAndDivide32(sums, incoming, outgoing, out, count, divide);
}

constexpr PixelKernels kernels{
    "avx2", rowSums16, rowSums32, slideAndDivide16, slideAndDivide32, matrixRow256, compositeRow,
};

} // namespace

const PixelKernels& avx2Kernels() {
    return kernels;
}

} // namespace tolvane

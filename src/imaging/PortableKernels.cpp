// The row loops in plain C++, for any processor; the compiler vectorises what it can for the
// baseline instruction set. PixelKernels::portable() is this set.
#include "PortableKernels.h"

#include <algorithm>

namespace tolvane {

namespace {

using std::uint16_t;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

inline uint32_t divided(const Divider& divide, uint32_t sum) {
    return uint32_t((uint64_t(sum + divide.half) * uint64_t(divide.multiplier)) >> divide.shift);
}

// Sums of a d-wide window along one row, edge pixels repeated, four channels at a time. The
// middle of the row, where no index needs clamping, runs without any.
template <typename Sum>
void rowSums(const uint8_t* row, Sum* out, int width, int radius) {
    const int last = width - 1;
    uint32_t a0 = 0, a1 = 0, a2 = 0, a3 = 0;
    for (int k = -radius; k <= radius; ++k) {
        const uint8_t* pixel = row + 4 * std::clamp(k, 0, last);
        a0 += pixel[0];
        a1 += pixel[1];
        a2 += pixel[2];
        a3 += pixel[3];
    }
    const auto step = [&](int x, const uint8_t* in, const uint8_t* outgoing) {
        Sum* o = out + 4 * x;
        o[0] = Sum(a0);
        o[1] = Sum(a1);
        o[2] = Sum(a2);
        o[3] = Sum(a3);
        a0 += uint32_t(in[0]) - outgoing[0];
        a1 += uint32_t(in[1]) - outgoing[1];
        a2 += uint32_t(in[2]) - outgoing[2];
        a3 += uint32_t(in[3]) - outgoing[3];
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

void rowSums16(const uint8_t* row, uint16_t* out, int width, int radius, uint32_t*) {
    rowSums(row, out, width, radius);
}

void rowSums32(const uint8_t* row, uint32_t* out, int width, int radius) {
    rowSums(row, out, width, radius);
}

// Plain pointers and a count of their own let the compiler vectorise the loop.
template <typename Sum>
void slideAndDivide(uint32_t* __restrict sums, const Sum* __restrict incoming,
                    const Sum* __restrict outgoing, uint8_t* __restrict out, size_t count,
                    const Divider& divider) {
    const Divider divide = divider;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t sum = sums[i] + incoming[i] - outgoing[i];
        sums[i] = sum;
        out[i] = uint8_t(divided(divide, sum));
    }
}

void slideAndDivide16(uint32_t* sums, const uint16_t* incoming, const uint16_t* outgoing,
                      uint8_t* out, size_t count, const Divider& divide) {
    slideAndDivide(sums, incoming, outgoing, out, count, divide);
}

void slideAndDivide32(uint32_t* sums, const uint32_t* incoming, const uint32_t* outgoing,
                      uint8_t* out, size_t count, const Divider& divide) {
    slideAndDivide(sums, incoming, outgoing, out, count, divide);
}

// The divisor is a template parameter so that the usual 256 becomes a shift the compiler can
// vectorise.
template <int FixedDivisor>
void matrixRow(const uint8_t* in, uint8_t* out, int width, const int* matrix, int divisor) {
    // A copy of its own: byte stores may alias anything, and reloading the entries after each
    // one would keep the loop scalar.
    int m[16];
    std::copy(matrix, matrix + 16, m);
    const auto divide = [divisor](int sum) {
        if constexpr (FixedDivisor == 256) {
            (void)divisor; // a shift instead
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
            uint8_t(std::clamp(divide(p0 * m[0] + p1 * m[4] + p2 * m[8] + p3 * m[12]), 0, alpha));
        out[4 * x + 1] =
            uint8_t(std::clamp(divide(p0 * m[1] + p1 * m[5] + p2 * m[9] + p3 * m[13]), 0, alpha));
        out[4 * x + 2] =
            uint8_t(std::clamp(divide(p0 * m[2] + p1 * m[6] + p2 * m[10] + p3 * m[14]), 0, alpha));
        out[4 * x + 3] = uint8_t(alpha);
    }
}

void matrixRow256(const uint8_t* in, uint8_t* out, int width, const int* matrix) {
    matrixRow<256>(in, out, width, matrix, 256);
}

inline uint32_t multiply255(uint32_t value, uint32_t factor) {
    return (value * factor + 127) / 255;
}

// Premultiplied throughout. A colour above its alpha in the effect would push the sum under
// the tint past a byte; it is held at 255.
void compositeRow(const uint8_t* s, const uint8_t* e, const uint8_t* m, uint32_t tint, uint8_t* out,
                  int width) {
    const uint32_t tintAlpha = tint >> 24;
    const uint32_t keepUnderTint = 255 - tintAlpha;
    const uint32_t tintBytes[4] = {tint & 0xff, (tint >> 8) & 0xff, (tint >> 16) & 0xff, tintAlpha};
    if (!e) {
        for (int i = 0; i < 4 * width; ++i)
            out[i] = uint8_t(tintBytes[i & 3] + multiply255(s[i], keepUnderTint));
        return;
    }
    if (!m) {
        for (int x = 0; x < width; ++x) {
            const uint32_t keep = 255 - e[4 * x + 3];
            for (int c = 0; c < 4; ++c) {
                const uint32_t below =
                    std::min<uint32_t>(e[4 * x + c] + multiply255(s[4 * x + c], keep), 255);
                out[4 * x + c] = uint8_t(tintBytes[c] + multiply255(below, keepUnderTint));
            }
        }
        return;
    }
    for (int x = 0; x < width; ++x) {
        const uint32_t coverage = m[4 * x + 3];
        const uint32_t keep = 255 - multiply255(e[4 * x + 3], coverage);
        for (int c = 0; c < 4; ++c) {
            const uint32_t below = std::min<uint32_t>(
                multiply255(e[4 * x + c], coverage) + multiply255(s[4 * x + c], keep), 255);
            out[4 * x + c] = uint8_t(tintBytes[c] + multiply255(below, keepUnderTint));
        }
    }
}

constexpr PixelKernels portableKernels{
    "portable",       rowSums16,    rowSums32,    slideAndDivide16,
    slideAndDivide32, matrixRow256, compositeRow,
};

} // namespace

void matrixRowAnyDivisor(const uint8_t* in, uint8_t* out, int width, const int* matrix,
                         int divisor) {
    matrixRow<0>(in, out, width, matrix, divisor);
}

const PixelKernels& PixelKernels::portable() {
    return portableKernels;
}

} // namespace tolvane

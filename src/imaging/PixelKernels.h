#pragma once

#include <cstddef>
#include <cstdint>

namespace tolvane {

// Exact division of sums below 2^25 by a fixed divisor, as a multiply and a shift. The
// multiplier stays below 2^27, so the product is a 32 x 32 -> 64-bit one, which vector units
// have. Plain data, so that every set of row loops can read it.
struct Divider {
    std::uint32_t multiplier = 0;
    int shift = 0;
    std::uint32_t half = 0;

    static Divider forDivisor(std::uint32_t divisor);
};

// The row loops of the blur, the colour matrix and the composition: one set for any processor
// and, on x86-64, one for processors with AVX2, chosen when first asked for. Pixels are
// premultiplied ARGB32 bytes (blue, green, red, alpha in memory order).
struct PixelKernels {
    const char* name;

    // Sums of a (2 x radius + 1)-wide window along a row, edge pixels repeated, per channel.
    // The 16-bit form is for radius up to 128; scratch has room for width + 2 x radius + 2
    // pixels.
    void (*rowSums16)(const std::uint8_t* row, std::uint16_t* out, int width, int radius,
                      std::uint32_t* scratch);
    void (*rowSums32)(const std::uint8_t* row, std::uint32_t* out, int width, int radius);
    // sums += incoming - outgoing, then out = the new sums divided, as bytes; count values.
    void (*slideAndDivide16)(std::uint32_t* sums, const std::uint16_t* incoming,
                             const std::uint16_t* outgoing, std::uint8_t* out, std::size_t count,
                             const Divider& divide);
    void (*slideAndDivide32)(std::uint32_t* sums, const std::uint32_t* incoming,
                             const std::uint32_t* outgoing, std::uint8_t* out, std::size_t count,
                             const Divider& divide);
    // One row through a 4 x 4 matrix with divisor 256, row i of the matrix being what input
    // channel i adds to each output channel; alpha held to 0..255 and colour to 0..alpha. The
    // entries are 16-bit values.
    void (*matrixRow256)(const std::uint8_t* in, std::uint8_t* out, int width, const int* matrix);
    // out = tint over (effect, weighted by the mask's alpha, over source) for one row. Without
    // an effect, the tint over the source; the mask may be absent.
    void (*compositeRow)(const std::uint8_t* source, const std::uint8_t* effect,
                         const std::uint8_t* mask, std::uint32_t tint, std::uint8_t* out,
                         int width);

    static const PixelKernels& portable();
    // Null unless built for x86-64 and the processor has AVX2.
    static const PixelKernels* avx2();
    // The AVX2 set where there is one, unless TOLVANE_PORTABLE_PIXELS=1 asks for the portable.
    static const PixelKernels& chosen();
};

} // namespace tolvane

#pragma once

#include "imaging/PixelKernels.h"

#include <QImage>

namespace tolvane {

// Repeated box blurs of a premultiplied ARGB32 image, each a d x d average with edge pixels
// repeated and each channel rounded once, done in one streaming pass over bands of rows: every
// blur keeps only a ring of the rows it is working on, so the image crosses memory once however
// many blurs there are, and the bands share the cores (ParallelRows).
namespace BoxBlur {

// What happens to each blurred row before it is stored, while it is still in the cache.
struct Finish {
    const int* matrix = nullptr;    // 16 entries, divisor 256 (PixelKernels::matrixRow256)
    const QImage* source = nullptr; // when set, the result is composed over this image...
    const QImage* mask = nullptr;   // ...the effect weighted by this one's alpha, if set...
    std::uint32_t tint = 0;         // ...and this premultiplied colour over both
};

// passes blurs of source into destination (of the same size), then finish. Source and
// destination may be the same image.
void apply(const QImage& source, QImage& destination, int kernelSize, int passes,
           const Finish& finish = {}, const PixelKernels& kernels = PixelKernels::chosen());

} // namespace BoxBlur

} // namespace tolvane

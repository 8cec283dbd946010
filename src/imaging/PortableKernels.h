#pragma once

#include "imaging/PixelKernels.h"

namespace tolvane {

// One row through a 4 x 4 matrix with any divisor other than 0, clamped as
// PixelKernels::matrixRow256 does; runs on any processor.
void matrixRowAnyDivisor(const std::uint8_t* in, std::uint8_t* out, int width, const int* matrix,
                         int divisor);

} // namespace tolvane

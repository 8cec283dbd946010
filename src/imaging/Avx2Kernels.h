#pragma once

#include "imaging/PixelKernels.h"

namespace tolvane {

// The row loops for processors with AVX2. Their file alone is built for AVX2, so call this only
// once the processor is known to have it (PixelKernels::avx2 does).
const PixelKernels& avx2Kernels();

} // namespace tolvane

#include "PixelKernels.h"

#ifdef TOLVANE_AVX2_KERNELS
#include "imaging/Avx2Kernels.h"
#endif

#include <QtGlobal>

namespace tolvane {

Divider Divider::forDivisor(std::uint32_t divisor) {
    int bits = 0;
    while ((std::uint64_t(1) << bits) < divisor)
        ++bits;
    Divider divider;
    divider.shift = 25 + bits;
    divider.multiplier =
        std::uint32_t(((std::uint64_t(1) << divider.shift) + divisor - 1) / divisor);
    divider.half = divisor / 2;
    return divider;
}

const PixelKernels* PixelKernels::avx2() {
#ifdef TOLVANE_AVX2_KERNELS
    static const bool supported = [] {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") != 0;
    }();
    // Nothing built for AVX2 is reached before this check.
    if (supported)
        return &avx2Kernels();
#endif
    return nullptr;
}

const PixelKernels& PixelKernels::chosen() {
    // Asked on each call (once per image, not per row), so that a benchmark can time both.
    if (qEnvironmentVariableIntValue("TOLVANE_PORTABLE_PIXELS") == 1)
        return portable();
    const PixelKernels* fast = avx2();
    return fast ? *fast : portable();
}

} // namespace tolvane

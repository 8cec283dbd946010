#include "BoxBlur.h"

#include "imaging/ParallelRows.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <vector>

namespace tolvane {

namespace {

using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

// Row sums of up to 257 pixels fit 16 bits; wider kernels need 32.
constexpr int widest16BitKernel = 257;

struct Job {
    int width = 0;
    int height = 0;
    int kernel = 0;
    int radius = 0;
    int passes = 0;
    size_t stride = 0; // values in a row: four a pixel
    Divider divide;
    const uint8_t* source = nullptr;
    size_t sourceLine = 0;
    uint8_t* destination = nullptr;
    size_t destinationLine = 0;
    const BoxBlur::Finish* finish = nullptr;
    const PixelKernels* kernels = nullptr;
};

// Working memory of one thread, kept from call to call: the rings of a full-screen blur come to
// a few megabytes, which would otherwise be page-faulted in again each time.
uint32_t* scratch(size_t words) {
    thread_local std::vector<uint32_t> memory;
    if (memory.size() < words)
        memory.resize(words);
    return memory.data();
}

// Carves aligned pieces out of the scratch memory.
class Carver {
public:
    explicit Carver(uint32_t* base)
        : m_at(base) {}
    template <typename T>
    T* take(size_t count) {
        T* piece = reinterpret_cast<T*>(m_at);
        m_at += words<T>(count);
        return piece;
    }
    template <typename T>
    static size_t words(size_t count) {
        return (count * sizeof(T) + 63) / 64 * 16;
    }

private:
    uint32_t* m_at;
};

template <typename Sum>
void sumRow(const PixelKernels& kernels, const uint8_t* row, Sum* out, int width, int radius,
            uint32_t* padded) {
    if constexpr (std::is_same_v<Sum, uint16_t>)
        kernels.rowSums16(row, out, width, radius, padded);
    else
        kernels.rowSums32(row, out, width, radius);
}

template <typename Sum>
void slideAndDivide(const PixelKernels& kernels, uint32_t* sums, const Sum* incoming,
                    const Sum* outgoing, uint8_t* out, size_t count, const Divider& divide) {
    if constexpr (std::is_same_v<Sum, uint16_t>)
        kernels.slideAndDivide16(sums, incoming, outgoing, out, count, divide);
    else
        kernels.slideAndDivide32(sums, incoming, outgoing, out, count, divide);
}

// One blur over a band of output rows [lo, hi). Input rows come in order, each once; the row
// sums of the last d + 1 of them live in a ring, and the column sums over the window slide down
// one row per input row. Rows outside the image repeat its edge rows.
template <typename Sum>
class Pass {
public:
    Pass(const Job& job, int lo, int hi, Carver& memory)
        : m_job(job)
        , m_lo(lo)
        , m_hi(hi)
        , m_first(lo - job.radius)
        , m_next(m_first)
        , m_ringRows(job.kernel + 1)
        , m_ring(memory.take<Sum>(size_t(m_ringRows) * job.stride))
        , m_sums(memory.take<uint32_t>(job.stride))
        , m_row(memory.take<uint8_t>(job.stride)) {
        std::fill(m_sums, m_sums + job.stride, 0);
    }

    int firstInputRow() const { return std::max(0, m_first); }
    int endInputRow() const { return std::min(m_job.height, m_hi + m_job.radius); }

    // Takes image row k of this blur's input (rows come in order), and hands each output row it
    // completes to emit(y, pixels). target(y) says where to put output row y.
    template <typename Target, typename Emit>
    void push(int k, const uint8_t* row, const Sum* zero, uint32_t* padded, Target&& target,
              Emit&& emit) {
        const Job& job = m_job;
        sumRow(*job.kernels, row, slot(k), job.width, job.radius, padded);
        // After the last row, the rows below the image (copies of it) follow at once.
        const int last = k == job.height - 1 ? m_hi - 1 + job.radius : k;
        for (int j = m_next; j <= last; ++j) {
            const int y = j - job.radius;
            const Sum* outgoing = j - job.kernel >= m_first ? slot(j - job.kernel) : zero;
            uint8_t* out = y >= m_lo ? target(y, m_row) : m_row;
            slideAndDivide(*job.kernels, m_sums, slot(j), outgoing, out, job.stride, job.divide);
            if (y >= m_lo)
                emit(y, out);
        }
        m_next = last + 1;
    }

private:
    Sum* slot(int row) const {
        const int clamped = std::clamp(row, 0, m_job.height - 1);
        return m_ring + size_t(clamped % m_ringRows) * m_job.stride;
    }

    const Job& m_job;
    int m_lo;
    int m_hi;
    int m_first; // the first input row, which may lie above the image
    int m_next;  // the next input row to take into the window
    int m_ringRows;
    Sum* m_ring;
    uint32_t* m_sums;
    uint8_t* m_row;
};

template <typename Sum>
class Band {
public:
    Band(const Job& job, int begin, int end)
        : m_job(job) {
        const size_t stride = job.stride;
        const size_t words =
            size_t(job.passes) *
                (Carver::words<Sum>(size_t(job.kernel + 1) * stride) +
                 Carver::words<uint32_t>(stride) + Carver::words<uint8_t>(stride)) +
            Carver::words<Sum>(stride) +
            Carver::words<uint32_t>(size_t(job.width + job.kernel + 1)) +
            Carver::words<uint8_t>(stride);
        Carver memory(scratch(words));
        m_passes.reserve(size_t(job.passes));
        for (int s = 0; s < job.passes; ++s) {
            // Each earlier blur makes the rows the next one's window reaches.
            const int reach = (job.passes - 1 - s) * job.radius;
            m_passes.emplace_back(job, std::max(0, begin - reach),
                                  std::min(job.height, end + reach), memory);
        }
        m_zero = memory.take<Sum>(stride);
        std::fill(m_zero, m_zero + stride, Sum(0));
        m_padded = memory.take<uint32_t>(size_t(job.width + job.kernel + 1));
        m_saturated = memory.take<uint8_t>(stride);
    }

    void run() {
        Pass<Sum>& first = m_passes.front();
        for (int k = first.firstInputRow(); k < first.endInputRow(); ++k)
            feed(0, k, m_job.source + size_t(k) * m_job.sourceLine);
    }

private:
    uint8_t* destinationRow(int y) const {
        return m_job.destination + size_t(y) * m_job.destinationLine;
    }

    void feed(int pass, int k, const uint8_t* row) {
        if (pass == m_job.passes) {
            finishRow(k, row);
            return;
        }
        // The last blur writes straight into the destination when nothing follows it.
        const bool direct =
            pass == m_job.passes - 1 && !m_job.finish->matrix && !m_job.finish->source;
        m_passes[size_t(pass)].push(
            k, row, m_zero, m_padded,
            [this, direct](int y, uint8_t* own) { return direct ? destinationRow(y) : own; },
            [this, pass](int y, const uint8_t* out) { feed(pass + 1, y, out); });
    }

    void finishRow(int y, const uint8_t* blurred) {
        const BoxBlur::Finish& finish = *m_job.finish;
        const PixelKernels& kernels = *m_job.kernels;
        uint8_t* out = destinationRow(y);
        if (!finish.source) {
            if (finish.matrix)
                kernels.matrixRow256(blurred, out, m_job.width, finish.matrix);
            return;
        }
        const uint8_t* effect = blurred;
        if (finish.matrix) {
            kernels.matrixRow256(blurred, m_saturated, m_job.width, finish.matrix);
            effect = m_saturated;
        }
        kernels.compositeRow(finish.source->constScanLine(y), effect,
                             finish.mask ? finish.mask->constScanLine(y) : nullptr, finish.tint,
                             out, m_job.width);
    }

    const Job& m_job;
    std::vector<Pass<Sum>> m_passes;
    Sum* m_zero = nullptr;
    uint32_t* m_padded = nullptr;
    uint8_t* m_saturated = nullptr;
};

} // namespace

void BoxBlur::apply(const QImage& source, QImage& destination, int kernelSize, int passes,
                    const Finish& finish, const PixelKernels& kernels) {
    Q_ASSERT(source.size() == destination.size());
    if (source.isNull() || kernelSize < 1 || passes < 1 || source.size() != destination.size())
        return;
    // Bands read rows around their own, which another band may already have written.
    const QImage input = source.constBits() == destination.constBits() ? source.copy() : source;
    Job job;
    job.width = input.width();
    job.height = input.height();
    job.kernel = kernelSize;
    job.radius = kernelSize / 2;
    job.passes = passes;
    job.stride = size_t(job.width) * 4;
    job.divide = Divider::forDivisor(uint32_t(kernelSize) * uint32_t(kernelSize));
    job.source = input.constBits();
    job.sourceLine = size_t(input.bytesPerLine());
    // Detached here, once, rather than by each band.
    job.destination = destination.bits();
    job.destinationLine = size_t(destination.bytesPerLine());
    job.finish = &finish;
    job.kernels = &kernels;
    const bool wide = kernelSize > widest16BitKernel;
    ParallelRows::run(
        job.height,
        [&job, wide](int begin, int end) {
            if (wide)
                Band<uint32_t>(job, begin, end).run();
            else
                Band<uint16_t>(job, begin, end).run();
        },
        // Each band also blurs the rows its neighbours' windows reach into.
        std::max(32, kernelSize));
}

} // namespace tolvane

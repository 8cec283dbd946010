#include "ParallelRows.h"

#include <QSemaphore>
#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

namespace tolvane {

namespace {

std::atomic<int> configuredThreads{0};

int defaultThreadCount() {
    return std::max(1, QThread::idealThreadCount());
}

// A pool of its own: pixel work never waits on, nor is held up by, the global pool's tasks.
Q_GLOBAL_STATIC(QThreadPool, pixelPool)

} // namespace

void ParallelRows::setThreadCount(int threads) {
    configuredThreads = std::max(0, threads);
}

int ParallelRows::threadCount() {
    const int configured = configuredThreads;
    return configured > 0 ? configured : defaultThreadCount();
}

void ParallelRows::run(int count, const std::function<void(int, int)>& work, int minimumPerBand) {
    const int bands = std::min(threadCount(), count / std::max(1, minimumPerBand));
    if (bands < 2) {
        work(0, count);
        return;
    }
    QThreadPool& pool = *pixelPool();
    if (pool.maxThreadCount() < bands - 1)
        pool.setMaxThreadCount(bands - 1);

    // Each band is run by whoever claims it first: a pixel thread, or the caller once its own
    // band is done. The state outlives the call for tasks that start after the caller is gone.
    struct Shared {
        explicit Shared(int bands)
            : claimed(size_t(bands)) {}
        std::vector<std::atomic<bool>> claimed;
        QSemaphore done;
    };
    const auto shared = std::make_shared<Shared>(bands);
    const auto begin = [count, bands](int band) { return int(qint64(count) * band / bands); };
    const auto runBand = [&work, &begin](Shared& state, int band) {
        if (state.claimed[size_t(band)].exchange(true))
            return;
        work(begin(band), begin(band + 1));
        state.done.release();
    };
    for (int band = 1; band < bands; ++band)
        pool.start([shared, band, runBand] { runBand(*shared, band); });
    work(0, begin(1));
    for (int band = 1; band < bands; ++band)
        runBand(*shared, band);
    shared->done.acquire(bands - 1);
}

} // namespace tolvane

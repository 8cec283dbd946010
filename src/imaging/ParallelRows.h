#pragma once

#include <functional>

namespace tolvane {

// Splits pixel loops into bands of rows, one for each thread of a pool kept for pixel work,
// the calling thread running one band itself. Safe from any thread, a worker of the global
// pool included: bands that no pixel thread has started yet are taken back and run by the
// caller, so it never waits on work queued behind it.
namespace ParallelRows {

// Runs work(begin, end) over [0, count) in bands of at least minimumPerBand rows; small
// counts stay on the caller's thread.
void run(int count, const std::function<void(int, int)>& work, int minimumPerBand = 64);

// How many threads (the caller's included) share the bands: by default as many as the
// processor runs at once. 0 goes back to that.
void setThreadCount(int threads);
int threadCount();

} // namespace ParallelRows

} // namespace tolvane

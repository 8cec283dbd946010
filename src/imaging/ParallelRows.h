#pragma once

#include <functional>
#include <thread>

namespace tolvane {

// Runs work(begin, end) over [0, count) in two halves, the second on a thread of its own, for
// pixel loops large enough to be worth a second core. Small counts stay on the caller's
// thread.
inline void parallelRows(int count, const std::function<void(int, int)>& work,
                         int minimumPerThread = 64) {
    if (count < 2 * minimumPerThread || std::thread::hardware_concurrency() < 2) {
        work(0, count);
        return;
    }
    const int half = count / 2;
    std::thread second([&work, half, count] { work(half, count); });
    work(0, half);
    second.join();
}

} // namespace tolvane

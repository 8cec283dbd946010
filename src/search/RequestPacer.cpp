#include "RequestPacer.h"

#include <QElapsedTimer>
#include <QHash>
#include <QTimer>

#include <algorithm>

namespace tolvane {

namespace {
// Milliseconds on one monotonic clock.
qint64 nowMs() {
    static QElapsedTimer clock;
    if (!clock.isValid())
        clock.start();
    return clock.elapsed();
}

QHash<QString, qint64>& nextSlots() {
    static QHash<QString, qint64> slots;
    return slots;
}
} // namespace

void RequestPacer::schedule(const QString& service, int intervalMs, QObject* context,
                            std::function<void()> work) {
    const qint64 now = nowMs();
    qint64& next = nextSlots()[service];
    const qint64 at = std::max(now, next);
    next = at + intervalMs;
    QTimer::singleShot(int(at - now), context, std::move(work));
}

void RequestPacer::reset() {
    nextSlots().clear();
}

} // namespace tolvane

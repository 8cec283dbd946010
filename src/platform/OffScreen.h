#pragma once

#include <QFutureWatcher>
#include <QObject>
#include <QPromise>
#include <QThread>
#include <QThreadPool>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace tolvane {

// A piece of work handed to a worker thread. The handle may be copied and kept; cancelling it
// on the context's thread guarantees the result is not delivered, and lets a long worker stop
// early when it checks isCancelled().
class OffScreenJob {
public:
    OffScreenJob();

    void cancel() const;
    bool isCancelled() const;

private:
    std::shared_ptr<std::atomic_bool> m_cancelled;
};

namespace detail {

template <typename Work>
decltype(auto) invokeWork(Work& work, const OffScreenJob& job) {
    if constexpr (std::is_invocable_v<Work&, const OffScreenJob&>)
        return std::invoke(work, job);
    else
        return std::invoke(work);
}

template <typename Work>
using WorkResult =
    std::decay_t<decltype(invokeWork(std::declval<Work&>(), std::declval<const OffScreenJob&>()))>;

} // namespace detail

// Runs work on a worker of pool (the application's shared pool when null) and hands its result
// to deliver on the thread of context, the object the result is for. The delivery is dropped
// when context is destroyed first or the job is cancelled. work may take the job, to ask
// whether it is still wanted; it must not touch widgets, windows or the application object
// (read what it needs from them first and capture it). Call on context's thread.
template <typename Work, typename Deliver>
OffScreenJob runOffScreen(QObject* context, Work work, Deliver deliver,
                          QThreadPool* pool = nullptr) {
    using Value = detail::WorkResult<Work>;
    Q_ASSERT(context && context->thread() == QThread::currentThread());
    OffScreenJob job;
    // The value travels beside the promise rather than through it, so that results which
    // cannot be default-made or copied (Result<T>, unique_ptr) need nothing of QFuture.
    auto slot =
        std::make_shared<std::optional<std::conditional_t<std::is_void_v<Value>, bool, Value>>>();
    auto promise = std::make_shared<QPromise<void>>();
    // The watcher is the context's child: when the context goes, the watcher goes with it and
    // nothing is delivered.
    auto* watcher = new QFutureWatcher<void>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, watcher,
                     [watcher, job, slot, deliver = std::move(deliver)]() mutable {
                         watcher->deleteLater();
                         if (job.isCancelled() || !slot->has_value())
                             return;
                         if constexpr (std::is_void_v<Value>)
                             deliver();
                         else
                             deliver(std::move(**slot));
                     });
    watcher->setFuture(promise->future());
    promise->start();
    (pool ? pool : QThreadPool::globalInstance())
        ->start([job, slot, promise, work = std::move(work)]() mutable {
            if (!job.isCancelled()) {
                if constexpr (std::is_void_v<Value>) {
                    detail::invokeWork(work, job);
                    slot->emplace(true);
                } else {
                    slot->emplace(detail::invokeWork(work, job));
                }
            }
            promise->finish();
        });
    return job;
}

// Runs work on a worker when nobody waits for its end (a cache warmed, a file removed whose
// outcome the next listing shows).
template <typename Work>
OffScreenJob runOffScreen(Work work, QThreadPool* pool = nullptr) {
    OffScreenJob job;
    (pool ? pool : QThreadPool::globalInstance())->start([job, work = std::move(work)]() mutable {
        if (!job.isCancelled())
            detail::invokeWork(work, job);
    });
    return job;
}

} // namespace tolvane

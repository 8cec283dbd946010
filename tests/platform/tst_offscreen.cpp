#include "platform/OffScreen.h"
#include "platform/Result.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace tolvane;

class OffScreenTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deliversOnTheContextsThread();
    void movesResultsThatCannotBeCopied();
    void dropsTheResultWhenItsContextIsGone();
    void dropsTheResultWhenCancelled();
    void keepsTheOrderOfAOneThreadPool();
};

void OffScreenTest::deliversOnTheContextsThread() {
    QObject context;
    QThread* worker = nullptr;
    QThread* delivery = nullptr;
    std::optional<Result<int>> received;
    runOffScreen(
        &context,
        [&worker]() -> Result<int> {
            worker = QThread::currentThread();
            return Failure(QStringLiteral("no such file"), QStringLiteral("/gone"));
        },
        [&](Result<int> result) {
            delivery = QThread::currentThread();
            received.emplace(std::move(result));
        });
    QTRY_VERIFY(received.has_value());
    QCOMPARE(delivery, context.thread());
    QVERIFY(worker && worker != context.thread());
    QVERIFY(!received->ok());
    QCOMPARE(received->failure().text(), QStringLiteral("/gone: no such file"));

    bool ran = false;
    bool delivered = false;
    runOffScreen(
        &context, [&ran] { ran = true; }, [&delivered] { delivered = true; });
    QTRY_VERIFY(delivered);
    QVERIFY(ran);
}

void OffScreenTest::movesResultsThatCannotBeCopied() {
    QObject context;
    std::unique_ptr<QString> received;
    runOffScreen(
        &context, [] { return std::make_unique<QString>(QStringLiteral("pixels")); },
        [&received](std::unique_ptr<QString> value) { received = std::move(value); });
    QTRY_VERIFY(received != nullptr);
    QCOMPARE(*received, QStringLiteral("pixels"));
}

void OffScreenTest::dropsTheResultWhenItsContextIsGone() {
    QSemaphore started;
    QSemaphore release;
    bool delivered = false;
    auto context = std::make_unique<QObject>();
    runOffScreen(
        context.get(),
        [&] {
            started.release();
            release.acquire();
            return 7;
        },
        [&delivered](int) { delivered = true; });
    started.acquire();
    context.reset();
    release.release();
    QVERIFY(QThreadPool::globalInstance()->waitForDone(5000));
    // Give a stray queued delivery every chance to arrive.
    QTest::qWait(50);
    QVERIFY(!delivered);
}

void OffScreenTest::dropsTheResultWhenCancelled() {
    QObject context;
    QSemaphore started;
    QSemaphore release;
    std::atomic_bool sawCancel = false;
    bool delivered = false;
    OffScreenJob job = runOffScreen(
        &context,
        [&](const OffScreenJob& self) {
            started.release();
            release.acquire();
            sawCancel = self.isCancelled();
            return 1;
        },
        [&delivered](int) { delivered = true; });
    started.acquire();
    job.cancel();
    release.release();
    QVERIFY(QThreadPool::globalInstance()->waitForDone(5000));
    QTest::qWait(50);
    QVERIFY(sawCancel);
    QVERIFY(!delivered);

    // A job cancelled before any worker took it never runs.
    QThreadPool pool;
    pool.setMaxThreadCount(1);
    QSemaphore busy;
    runOffScreen([&busy] { busy.acquire(); }, &pool);
    bool ran = false;
    OffScreenJob queued = runOffScreen([&ran] { ran = true; }, &pool);
    queued.cancel();
    busy.release();
    QVERIFY(pool.waitForDone(5000));
    QVERIFY(!ran);
}

void OffScreenTest::keepsTheOrderOfAOneThreadPool() {
    QObject context;
    QThreadPool pool;
    pool.setMaxThreadCount(1);
    QList<int> finished;
    QList<int> delivered;
    for (int i = 0; i < 20; ++i) {
        runOffScreen(
            &context,
            [i, &finished] {
                finished.append(i);
                return i;
            },
            [&delivered](int value) { delivered.append(value); }, &pool);
    }
    QTRY_COMPARE(delivered.size(), 20);
    QList<int> expected;
    for (int i = 0; i < 20; ++i)
        expected.append(i);
    QCOMPARE(finished, expected);
    QCOMPARE(delivered, expected);
}

QTEST_GUILESS_MAIN(OffScreenTest)
#include "tst_offscreen.moc"

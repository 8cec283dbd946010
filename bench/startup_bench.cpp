// From process start to the main window shown, without the launch pause, offscreen.
#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

void BM_StartupToWindowShown(benchmark::State& state) {
    QTemporaryDir device;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    for (auto _ : state) {
        QProcess app;
        app.setProcessEnvironment(environment);
        QElapsedTimer timer;
        timer.start();
        app.start(QStringLiteral(TOLVANE_APP),
                  {QStringLiteral("--quit-when-shown"), QStringLiteral("--root"), device.path()});
        bool shown = false;
        while (!shown && app.waitForReadyRead(5000))
            shown = app.readAllStandardOutput().contains("shown");
        const double seconds = double(timer.nsecsElapsed()) / 1e9;
        app.waitForFinished(5000);
        if (!shown) {
            state.SkipWithError("the application did not report its window");
            return;
        }
        state.SetIterationTime(seconds);
    }
}
BENCHMARK(BM_StartupToWindowShown)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

} // namespace

BENCHMARK_MAIN();

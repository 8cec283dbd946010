// From process start to the main window shown, without the launch pause, offscreen.
#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

// One launch after another; the time to the window each reports, or an error.
void measureStartups(benchmark::State& state, const QProcessEnvironment& environment,
                     const QStringList& arguments) {
    for (auto _ : state) {
        QProcess app;
        app.setProcessEnvironment(environment);
        QElapsedTimer timer;
        timer.start();
        app.start(QStringLiteral(TOLVANE_APP),
                  QStringList{QStringLiteral("--quit-when-shown")} + arguments);
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

QProcessEnvironment offscreen() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.remove(QStringLiteral("TOLVANE_ROOT"));
    return environment;
}

void BM_StartupToWindowShown(benchmark::State& state) {
    QTemporaryDir device;
    measureStartups(state, offscreen(), {QStringLiteral("--root"), device.path()});
}
BENCHMARK(BM_StartupToWindowShown)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_StartupToWindowShownOnTheDesktop(benchmark::State& state) {
    // The desktop layout on a first run: a home with nothing of Tolvane's in it.
    QTemporaryDir home;
    QProcessEnvironment environment = offscreen();
    environment.insert(QStringLiteral("HOME"), home.path());
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        environment.remove(QString::fromLatin1(variable));
    measureStartups(state, environment, {});
}
BENCHMARK(BM_StartupToWindowShownOnTheDesktop)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(10);

} // namespace

BENCHMARK_MAIN();

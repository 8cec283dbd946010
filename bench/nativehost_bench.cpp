// The browser's hand-off as a user waits for it: from the download's completion (the add-on's
// message to the host) to the import editor shown by a running Tolvane. Each round starts
// tolvane-cli native-host with a recorded message; the host writes the store and starts
// tolvane, which hands the URL to the application running here. Also the host's peak resident
// memory while it answers.
#include "app/SingleInstance.h"
#include "app/ui/TolvaneApplication.h"
#include "app/ui/ViewController.h"
#include "platform/Paths.h"
#include "platform/ui/NavigationController.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <benchmark/benchmark.h>
#include <cstring>

using namespace tolvane;

namespace {

QString s(const char* text) {
    return QString::fromUtf8(text);
}

Screen* presentedOverMain() {
    return TolvaneApplication::instance()
        ->viewController()
        ->navigationController()
        ->presentedViewController();
}

bool editorShown() {
    auto* navigation = qobject_cast<NavigationController*>(presentedOverMain());
    return navigation && navigation->topViewController() &&
           navigation->topViewController()->isVisible();
}

void closeWhatIsShown() {
    if (Screen* shown = presentedOverMain())
        shown->dismissViewControllerAnimated(false, nullptr);
    if (!QTest::qWaitFor([] { return !presentedOverMain(); }, 5000))
        return;
    QThreadPool::globalInstance()->waitForDone();
}

QByteArray framed(const QJsonObject& message) {
    const QByteArray body = QJsonDocument(message).toJson(QJsonDocument::Compact);
    const quint32 length = quint32(body.size());
    QByteArray bytes(4, '\0');
    std::memcpy(bytes.data(), &length, 4);
    return bytes + body;
}

QString g_download;

QByteArray recordedMessage() {
    return framed(QJsonObject{
        {s("type"), s("record")},
        {s("kind"), s("song")},
        {s("record"), QJsonObject{{s("title"), s("Live at the Harbour")},
                                  {s("name"), s("Harbour Live.mp3")},
                                  {s("filePath"), g_download},
                                  {s("icon"), s("audio.png")},
                                  {s("url"), s("http://127.0.0.1/Harbour%20Live.mp3")}}},
    });
}

QProcessEnvironment hostEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(s("TOLVANE_LAUNCH"), s(TOLVANE_APP));
    return environment;
}

void BM_DownloadCompleteToEditorShown(benchmark::State& state) {
    const QByteArray message = recordedMessage();
    for (auto _ : state) {
        QProcess host;
        host.setProcessEnvironment(hostEnvironment());
        host.start(s(TOLVANE_CLI), {s("native-host")});
        host.write(message);
        host.closeWriteChannel();
        const bool shown = QTest::qWaitFor(editorShown, 10000);
        state.PauseTiming();
        host.waitForFinished(10000);
        if (!shown) {
            state.SkipWithError("the editor did not appear");
            return;
        }
        closeWhatIsShown();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_DownloadCompleteToEditorShown)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(20);

// The host's peak resident set (VmHWM) once it has answered a record, read while it still runs.
void BM_HostResidentMemory(benchmark::State& state) {
    const QByteArray message = recordedMessage();
    double peak = 0;
    for (auto _ : state) {
        QProcess host;
        QProcessEnvironment environment = hostEnvironment();
        environment.insert(s("TOLVANE_LAUNCH"), s("true"));
        host.setProcessEnvironment(environment);
        host.start(s(TOLVANE_CLI), {s("native-host")});
        host.write(message);
        if (!host.waitForReadyRead(10000)) {
            state.SkipWithError("the host did not answer");
            return;
        }
        QFile status(QStringLiteral("/proc/%1/status").arg(host.processId()));
        if (status.open(QIODevice::ReadOnly)) {
            for (const QByteArray& line : status.readAll().split('\n')) {
                if (line.startsWith("VmHWM:"))
                    peak =
                        std::max(peak, line.mid(6).trimmed().split(' ').first().toDouble() / 1024);
            }
        }
        host.closeWriteChannel();
        host.waitForFinished(10000);
    }
    state.counters["peak_resident_MB"] = peak;
    if (peak >= 30)
        state.SkipWithError("the host's resident memory is 30 MB or more");
}
BENCHMARK(BM_HostResidentMemory)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "TOLVANE_ROOT"})
        qunsetenv(variable);
    TolvaneApplication app(argc, argv);
    Paths::useDesktopLayout();
    g_download = home.filePath(s("Harbour Live.mp3"));
    if (!QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), g_download))
        return 1;
    app.setLaunchPauseEnabled(false);
    app.application(&app, QVariantMap());
    if (!QTest::qWaitForWindowExposed(app.window()))
        return 1;
    SingleInstance instance(SingleInstance::serverNameFor(Paths::userRoot()));
    if (!instance.listen().ok())
        return 1;
    QObject::connect(&instance, &SingleInstance::messageReceived, &app,
                     &TolvaneApplication::receive);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

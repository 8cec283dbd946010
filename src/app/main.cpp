#include "app/DemoDevice.h"
#include "app/LaunchArguments.h"
#include "app/SingleInstance.h"
#include "app/ui/TolvaneApplication.h"
#include "import/library/MediaLibrary.h"
#include "platform/OffScreen.h"
#include "platform/Paths.h"

#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

using namespace tolvane;

namespace {

// Without a display the windowing layer would abort with a cryptic message; say it plainly.
bool hasDisplay() {
    const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith("xcb") && !platform.startsWith("wayland"))
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer sinceStart;
    sinceStart.start();

    if (!hasDisplay()) {
        std::fprintf(stderr,
                     "tolvane: no display to show the window on (DISPLAY is not set).\n"
                     "Run it under a virtual display: xvfb-run -a tolvane [--root DIR] ...\n"
                     "or without any window system: QT_QPA_PLATFORM=offscreen tolvane ...\n");
        return 1;
    }

    TolvaneApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Browse downloaded media and import it into the media library."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption rootOption(
        QStringLiteral("root"),
        QStringLiteral("Run on the device folder DIR (DIR/var/mobile, DIR/Library)."),
        QStringLiteral("DIR"));
    const QCommandLineOption noLaunchDelay(
        QStringLiteral("no-launch-delay"),
        QStringLiteral("Show the window without the launch pause."));
    const QCommandLineOption quitWhenShown(
        QStringLiteral("quit-when-shown"),
        QStringLiteral("Print the milliseconds from start to the window shown, then quit."));
    const QCommandLineOption demoOption(
        QStringLiteral("demo"),
        QStringLiteral(
            "Run on a fresh copy of the demo device, removed when the application quits."));
    parser.addOption(rootOption);
    parser.addOption(demoOption);
    parser.addOption(noLaunchDelay);
    parser.addOption(quitWhenShown);
    parser.addPositionalArgument(QStringLiteral("url|file"),
                                 QStringLiteral("tolvane:// URLs or files to hand over."),
                                 QStringLiteral("[url|file...]"));
    parser.process(app);

    QTemporaryDir demoFolder(QDir::tempPath() + QStringLiteral("/tolvane-demo-XXXXXX"));
    if (parser.isSet(demoOption)) {
        const QString device = demoFolder.filePath(QStringLiteral("device"));
        const Status made = demoFolder.isValid()
                                ? DemoDevice::create(device, DemoDevice::systemDataFolder())
                                : Status(Failure(demoFolder.errorString(), demoFolder.path()));
        if (!made) {
            std::fprintf(stderr, "tolvane: cannot make the demo device: %s\n",
                         qPrintable(made.errorText()));
            return 1;
        }
        std::printf("tolvane: demo device at %s\n", qPrintable(device));
        Paths::setDeviceRoot(device);
    } else if (parser.isSet(rootOption))
        Paths::setDeviceRoot(parser.value(rootOption));
    else
        Paths::configureFromEnvironment();

    const QStringList handoffs =
        handoffTextsForArguments(parser.positionalArguments(), QDir::currentPath());

    SingleInstance instance(SingleInstance::serverNameFor(Paths::userRoot()));
    if (!parser.isSet(quitWhenShown)) {
        if (instance.sendToRunningInstance(handoffs))
            return 0;
        // A launch that started at the same moment may have won the socket.
        if (const Status listening = instance.listen(); !listening) {
            if (instance.sendToRunningInstance(handoffs))
                return 0;
            std::fprintf(stderr, "tolvane: cannot answer later launches: %s\n",
                         qPrintable(listening.errorText()));
        }
    }

    // Whatever an import that was killed half-way left in the library is finished or removed
    // now, away from the screen.
    runOffScreen([] {
        ignoreFailure(MediaLibrary(MediaLibrary::defaultFolder()).recover(),
                      "a library that cannot be tidied now is tidied by the next import");
    });

    app.setLaunchPauseEnabled(!parser.isSet(noLaunchDelay) && !parser.isSet(quitWhenShown));
    app.application(&app, QVariantMap());

    QObject::connect(&instance, &SingleInstance::messageReceived, &app,
                     &TolvaneApplication::receive);
    app.receive(handoffs);

    if (parser.isSet(quitWhenShown)) {
        QTimer::singleShot(0, &app, [&app, &sinceStart] {
            std::printf("shown %lld\n", static_cast<long long>(sinceStart.elapsed()));
            std::fflush(stdout);
            app.quit();
        });
    }
    return app.exec();
}

#include "app/host/NativeHost.h"
#include "app/host/NativeHostManifests.h"
#include "cli/Command.h"
#include "platform/Paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QVariantMap>

#include <unistd.h>

namespace tolvane::cli {

namespace {

const QCommandLineOption installUserOption(
    QStringLiteral("install-user"),
    QStringLiteral("Write the browsers' host manifests under the home folder, naming this "
                   "program, instead of running the host."));

int nativeHost(const QCommandLineParser& parser, Format format) {
    if (parser.isSet(installUserOption)) {
        const Result<QStringList> written = NativeHostManifests::installForUser(
            QDir::homePath(), qEnvironmentVariable("XDG_CONFIG_HOME"),
            QCoreApplication::applicationFilePath());
        if (!written)
            return fail(written.errorText());
        print(QVariantMap{{QStringLiteral("host"), QLatin1String(NativeHostManifests::hostName)},
                          {QStringLiteral("path"), QCoreApplication::applicationFilePath()},
                          {QStringLiteral("manifests"), *written}},
              format);
        return Success;
    }
    // Chromium passes the add-on's origin (and --parent-window on some systems), Firefox the
    // manifest's path and the add-on's id: they are only told apart, never needed.
    return runNativeHost();
}

} // namespace

int runNativeHost() {
    return NativeHost(Paths::preferencesFile(), QStringLiteral(TOLVANE_VERSION))
        .run(STDIN_FILENO, STDOUT_FILENO);
}

QList<Command> hostCommands() {
    return {
        {QStringLiteral("native-host"), QStringLiteral("native-host [--root DIR] [--install-user]"),
         QStringLiteral("The browser add-on's native-messaging host: framed JSON messages on "
                        "standard input, replies on standard output."),
         [](QCommandLineParser& parser) {
             parser.addOption(installUserOption);
             // The browsers' own arguments, passed when they start the host by its manifest.
             parser.addPositionalArgument(QStringLiteral("browser-arguments"), QString(),
                                          QStringLiteral("[...]"));
         },
         nativeHost},
    };
}

} // namespace tolvane::cli

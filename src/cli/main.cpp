#include "app/host/NativeHostManifests.h"
#include "cli/Command.h"
#include "platform/Paths.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

namespace tolvane::cli {

int fail(const QString& message) {
    std::fprintf(stderr, "tolvane-cli: %s\n", qPrintable(message));
    return UsageOrInput;
}

QList<Command> allCommands() {
    return foundationCommands() + settingsCommands() + mediaCommands() + imageCommands() +
           searchCommands() + libraryCommands() + browserCommands() + hostCommands();
}

} // namespace tolvane::cli

using namespace tolvane;
using namespace tolvane::cli;

namespace {

void printUsage(const QList<Command>& commands, FILE* stream) {
    QString text = QStringLiteral("usage: tolvane-cli COMMAND [--root DIR] [--plist] ...\n\n"
                                  "Prints JSON (--plist: an XML property list).\n\ncommands:\n");
    for (const Command& command : commands)
        text += QStringLiteral("  %1\n      %2\n").arg(command.usage, command.summary);
    std::fputs(qPrintable(text), stream);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tolvane-cli"));
    const QStringList arguments = QCoreApplication::arguments();
    const QList<Command> commands = allCommands();

    if (arguments.size() < 2) {
        printUsage(commands, stderr);
        return UsageOrInput;
    }
    // A browser starts the host by the path its manifest names, with arguments of its own.
    if (NativeHostManifests::isBrowserInvocation(arguments.mid(1))) {
        Paths::configureFromEnvironment();
        return runNativeHost();
    }
    const QString name = arguments.at(1);
    if (name == QLatin1String("--help") || name == QLatin1String("-h") ||
        name == QLatin1String("help")) {
        printUsage(commands, stdout);
        return Success;
    }
    if (name == QLatin1String("--version") || name == QLatin1String("-v")) {
        std::printf("tolvane-cli %s\n", TOLVANE_VERSION);
        return Success;
    }
    const auto found =
        std::find_if(commands.cbegin(), commands.cend(),
                     [&name](const Command& command) { return command.name == name; });
    if (found == commands.cend())
        return fail(
            QStringLiteral("unknown command \"%1\" (tolvane-cli --help lists them)").arg(name));

    QCommandLineParser parser;
    parser.setApplicationDescription(found->summary);
    const QCommandLineOption root(QStringLiteral("root"),
                                  QStringLiteral("Device folder (DIR/var/mobile, DIR/Library)."),
                                  QStringLiteral("DIR"));
    const QCommandLineOption plist(QStringLiteral("plist"),
                                   QStringLiteral("Print an XML property list instead of JSON."));
    const QCommandLineOption help(QStringList{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help."));
    parser.addOption(root);
    parser.addOption(plist);
    parser.addOption(help);
    if (found->addOptions)
        found->addOptions(parser);

    QStringList commandLine = arguments;
    commandLine.removeAt(1);
    if (!parser.parse(commandLine))
        return fail(parser.errorText());
    if (parser.isSet(help)) {
        std::printf("usage: tolvane-cli %s\n\n%s\n", qPrintable(found->usage),
                    qPrintable(parser.helpText().section(QLatin1Char('\n'), 2)));
        return Success;
    }

    if (parser.isSet(root))
        Paths::setDeviceRoot(parser.value(root));
    else
        Paths::configureFromEnvironment();

    return found->run(parser, parser.isSet(plist) ? Format::Plist : Format::Json);
}

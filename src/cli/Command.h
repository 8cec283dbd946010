#pragma once

#include "cli/CliOutput.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <functional>

namespace tolvane::cli {

// Exit statuses shared by every command.
enum ExitCode { Success = 0, Rejected = 1, UsageOrInput = 2 };

// One command of tolvane-cli: its name, a line of usage, the options it adds to the shared
// ones (--root, --plist, --help), and what it does with the parsed arguments.
struct Command {
    QString name;
    QString usage;
    QString summary;
    std::function<void(QCommandLineParser&)> addOptions;
    std::function<int(const QCommandLineParser&, Format)> run;
};

// Prints "tolvane-cli: <message>" on standard error and returns UsageOrInput.
int fail(const QString& message);

// Every command, in the order the help lists them.
QList<Command> allCommands();

// The commands of each area.
QList<Command> foundationCommands();
QList<Command> settingsCommands();
QList<Command> mediaCommands();
QList<Command> imageCommands();
QList<Command> searchCommands();
QList<Command> libraryCommands();
QList<Command> browserCommands();
QList<Command> hostCommands();

// The native-messaging host on standard input and output; the exit status.
int runNativeHost();

} // namespace tolvane::cli

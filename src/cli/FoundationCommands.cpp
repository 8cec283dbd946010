#include "app/DemoDevice.h"
#include "app/HandoffReceiver.h"
#include "app/LaunchArguments.h"
#include "app/Preferences.h"
#include "app/UrlHandoff.h"
#include "browser/FileTypeTable.h"
#include "cli/Command.h"

#include <QDir>
#include <QFileInfo>
#include <QVariantMap>

namespace tolvane::cli {

namespace {

QString actionName(HandoffAction::Kind kind) {
    switch (kind) {
    case HandoffAction::Kind::Browse:
        return QStringLiteral("browse");
    case HandoffAction::Kind::Import:
        return QStringLiteral("import");
    case HandoffAction::Kind::OpenIn:
        return QStringLiteral("openIn");
    case HandoffAction::Kind::Rejected:
        break;
    }
    return {};
}

QVariant orNull(const QString& text) {
    return text.isNull() ? QVariant() : QVariant(text);
}

const QCommandLineOption receiveOption(
    QStringLiteral("receive"),
    QStringLiteral("Receive it as the application does: a file (or file: URL) is first entered "
                   "into the Inbox, and the hand-off works on that entry."));

int handoff(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("handoff takes exactly one URL"));
    QString text = arguments.first();
    if (parser.isSet(receiveOption)) {
        const Result<QString> received =
            HandoffReceiver().receive(handoffTextForArgument(text, QDir::currentPath()));
        if (!received)
            return fail(received.errorText());
        text = *received;
    }
    const HandoffAction action = UrlHandoff::resolve(text);
    const QString name = actionName(action.kind);
    print(
        QVariantMap{
            {QStringLiteral("accepted"), action.accepted()},
            {QStringLiteral("action"), orNull(name)},
            {QStringLiteral("path"), orNull(action.path)},
            {QStringLiteral("mediaKind"), orNull(action.mediaKind)},
            {QStringLiteral("record"), action.record ? QVariant(*action.record) : QVariant()},
        },
        format);
    return action.accepted() ? Success : Rejected;
}

int destination(const QCommandLineParser& parser, Format format) {
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("destination takes no arguments"));
    print(QVariantMap{{QStringLiteral("destination"), Preferences::getTheFullDestinationPath()}},
          format);
    return Success;
}

int icon(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("icon takes exactly one extension"));
    QString extension = arguments.first();
    if (extension.startsWith(QLatin1Char('.')))
        extension.remove(0, 1);
    const auto table = FileTypeTable::installed();
    print(
        QVariantMap{
            {QStringLiteral("scan"), table->iconFileForExtension(extension)},
            {QStringLiteral("map"),
             table->listingIconFile(QStringLiteral("file.") + extension, false)},
        },
        format);
    return Success;
}

int demo(const QCommandLineParser& parser, Format format) {
    const QStringList arguments = parser.positionalArguments();
    if (arguments.size() != 1)
        return fail(QStringLiteral("demo takes exactly one DIR"));
    const QString device = QFileInfo(arguments.first()).absoluteFilePath();
    if (const Status made = DemoDevice::create(device, DemoDevice::systemDataFolder()); !made)
        return fail(made.errorText());
    print(QVariantMap{{QStringLiteral("device"), device}}, format);
    return Success;
}

} // namespace

QList<Command> foundationCommands() {
    return {
        {QStringLiteral("handoff"), QStringLiteral("handoff [--root DIR] [--receive] URL|FILE"),
         QStringLiteral("What the application would do with a hand-off URL or file URL."),
         [](QCommandLineParser& parser) { parser.addOption(receiveOption); }, handoff},
        {QStringLiteral("destination"), QStringLiteral("destination [--root DIR]"),
         QStringLiteral("The folder the file browser opens in."), nullptr, destination},
        {QStringLiteral("icon"), QStringLiteral("icon [--root DIR] EXT"),
         QStringLiteral("The icon of a file extension by the scan rule and by the map rule."),
         nullptr, icon},
        {QStringLiteral("demo"), QStringLiteral("demo DIR"),
         QStringLiteral("Makes the demo device at DIR (missing or empty)."), nullptr, demo},
    };
}

} // namespace tolvane::cli

#include "HandoffLauncher.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace tolvane {

QStringList HandoffLauncher::command() {
    const QString configured = qEnvironmentVariable("TOLVANE_LAUNCH").trimmed();
    if (!configured.isEmpty())
        return QProcess::splitCommand(configured);
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/tolvane");
    if (QCoreApplication::instance() && QFileInfo(beside).isExecutable())
        return {beside};
    return {QStringLiteral("tolvane")};
}

Status HandoffLauncher::launch(const QString& url) {
    QStringList arguments = command();
    if (arguments.isEmpty())
        return Failure(QStringLiteral("TOLVANE_LAUNCH names no command"));
    const QString program = arguments.takeFirst();
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments << url);
    // The host's standard output is the browser's channel: the application must not write into
    // it, nor hold it open after the host is gone.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (!process.startDetached())
        return Failure(QStringLiteral("Tolvane cannot be started"), program);
    return {};
}

QString HandoffLauncher::importUrl(const QString& mediaKind, const QString& storeKey,
                                   const QString& entryKey) {
    return QStringLiteral("tolvane://import?kind=%1&store=%2&entry=%3")
        .arg(mediaKind, storeKey, QString::fromLatin1(entryKey.toUtf8().toPercentEncoding()));
}

std::optional<QString> HandoffLauncher::browseUrl(const QString& path, bool isFolder) {
    if (path.contains(QLatin1Char('=')))
        return std::nullopt;
    QString named = path;
    if (isFolder) {
        while (named.size() > 1 && named.endsWith(QLatin1Char('/')))
            named.chop(1);
        named += QStringLiteral("/.");
    }
    return QStringLiteral("tolvane://browse?path=") + named;
}

} // namespace tolvane

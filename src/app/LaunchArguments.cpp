#include "LaunchArguments.h"

#include <QDir>
#include <QRegularExpression>
#include <QUrl>

namespace tolvane {

QString handoffTextForArgument(const QString& argument, const QString& workingDirectory) {
    static const QRegularExpression scheme(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*:"));
    if (scheme.match(argument).hasMatch())
        return argument;
    const QString absolute = QDir(workingDirectory).absoluteFilePath(argument);
    return QUrl::fromLocalFile(QDir::cleanPath(absolute)).toString(QUrl::FullyEncoded);
}

QStringList handoffTextsForArguments(const QStringList& arguments,
                                     const QString& workingDirectory) {
    QStringList texts;
    texts.reserve(arguments.size());
    for (const QString& argument : arguments)
        texts.append(handoffTextForArgument(argument, workingDirectory));
    return texts;
}

} // namespace tolvane

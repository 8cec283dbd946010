#pragma once

#include <QString>
#include <QStringList>

namespace tolvane {

// Turns what arrives on the command line into hand-off URL texts: a text with a scheme is
// kept as it stands (it may be escaped on purpose); anything else is a file path, made
// absolute against the caller's folder and turned into a file URL.
QString handoffTextForArgument(const QString& argument, const QString& workingDirectory);
QStringList handoffTextsForArguments(const QStringList& arguments, const QString& workingDirectory);

} // namespace tolvane

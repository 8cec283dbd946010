#include "FileUrl.h"

#include "app/PercentEscapes.h"

#include <QUrl>

namespace tolvane {

namespace {

Failure refused(const QString& why, const QString& text) {
    return Failure(QStringLiteral("not a local file's URL: %1").arg(why), text);
}

} // namespace

bool FileUrl::hasFileScheme(const QString& text) {
    return text.startsWith(QLatin1String("file:"), Qt::CaseInsensitive);
}

Result<QString> FileUrl::localPath(const QString& text) {
    if (!hasFileScheme(text))
        return refused(QStringLiteral("another scheme"), text);
    QStringView escaped = QStringView(text).mid(5);
    if (escaped.startsWith(QLatin1String("//"))) {
        const QStringView authorityAndPath = escaped.mid(2);
        const qsizetype slash = authorityAndPath.indexOf(QLatin1Char('/'));
        if (slash < 0)
            return refused(QStringLiteral("no path"), text);
        const QStringView host = authorityAndPath.left(slash);
        if (!host.isEmpty() && host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) != 0)
            return refused(QStringLiteral("the host \"%1\" is another machine").arg(host), text);
        escaped = authorityAndPath.mid(slash);
    } else if (!escaped.startsWith(QLatin1Char('/'))) {
        // "file:name" would be resolved from whatever folder the reader happens to be in.
        return refused(QStringLiteral("not an absolute path"), text);
    }
    if (escaped.contains(QLatin1Char('?')) || escaped.contains(QLatin1Char('#')))
        return refused(QStringLiteral("a query or fragment"), text);
    const std::optional<QString> path = replacingPercentEscapes(escaped.toString());
    if (!path)
        return refused(QStringLiteral("escapes that are malformed or not UTF-8"), text);
    if (path->contains(QChar(0)))
        return refused(QStringLiteral("the path holds a NUL character"), text);
    return *path;
}

QString FileUrl::fromLocalPath(const QString& path) {
    return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
}

} // namespace tolvane

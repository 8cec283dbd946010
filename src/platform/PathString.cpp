#include "PathString.h"

namespace tolvane::PathString {

namespace {

const QChar slash = QLatin1Char('/');

// The path without trailing separators, keeping a lone "/".
QString trimmedOfTrailingSlashes(const QString& path) {
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == slash)
        --end;
    return path.left(end);
}

} // namespace

QString lastPathComponent(const QString& path) {
    const QString trimmed = trimmedOfTrailingSlashes(path);
    if (trimmed == QStringLiteral("/"))
        return trimmed;
    const qsizetype cut = trimmed.lastIndexOf(slash);
    return cut < 0 ? trimmed : trimmed.mid(cut + 1);
}

QString deletingLastPathComponent(const QString& path) {
    const QString trimmed = trimmedOfTrailingSlashes(path);
    if (trimmed == QStringLiteral("/"))
        return trimmed;
    qsizetype cut = trimmed.lastIndexOf(slash);
    if (cut < 0)
        return QString(QLatin1String(""));
    while (cut > 0 && trimmed.at(cut - 1) == slash)
        --cut;
    return cut == 0 ? QStringLiteral("/") : trimmed.left(cut);
}

QString pathExtension(const QString& path) {
    const QString name = lastPathComponent(path);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || name == QStringLiteral("/"))
        return QString(QLatin1String(""));
    return name.mid(dot + 1);
}

QString deletingPathExtension(const QString& path) {
    const QString extension = pathExtension(path);
    if (extension.isEmpty())
        return trimmedOfTrailingSlashes(path);
    const QString trimmed = trimmedOfTrailingSlashes(path);
    return trimmed.left(trimmed.size() - extension.size() - 1);
}

QString appendingPathComponent(const QString& path, const QString& component) {
    if (path.isEmpty())
        return component;
    QString result = trimmedOfTrailingSlashes(path);
    qsizetype skip = 0;
    while (skip < component.size() && component.at(skip) == slash)
        ++skip;
    if (!result.endsWith(slash))
        result += slash;
    return result + component.mid(skip);
}

} // namespace tolvane::PathString

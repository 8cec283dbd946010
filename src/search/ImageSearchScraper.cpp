#include "ImageSearchScraper.h"

#include "search/RegexSearch.h"

#include <QStringView>

namespace tolvane {

std::optional<QList<QVariantMap>> ImageSearchScraper::imagesFromPage(const QString& page) {
    QString text = page;
    // Removing "&amp" without its ";" leaves that ";" where an address ends; the full-size
    // pattern stops there.
    text.remove(QStringLiteral("&amp"), Qt::CaseSensitive);
    text.replace(QStringLiteral("\\u0026"), QStringLiteral("&"), Qt::CaseSensitive);
    text.replace(QStringLiteral("\\u003d"), QStringLiteral("="), Qt::CaseSensitive);

    const QString marker = QString::fromLatin1(resultMarker);
    const QList<QStringView> pieces = QStringView(text).split(marker, Qt::KeepEmptyParts);
    if (pieces.size() < 2)
        return std::nullopt;

    const QString image = QString::fromLatin1(imagePattern);
    const QString thumbnail = QString::fromLatin1(thumbnailPattern);
    QList<QVariantMap> records;
    for (const QStringView piece : pieces) {
        std::optional<QString> full = searchRegexInString(piece, image, 0, true);
        std::optional<QString> thumb = searchRegexInString(piece, thumbnail, 0, true);
        if (!full || full->isEmpty() || !thumb || thumb->isEmpty())
            continue;
        full->remove(QStringLiteral("imgurl="), Qt::CaseSensitive);
        thumb->remove(QLatin1Char('"'));
        thumb->remove(QStringLiteral("tu:"), Qt::CaseSensitive);
        records.append(
            QVariantMap{{QStringLiteral("imgurl"), *full}, {QStringLiteral("thumburl"), *thumb}});
    }
    return records;
}

} // namespace tolvane

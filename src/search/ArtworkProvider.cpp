#include "ArtworkProvider.h"

#include <QUrl>

namespace tolvane {

void ArtworkProvider::cancel() {
    delete m_search;
}

QObject* ArtworkProvider::beginSearch() {
    cancel();
    m_search = new QObject(this);
    return m_search;
}

void ArtworkProvider::deliverLater(QObject* search, const Delivery& delivery,
                                   const Result<ArtworkAnswer>& answer) {
    QMetaObject::invokeMethod(
        search, [delivery, answer] { delivery(answer); }, Qt::QueuedConnection);
}

Result<ArtworkAnswer> ArtworkProvider::answerOf(const Result<QList<QVariantMap>>& records) {
    if (!records)
        return records.failure();
    return ArtworkAnswer(*records);
}

namespace ArtworkRecord {

QVariantMap make(const QString& provider, const QString& image, const QString& thumbnail,
                 const QString& title) {
    QVariantMap record{{QString::fromLatin1(imageUrlKey), image},
                       {QString::fromLatin1(thumbnailUrlKey), thumbnail},
                       {QString::fromLatin1(ArtworkRecord::providerKey), provider}};
    if (!title.isEmpty())
        record.insert(QString::fromLatin1(ArtworkRecord::titleKey), title);
    return record;
}

bool isWebAddress(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == QLatin1String("http") || scheme == QLatin1String("https")) &&
           !url.host().isEmpty();
}

QString titleOf(const QString& name, const QString& artist) {
    const QString first = name.trimmed();
    const QString second = artist.trimmed();
    if (first.isEmpty())
        return second;
    if (second.isEmpty())
        return first;
    return first + QStringLiteral(" \u2013 ") + second;
}

} // namespace ArtworkRecord

} // namespace tolvane

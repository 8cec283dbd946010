#include "DeezerArtworkProvider.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tolvane {

DeezerArtworkProvider::DeezerArtworkProvider(QObject* parent)
    : ArtworkProvider(parent) {}

ArtworkService DeezerArtworkProvider::service() {
    return ArtworkService({QStringLiteral("deezer"),
                           QStringLiteral("deezer"),
                           "TOLVANE_DEEZER_URL",
                           QStringLiteral("https://api.deezer.com"),
                           0,
                           {}});
}

bool DeezerArtworkProvider::fits(const ArtworkQuery& query) const {
    return query.mediaKind == QLatin1String("song") ||
           query.mediaKind == QLatin1String("ringtone") ||
           query.mediaKind == QLatin1String("music-video");
}

Result<QUrl> DeezerArtworkProvider::searchUrl(const QString& words) {
    return service().address(QStringLiteral("/search/album"),
                             "q=" + ArtworkService::escaped(words));
}

Result<QList<QVariantMap>> DeezerArtworkProvider::recordsFromAnswer(const QByteArray& body) {
    const Result<QJsonObject> answer = ArtworkService::jsonObject(body);
    if (!answer)
        return answer.failure();
    // The service tells its own errors (a quota, a bad query) in an answer of status 200.
    const QJsonValue error = answer->value(QLatin1String("error"));
    if (error.isObject()) {
        const QString message = error.toObject().value(QLatin1String("message")).toString();
        return Failure(QStringLiteral("the service reports an error: %1")
                           .arg(message.isEmpty() ? QStringLiteral("(no message)") : message));
    }
    const QJsonValue data = answer->value(QLatin1String("data"));
    if (!data.isArray())
        return Failure(QStringLiteral("the answer has no list of albums"));
    QList<QVariantMap> records;
    for (const QJsonValue& value : data.toArray()) {
        const QJsonObject album = value.toObject();
        const QString image = album.value(QLatin1String("cover_xl")).toString();
        if (!ArtworkRecord::isWebAddress(image))
            continue;
        QString thumbnail = album.value(QLatin1String("cover_medium")).toString();
        if (!ArtworkRecord::isWebAddress(thumbnail))
            thumbnail = image;
        const QString artist =
            album.value(QLatin1String("artist")).toObject().value(QLatin1String("name")).toString();
        records.append(ArtworkRecord::make(
            QStringLiteral("deezer"), image, thumbnail,
            ArtworkRecord::titleOf(album.value(QLatin1String("title")).toString(), artist)));
    }
    return records;
}

void DeezerArtworkProvider::start(const ArtworkQuery& query, Delivery delivery) {
    QObject* search = beginSearch();
    const Result<QUrl> url = searchUrl(query.words);
    if (!url) {
        deliverLater(search, delivery, url.failure());
        return;
    }
    service().fetchRecords(
        *url, search, &DeezerArtworkProvider::recordsFromAnswer,
        [delivery](const Result<QList<QVariantMap>>& records) { delivery(answerOf(records)); });
}

} // namespace tolvane

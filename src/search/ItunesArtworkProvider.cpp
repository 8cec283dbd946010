#include "ItunesArtworkProvider.h"

#include <QJsonArray>
#include <QJsonObject>

namespace tolvane {

ItunesArtworkProvider::ItunesArtworkProvider(QObject* parent)
    : ArtworkProvider(parent) {}

ArtworkService ItunesArtworkProvider::service() {
    return ArtworkService({QStringLiteral("itunes"),
                           QStringLiteral("itunes"),
                           "TOLVANE_ITUNES_URL",
                           QStringLiteral("https://itunes.apple.com"),
                           0,
                           {}});
}

std::optional<ItunesArtworkProvider::MediaEntity>
ItunesArtworkProvider::mediaEntityFor(const QString& kind) {
    if (kind == QLatin1String("song"))
        return MediaEntity{"music", "album"};
    if (kind == QLatin1String("ringtone"))
        return MediaEntity{"music", "song"};
    if (kind == QLatin1String("music-video"))
        return MediaEntity{"musicVideo", "musicVideo"};
    if (kind == QLatin1String("feature-movie"))
        return MediaEntity{"movie", "movie"};
    if (kind == QLatin1String("tv-episode"))
        return MediaEntity{"tvShow", "tvSeason"};
    if (kind == QLatin1String("podcast") || kind == QLatin1String("videoPodcast"))
        return MediaEntity{"podcast", "podcast"};
    return std::nullopt;
}

bool ItunesArtworkProvider::fits(const ArtworkQuery& query) const {
    return mediaEntityFor(query.mediaKind).has_value();
}

Result<QUrl> ItunesArtworkProvider::searchUrl(const QString& words, const QString& kind) {
    const std::optional<MediaEntity> asked = mediaEntityFor(kind);
    if (!asked)
        return Failure(QStringLiteral("no search for the kind \"%1\"").arg(kind));
    return service().address(QStringLiteral("/search"),
                             "term=" + ArtworkService::escaped(words) + "&media=" + asked->media +
                                 "&entity=" + asked->entity +
                                 "&limit=" + QByteArray::number(resultLimit));
}

Result<QList<QVariantMap>> ItunesArtworkProvider::recordsFromAnswer(const QByteArray& body) {
    const Result<QJsonObject> answer = ArtworkService::jsonObject(body);
    if (!answer)
        return answer.failure();
    const QJsonValue results = answer->value(QLatin1String("results"));
    if (!results.isArray())
        return Failure(QStringLiteral("the answer has no list of results"));
    const QString small = QStringLiteral("100x100");
    const QString large = QStringLiteral("600x600");
    QList<QVariantMap> records;
    for (const QJsonValue& value : results.toArray()) {
        // One pass over each result's keys: answers hold thousands of results of some twenty
        // keys each.
        const QJsonObject result = value.toObject();
        QString thumbnail, collection, track, artist;
        for (auto it = result.constBegin(); it != result.constEnd(); ++it) {
            const QString key = it.key();
            if (key == QLatin1String("artworkUrl100"))
                thumbnail = it.value().toString();
            else if (key == QLatin1String("collectionName"))
                collection = it.value().toString();
            else if (key == QLatin1String("trackName"))
                track = it.value().toString();
            else if (key == QLatin1String("artistName"))
                artist = it.value().toString();
        }
        if (!ArtworkRecord::isWebAddress(thumbnail))
            continue;
        QString image = thumbnail;
        // The size sits in the file name, at the end of the address.
        const qsizetype at = image.lastIndexOf(small);
        if (at >= 0)
            image.replace(at, small.size(), large);
        records.append(ArtworkRecord::make(
            QStringLiteral("itunes"), image, thumbnail,
            ArtworkRecord::titleOf(collection.isEmpty() ? track : collection, artist)));
    }
    return records;
}

void ItunesArtworkProvider::start(const ArtworkQuery& query, Delivery delivery) {
    QObject* search = beginSearch();
    const Result<QUrl> url = searchUrl(query.words, query.mediaKind);
    if (!url) {
        deliverLater(search, delivery, url.failure());
        return;
    }
    service().fetchRecords(
        *url, search, &ItunesArtworkProvider::recordsFromAnswer,
        [delivery](const Result<QList<QVariantMap>>& records) { delivery(answerOf(records)); });
}

} // namespace tolvane

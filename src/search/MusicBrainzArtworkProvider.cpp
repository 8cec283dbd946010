#include "MusicBrainzArtworkProvider.h"

#include "search/ProviderPause.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QPointer>
#include <QUuid>

#include <memory>

namespace tolvane {

// One search's way through its releases.
struct MusicBrainzArtworkProvider::Walk {
    QPointer<QObject> search;
    Delivery delivery;
    QList<Release> releases;
    qsizetype next = 0;
    QList<QVariantMap> records;
    std::optional<Failure> lastFailure;
};

MusicBrainzArtworkProvider::MusicBrainzArtworkProvider(QObject* parent)
    : ArtworkProvider(parent) {}

ArtworkService MusicBrainzArtworkProvider::encyclopaedia() {
    return ArtworkService({QStringLiteral("musicbrainz"),
                           QStringLiteral("musicbrainz"),
                           "TOLVANE_MUSICBRAINZ_URL",
                           QStringLiteral("https://musicbrainz.org"),
                           intervalMs,
                           {}});
}

ArtworkService MusicBrainzArtworkProvider::coverArchive() {
    // The archive hands its files out from the library's storage hosts.
    return ArtworkService({QStringLiteral("musicbrainz"),
                           QStringLiteral("coverart"),
                           "TOLVANE_COVERART_URL",
                           QStringLiteral("https://coverartarchive.org"),
                           intervalMs,
                           {QStringLiteral("archive.org")}});
}

bool MusicBrainzArtworkProvider::fits(const ArtworkQuery& query) const {
    return query.mediaKind == QLatin1String("song");
}

Result<QUrl> MusicBrainzArtworkProvider::searchUrl(const QString& words) {
    return encyclopaedia().address(QStringLiteral("/ws/2/release/"),
                                   "query=" + ArtworkService::escaped(words) +
                                       "&fmt=json&limit=" + QByteArray::number(releaseLimit));
}

Result<QUrl> MusicBrainzArtworkProvider::coverUrl(const QString& releaseId) {
    if (QUuid::fromString(releaseId).isNull() || releaseId.size() != 36)
        return Failure(QStringLiteral("not a release identifier: \"%1\"").arg(releaseId.left(80)));
    return coverArchive().address(QStringLiteral("/release/") + releaseId.toLower());
}

Result<QList<MusicBrainzArtworkProvider::Release>>
MusicBrainzArtworkProvider::releasesFromAnswer(const QByteArray& body) {
    const Result<QJsonObject> answer = ArtworkService::jsonObject(body);
    if (!answer)
        return answer.failure();
    const QJsonValue releases = answer->value(QLatin1String("releases"));
    if (!releases.isArray())
        return Failure(QStringLiteral("the answer has no list of releases"));
    QList<Release> found;
    for (const QJsonValue& value : releases.toArray()) {
        const QJsonObject release = value.toObject();
        const QString id = release.value(QLatin1String("id")).toString();
        if (!coverUrl(id))
            continue;
        QString artist;
        const QJsonArray credits = release.value(QLatin1String("artist-credit")).toArray();
        for (const QJsonValue& credit : credits) {
            const QJsonObject part = credit.toObject();
            artist += part.value(QLatin1String("name")).toString() +
                      part.value(QLatin1String("joinphrase")).toString();
        }
        found.append(
            {id, ArtworkRecord::titleOf(release.value(QLatin1String("title")).toString(), artist)});
        if (found.size() == releaseLimit)
            break;
    }
    return found;
}

Result<QList<QVariantMap>> MusicBrainzArtworkProvider::coverFromAnswer(const QByteArray& body,
                                                                       const QString& title) {
    const Result<QJsonObject> answer = ArtworkService::jsonObject(body);
    if (!answer)
        return answer.failure();
    const QJsonValue images = answer->value(QLatin1String("images"));
    if (!images.isArray())
        return Failure(QStringLiteral("the answer has no list of images"));
    // The first address of the names given that is a web address.
    const auto firstOf = [](const QJsonObject& image, std::initializer_list<const char*> sizes) {
        const QJsonObject thumbnails = image.value(QLatin1String("thumbnails")).toObject();
        for (const char* size : sizes) {
            const QString address = thumbnails.value(QLatin1String(size)).toString();
            if (ArtworkRecord::isWebAddress(address))
                return address;
        }
        const QString whole = image.value(QLatin1String("image")).toString();
        return ArtworkRecord::isWebAddress(whole) ? whole : QString();
    };
    for (const QJsonValue& value : images.toArray()) {
        const QJsonObject image = value.toObject();
        if (image.value(QLatin1String("front")).toBool() != true)
            continue;
        const QString full = firstOf(image, {"1200", "large"});
        const QString thumbnail = firstOf(image, {"250", "small"});
        if (full.isEmpty() || thumbnail.isEmpty())
            continue;
        return QList<QVariantMap>{
            ArtworkRecord::make(QStringLiteral("musicbrainz"), full, thumbnail, title)};
    }
    return QList<QVariantMap>{};
}

void MusicBrainzArtworkProvider::start(const ArtworkQuery& query, Delivery delivery) {
    QObject* search = beginSearch();
    const Result<QUrl> url = searchUrl(query.words);
    if (!url) {
        deliverLater(search, delivery, url.failure());
        return;
    }
    auto walk = std::make_shared<Walk>();
    walk->search = search;
    walk->delivery = std::move(delivery);
    encyclopaedia().fetch(
        *url, search, [walk, url = *url](const Result<ArtworkService::Answer>& answer) {
            if (!answer) {
                walk->delivery(answer.failure());
                return;
            }
            if (!answer->isSuccess()) {
                walk->delivery(Failure(QStringLiteral("HTTP status %1").arg(answer->status)));
                return;
            }
            const Result<QList<Release>> releases = releasesFromAnswer(answer->body);
            if (!releases) {
                walk->delivery(releases.failure());
                return;
            }
            ArtworkService::keep(url, *answer);
            walk->releases = *releases;
            nextCover(walk);
        });
}

void MusicBrainzArtworkProvider::nextCover(const std::shared_ptr<Walk>& walk) {
    if (!walk->search)
        return;
    if (walk->next >= walk->releases.size()) {
        // Covers found are the answer, even when some releases could not be asked.
        if (walk->records.isEmpty() && walk->lastFailure)
            walk->delivery(*walk->lastFailure);
        else
            walk->delivery(ArtworkAnswer(walk->records));
        return;
    }
    const Release release = walk->releases.at(walk->next++);
    const Result<QUrl> url = coverUrl(release.id);
    if (!url) {
        nextCover(walk);
        return;
    }
    coverArchive().fetch(*url, walk->search,
                         [walk, release, url = *url](const Result<ArtworkService::Answer>& answer) {
                             if (!answer) {
                                 walk->lastFailure = answer.failure();
                             } else if (answer->status == 404) {
                                 // The release has no cover.
                             } else if (!answer->isSuccess()) {
                                 walk->lastFailure =
                                     Failure(QStringLiteral("HTTP status %1").arg(answer->status),
                                             url.toDisplayString());
                             } else if (const Result<QList<QVariantMap>> cover =
                                            coverFromAnswer(answer->body, release.title)) {
                                 ArtworkService::keep(url, *answer);
                                 walk->records += *cover;
                             } else {
                                 walk->lastFailure = cover.failure();
                             }
                             // A paused provider asks nothing more in this search.
                             if (ProviderPause::remaining(QStringLiteral("musicbrainz")))
                                 walk->next = walk->releases.size();
                             nextCover(walk);
                         });
}

} // namespace tolvane

#pragma once

#include "search/ArtworkProvider.h"
#include "search/ArtworkService.h"

#include <QVariantMap>

namespace tolvane {

// The open music encyclopaedia and its cover archive, for songs: the releases found for the
// text, then each release's front cover from the archive, in the releases' order. Both
// services are asked at most once a second.
class MusicBrainzArtworkProvider : public ArtworkProvider {
    Q_OBJECT
public:
    explicit MusicBrainzArtworkProvider(QObject* parent = nullptr);

    QString name() const override { return QStringLiteral("musicbrainz"); }
    bool fits(const ArtworkQuery& query) const override;
    void start(const ArtworkQuery& query, Delivery delivery) override;

    struct Release {
        QString id; // the release's identifier, a UUID
        QString title;
    };

    static Result<QUrl> searchUrl(const QString& words);
    static Result<QUrl> coverUrl(const QString& releaseId);
    // The releases with a well-formed identifier, in the answer's order.
    static Result<QList<Release>> releasesFromAnswer(const QByteArray& body);
    // The record of the image marked "front", or an empty list when there is none.
    static Result<QList<QVariantMap>> coverFromAnswer(const QByteArray& body, const QString& title);

    static constexpr int releaseLimit = 10;
    static constexpr int intervalMs = 1000;

private:
    static ArtworkService encyclopaedia();
    static ArtworkService coverArchive();
    struct Walk;
    static void nextCover(const std::shared_ptr<Walk>& walk);
};

} // namespace tolvane

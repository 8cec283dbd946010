#pragma once

#include "search/ArtworkProvider.h"
#include "search/ArtworkService.h"

namespace tolvane {

// The music service's album search: GET /search/album?q=TEXT, a record per album with an
// extra-large cover. Music only (songs, ringtones, music videos).
class DeezerArtworkProvider : public ArtworkProvider {
    Q_OBJECT
public:
    explicit DeezerArtworkProvider(QObject* parent = nullptr);

    QString name() const override { return QStringLiteral("deezer"); }
    bool fits(const ArtworkQuery& query) const override;
    void start(const ArtworkQuery& query, Delivery delivery) override;

    static Result<QUrl> searchUrl(const QString& words);
    static Result<QList<QVariantMap>> recordsFromAnswer(const QByteArray& body);

private:
    static ArtworkService service();
};

} // namespace tolvane

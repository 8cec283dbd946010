#pragma once

#include "search/ArtworkProvider.h"
#include "search/ArtworkService.h"

namespace tolvane {

// The store's search service: one GET /search with the media and entity of the kind, a
// record per result that has a 100-pixel artwork address (the 600-pixel one as the image).
class ItunesArtworkProvider : public ArtworkProvider {
    Q_OBJECT
public:
    explicit ItunesArtworkProvider(QObject* parent = nullptr);

    QString name() const override { return QStringLiteral("itunes"); }
    bool fits(const ArtworkQuery& query) const override;
    void start(const ArtworkQuery& query, Delivery delivery) override;

    // The service's media and entity for a kind, or nothing for a kind it does not know.
    struct MediaEntity {
        const char* media;
        const char* entity;
    };
    static std::optional<MediaEntity> mediaEntityFor(const QString& kind);
    // The search's address, or why there is none.
    static Result<QUrl> searchUrl(const QString& words, const QString& kind);
    static Result<QList<QVariantMap>> recordsFromAnswer(const QByteArray& body);

    static constexpr int resultLimit = 50;

private:
    static ArtworkService service();
};

} // namespace tolvane

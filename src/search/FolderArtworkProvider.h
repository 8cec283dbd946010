#pragma once

#include "search/ArtworkProvider.h"

#include <QStringList>

namespace tolvane {

// Pictures kept beside the media file: cover, folder, front, album or the file's own base
// name, as .jpg, .jpeg or .png in any letter case, as file: records in that order of names.
class FolderArtworkProvider : public ArtworkProvider {
    Q_OBJECT
public:
    explicit FolderArtworkProvider(QObject* parent = nullptr);

    QString name() const override { return QStringLiteral("folder"); }
    // Any kind, given a media file.
    bool fits(const ArtworkQuery& query) const override;
    void start(const ArtworkQuery& query, Delivery delivery) override;

    // The records for the pictures beside the media file.
    static QList<QVariantMap> recordsBeside(const QString& mediaPath);
};

} // namespace tolvane

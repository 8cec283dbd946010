#include "FolderArtworkProvider.h"

#include "platform/OffScreen.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>

namespace tolvane {

FolderArtworkProvider::FolderArtworkProvider(QObject* parent)
    : ArtworkProvider(parent) {}

bool FolderArtworkProvider::fits(const ArtworkQuery& query) const {
    return !query.mediaPath.isEmpty();
}

QList<QVariantMap> FolderArtworkProvider::recordsBeside(const QString& mediaPath) {
    const QFileInfo media(mediaPath);
    const QStringList stems{QStringLiteral("cover"), QStringLiteral("folder"),
                            QStringLiteral("front"), QStringLiteral("album"),
                            media.completeBaseName().toLower()};
    const QStringList suffixes{QStringLiteral("jpg"), QStringLiteral("jpeg"),
                               QStringLiteral("png")};
    // Listed once; a folder of thousands of files is read in one pass.
    const QFileInfoList entries =
        media.dir().entryInfoList(QDir::Files | QDir::Readable, QDir::Name);
    QList<QVariantMap> records;
    for (const QString& stem : stems) {
        for (const QFileInfo& entry : entries) {
            if (entry.completeBaseName().toLower() != stem ||
                !suffixes.contains(entry.suffix().toLower()) || !entry.isFile())
                continue;
            const QString address = QUrl::fromLocalFile(entry.absoluteFilePath()).toString();
            if (std::any_of(records.cbegin(), records.cend(), [&address](const QVariantMap& r) {
                    return r.value(QString::fromLatin1(ArtworkRecord::imageUrlKey)) == address;
                }))
                continue;
            records.append(
                ArtworkRecord::make(QStringLiteral("folder"), address, address, entry.fileName()));
        }
    }
    return records;
}

void FolderArtworkProvider::start(const ArtworkQuery& query, Delivery delivery) {
    QObject* search = beginSearch();
    if (query.mediaPath.isEmpty()) {
        deliverLater(search, delivery, Failure(QStringLiteral("no media file given")));
        return;
    }
    const QFileInfo media(query.mediaPath);
    if (!media.dir().exists()) {
        deliverLater(search, delivery,
                     Failure(QStringLiteral("the folder does not exist"), media.absolutePath()));
        return;
    }
    // A folder of many files takes a while to list: that is done on a worker, and the answer
    // is dropped with the search.
    runOffScreen(
        search, [path = query.mediaPath] { return recordsBeside(path); },
        [delivery](const QList<QVariantMap>& records) { delivery(ArtworkAnswer(records)); });
}

} // namespace tolvane

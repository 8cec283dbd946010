#include "ArtworkAnswerCache.h"

#include "platform/Paths.h"

#include <QDateTime>
#include <QIODevice>
#include <QNetworkDiskCache>

#include <memory>

namespace tolvane {

namespace {
// The cache of the current caches folder; made again when the folder changes (another device
// folder, a test's own).
QNetworkDiskCache& diskCache() {
    static std::unique_ptr<QNetworkDiskCache> cache;
    static QString cacheFolder;
    const QString folder = ArtworkAnswerCache::folder();
    if (!cache || cacheFolder != folder) {
        cacheFolder = folder;
        cache = std::make_unique<QNetworkDiskCache>();
        cache->setCacheDirectory(folder);
        cache->setMaximumCacheSize(ArtworkAnswerCache::maximumBytes);
    }
    return *cache;
}
} // namespace

QString ArtworkAnswerCache::folder() {
    return Paths::cacheFolder() + QStringLiteral("/artwork-answers");
}

std::optional<QByteArray> ArtworkAnswerCache::lookup(const QUrl& url) {
    QNetworkDiskCache& cache = diskCache();
    const QNetworkCacheMetaData meta = cache.metaData(url);
    if (!meta.isValid() || !meta.expirationDate().isValid() ||
        meta.expirationDate() <= QDateTime::currentDateTimeUtc())
        return std::nullopt;
    const std::unique_ptr<QIODevice> data(cache.data(url));
    if (!data)
        return std::nullopt;
    return data->readAll();
}

void ArtworkAnswerCache::store(const QUrl& url, const QByteArray& body) {
    QNetworkDiskCache& cache = diskCache();
    QNetworkCacheMetaData meta;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    meta.setUrl(url);
    meta.setLastModified(now);
    meta.setExpirationDate(now.addSecs(keptSeconds));
    meta.setSaveToDisk(true);
    QIODevice* device = cache.prepare(meta);
    if (!device)
        return;
    if (device->write(body) != body.size()) {
        cache.remove(url);
        return;
    }
    cache.insert(device);
}

} // namespace tolvane

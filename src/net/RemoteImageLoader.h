#pragma once

#include "platform/Result.h"

#include <QCache>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <functional>

class QNetworkDiskCache;

namespace tolvane {

class HttpClient;

// Loads images by URL. Decoded images are kept in a memory cache bounded in bytes, responses
// in a disk cache bounded in size; several callers waiting for one URL share one request.
// Images are decoded on a worker thread; completions run on the loader's thread (the main
// thread for the shared loader) and never once the caller's context object has gone.
class RemoteImageLoader : public QObject {
    Q_OBJECT
public:
    // The image, or a one-line cause naming the address.
    using Completion = std::function<void(const Result<QImage>& image)>;

    static constexpr qint64 defaultMemoryCacheBytes = 64 * 1024 * 1024;
    static constexpr qint64 defaultDiskCacheBytes = 128 * 1024 * 1024;
    // The largest image file read from a local folder (file: addresses).
    static constexpr qint64 localFileLimit = 64 * 1024 * 1024;

    // An empty folder keeps no disk cache.
    explicit RemoteImageLoader(const QString& diskCacheFolder, QObject* parent = nullptr);
    ~RemoteImageLoader() override;

    // The application's loader, caching on disk in defaultDiskCacheFolder().
    static RemoteImageLoader& shared();
    // <user root>/Library/Caches/Tolvane/images.
    static QString defaultDiskCacheFolder();

    // A memory-cached image completes at once, before this returns; anything else later. A
    // null context means the completion always runs.
    void loadImage(const QUrl& url, QObject* context, Completion completion);

    // The image held in memory for the URL, or a null image.
    QImage cachedImage(const QUrl& url) const;

    qint64 memoryCacheLimit() const { return m_memory.maxCost(); }
    void setMemoryCacheLimit(qint64 bytes) { m_memory.setMaxCost(bytes); }
    // Bytes of the images held in memory now.
    qint64 memoryCacheCost() const { return m_memory.totalCost(); }
    void clearMemoryCache() { m_memory.clear(); }
    qint64 diskCacheLimit() const;
    void setDiskCacheLimit(qint64 bytes);

    HttpClient& client() const { return *m_client; }

private:
    struct Waiter {
        QPointer<QObject> context;
        bool hasContext = false;
        Completion completion;
    };

    void finish(const QUrl& url, const Result<QImage>& image);
    void decode(const QUrl& url, const QByteArray& bytes);

    HttpClient* m_client;
    QNetworkDiskCache* m_disk = nullptr;
    QCache<QUrl, QImage> m_memory;
    QHash<QUrl, QList<Waiter>> m_waiting;
};

} // namespace tolvane

#include "RemoteImageLoader.h"

#include "imaging/ImageDecoder.h"
#include "net/HttpClient.h"
#include "platform/OffScreen.h"
#include "platform/Paths.h"
#include "platform/RegularFile.h"

#include <QCoreApplication>
#include <QNetworkDiskCache>
#include <QThread>

#include <utility>

namespace tolvane {

RemoteImageLoader::RemoteImageLoader(const QString& diskCacheFolder, QObject* parent)
    : QObject(parent)
    , m_client(new HttpClient(this))
    , m_memory(defaultMemoryCacheBytes) {
    if (!diskCacheFolder.isEmpty()) {
        m_disk = new QNetworkDiskCache(m_client);
        m_disk->setCacheDirectory(diskCacheFolder);
        m_disk->setMaximumCacheSize(defaultDiskCacheBytes);
        m_client->setCache(m_disk);
    }
}

RemoteImageLoader::~RemoteImageLoader() = default;

RemoteImageLoader& RemoteImageLoader::shared() {
    static QPointer<RemoteImageLoader> instance;
    if (!instance) {
        QCoreApplication* app = QCoreApplication::instance();
        Q_ASSERT_X(app && QThread::currentThread() == app->thread(), "RemoteImageLoader::shared",
                   "first use on the application's thread");
        instance = new RemoteImageLoader(defaultDiskCacheFolder(), app);
    }
    return *instance;
}

QString RemoteImageLoader::defaultDiskCacheFolder() {
    return Paths::cacheFolder() + QStringLiteral("/images");
}

qint64 RemoteImageLoader::diskCacheLimit() const {
    return m_disk ? m_disk->maximumCacheSize() : 0;
}

void RemoteImageLoader::setDiskCacheLimit(qint64 bytes) {
    if (m_disk)
        m_disk->setMaximumCacheSize(bytes);
}

QImage RemoteImageLoader::cachedImage(const QUrl& url) const {
    const QImage* image = m_memory.object(url);
    return image ? *image : QImage();
}

void RemoteImageLoader::loadImage(const QUrl& url, QObject* context, Completion completion) {
    if (QThread::currentThread() != thread()) {
        QPointer<QObject> guard(context);
        const bool hasContext = context != nullptr;
        QMetaObject::invokeMethod(
            this,
            [this, url, guard, hasContext, completion = std::move(completion)]() mutable {
                if (!hasContext || guard)
                    loadImage(url, guard, std::move(completion));
            },
            Qt::QueuedConnection);
        return;
    }

    if (const QImage* image = m_memory.object(url)) {
        if (completion)
            completion(*image);
        return;
    }
    if (!url.isValid() || url.isRelative()) {
        const Failure error(QStringLiteral("not a valid address"), url.toString());
        QMetaObject::invokeMethod(
            context ? context : this,
            [completion = std::move(completion), error] {
                if (completion)
                    completion(error);
            },
            Qt::QueuedConnection);
        return;
    }

    auto waiting = m_waiting.find(url);
    const bool first = waiting == m_waiting.end();
    if (first)
        waiting = m_waiting.insert(url, {});
    waiting->append({context, context != nullptr, std::move(completion)});
    if (!first)
        return;

    if (url.isLocalFile()) {
        // Images beside a media file: read and decoded on a worker, like a download.
        runOffScreen(
            this,
            [path = url.toLocalFile()]() -> Result<QImage> {
                const Result<QByteArray> bytes = RegularFile::readAll(path, localFileLimit);
                if (!bytes)
                    return bytes.failure();
                const Result<QImage> image = ImageDecoder::decode(*bytes);
                return image ? image : Failure(image.failure().message(), path);
            },
            [this, url](const Result<QImage>& loaded) { finish(url, loaded); });
        return;
    }

    m_client->get(url, {}, this, [this, url](const Result<HttpReply>& reply) {
        if (reply)
            decode(url, reply->body);
        else
            finish(url, reply.failure());
    });
}

void RemoteImageLoader::decode(const QUrl& url, const QByteArray& bytes) {
    // Delivered to the loader: when the loader goes first, the result is dropped.
    runOffScreen(
        this, [bytes] { return ImageDecoder::decode(bytes); },
        [this, url](const Result<QImage>& decoded) {
            finish(url,
                   decoded ? decoded : Failure(decoded.failure().message(), url.toDisplayString()));
        });
}

void RemoteImageLoader::finish(const QUrl& url, const Result<QImage>& image) {
    if (image)
        m_memory.insert(url, new QImage(*image), image->sizeInBytes());
    const QList<Waiter> waiters = m_waiting.take(url);
    for (const Waiter& waiter : waiters) {
        if (waiter.hasContext && !waiter.context)
            continue;
        if (waiter.completion)
            waiter.completion(image);
    }
}

} // namespace tolvane

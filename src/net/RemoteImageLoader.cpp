#include "RemoteImageLoader.h"

#include "net/HttpClient.h"
#include "platform/Paths.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFutureWatcher>
#include <QImageReader>
#include <QNetworkDiskCache>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <utility>

namespace tolvane {

namespace {

struct Decoded {
    QImage image;
    QString error;
};

} // namespace

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
    // Readers refuse to allocate past this even where the size check cannot see the size
    // before decoding; 0 would turn the guard off.
    constexpr int allocationLimitMb = 256;
    if (QImageReader::allocationLimit() == 0 || QImageReader::allocationLimit() > allocationLimitMb)
        QImageReader::setAllocationLimit(allocationLimitMb);
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
    return Paths::userRoot() + QStringLiteral("/Library/Caches/Tolvane/images");
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

QImage RemoteImageLoader::decodedImage(const QByteArray& bytes, QString* error) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    if (!reader.canRead()) {
        *error = QStringLiteral("Not an image that can be decoded");
        return {};
    }
    const QSize size = reader.size();
    if (size.isValid() && (size.width() > maximumSide || size.height() > maximumSide ||
                           qint64(size.width()) * size.height() > maximumPixels)) {
        *error = QStringLiteral("The image is too large to decode (%1 x %2 pixels)")
                     .arg(size.width())
                     .arg(size.height());
        return {};
    }
    QImage image = reader.read();
    if (image.isNull())
        *error = QStringLiteral("The image cannot be decoded: %1").arg(reader.errorString());
    return image;
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
            completion(*image, QString());
        return;
    }
    if (!url.isValid() || url.isRelative()) {
        const QString error = QStringLiteral("Not a valid address: \"%1\"").arg(url.toString());
        QMetaObject::invokeMethod(
            context ? context : this,
            [completion = std::move(completion), error] {
                if (completion)
                    completion(QImage(), error);
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

    m_client->getData(
        url, {}, this,
        [this, url](const QByteArray& body, const QByteArray&) { decode(url, body); },
        [this, url](const QString& message) { finish(url, QImage(), message); });
}

void RemoteImageLoader::decode(const QUrl& url, const QByteArray& bytes) {
    // The watcher is the loader's child: when the loader goes first, the result is dropped.
    auto* watcher = new QFutureWatcher<Decoded>(this);
    connect(watcher, &QFutureWatcher<Decoded>::finished, this, [this, watcher, url] {
        const Decoded decoded = watcher->result();
        watcher->deleteLater();
        finish(url, decoded.image, decoded.error);
    });
    watcher->setFuture(QtConcurrent::run([bytes] {
        Decoded decoded;
        decoded.image = decodedImage(bytes, &decoded.error);
        return decoded;
    }));
}

void RemoteImageLoader::finish(const QUrl& url, const QImage& image, const QString& error) {
    if (!image.isNull())
        m_memory.insert(url, new QImage(image), image.sizeInBytes());
    const QList<Waiter> waiters = m_waiting.take(url);
    for (const Waiter& waiter : waiters) {
        if (waiter.hasContext && !waiter.context)
            continue;
        if (waiter.completion)
            waiter.completion(image, error);
    }
}

} // namespace tolvane

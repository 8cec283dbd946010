#include "ExportabilityCache.h"

#include "import/TagLibAsset.h"
#include "platform/OffScreen.h"

#include <QCoreApplication>
#include <QFile>
#include <QMutexLocker>
#include <QPointer>
#include <QThread>

#include <sys/stat.h>

namespace tolvane {

namespace {
constexpr int workerCount = 2;
}

ExportabilityCache::ExportabilityCache(QObject* parent)
    : QObject(parent)
    , m_check(&ExportabilityCache::isExportable) {
    m_pool.setMaxThreadCount(workerCount);
}

ExportabilityCache::~ExportabilityCache() {
    {
        QMutexLocker lock(&m_mutex);
        m_waiting.clear();
        m_queued.clear();
    }
    m_pool.waitForDone();
}

ExportabilityCache* ExportabilityCache::shared() {
    static QPointer<ExportabilityCache> instance;
    if (!instance) {
        // Owned by the application: it goes when the application does, and its destructor
        // waits for the checks still running, so no worker outlives it or the application.
        QCoreApplication* app = QCoreApplication::instance();
        Q_ASSERT_X(app && QThread::currentThread() == app->thread(), "ExportabilityCache::shared",
                   "first use on the application's thread");
        instance = new ExportabilityCache(app);
    }
    return instance;
}

bool ExportabilityCache::isExportable(const QString& path) {
    struct stat info {};
    const QByteArray native = QFile::encodeName(path);
    // Only regular files: opening a pipe or a device could wait for ever.
    if (::stat(native.constData(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size == 0)
        return false;
    // A file the tag library merely opens (text named ".mp3") has properties but no length.
    const TagLibAsset asset(path);
    return asset.isPlayable() && asset.durationSeconds().value_or(0) > 0;
}

void ExportabilityCache::setCheck(Check check) {
    QMutexLocker lock(&m_mutex);
    m_check = std::move(check);
    m_answers.clear();
}

int ExportabilityCache::checksRun() const {
    QMutexLocker lock(&m_mutex);
    return m_checksRun;
}

void ExportabilityCache::clear() {
    QMutexLocker lock(&m_mutex);
    m_answers.clear();
    m_waiting.clear();
    m_queued.clear();
}

void ExportabilityCache::request(const QByteArray& nativePath) {
    QMutexLocker lock(&m_mutex);
    if (m_queued.contains(nativePath))
        return;
    m_queued.insert(nativePath);
    m_waiting.push_back(nativePath);
    while (qsizetype(m_waiting.size()) > maximumWaiting) {
        m_queued.remove(m_waiting.front());
        m_waiting.pop_front();
    }
    if (m_workers < workerCount) {
        ++m_workers;
        runOffScreen([this] { work(); }, &m_pool);
    }
}

void ExportabilityCache::work() {
    for (;;) {
        QByteArray path;
        Check check;
        {
            QMutexLocker lock(&m_mutex);
            if (m_waiting.empty()) {
                --m_workers;
                return;
            }
            path = m_waiting.back();
            m_waiting.pop_back();
            check = m_check;
        }
        struct stat info {};
        bool exportable = false;
        if (::stat(path.constData(), &info) == 0) {
            const Stamp now{qint64(info.st_size),
                            qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec};
            std::optional<bool> known;
            {
                QMutexLocker lock(&m_mutex);
                const auto found = m_answers.constFind(path);
                if (found != m_answers.cend() && found->size == now.size &&
                    found->modified == now.modified)
                    known = found->exportable;
            }
            if (known) {
                exportable = *known;
            } else {
                exportable = S_ISREG(info.st_mode) && check(QFile::decodeName(path));
                QMutexLocker lock(&m_mutex);
                ++m_checksRun;
                m_answers.insert(path, Stamp{now.size, now.modified, exportable});
            }
        }
        {
            QMutexLocker lock(&m_mutex);
            m_queued.remove(path);
        }
        Q_EMIT answered(path, exportable);
    }
}

} // namespace tolvane

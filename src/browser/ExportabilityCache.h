#pragma once

#include <QByteArray>
#include <QHash>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <QThreadPool>

#include <deque>
#include <functional>

namespace tolvane {

// Whether files open as audio or video that the import can read, decided on worker threads
// and kept per path, size and modification time, so that an unchanged file is opened once.
// Requests are served newest first: the rows on screen now come before rows scrolled past,
// and the oldest waiting requests are dropped when too many wait (they are asked again when
// their rows are drawn again).
class ExportabilityCache : public QObject {
    Q_OBJECT
public:
    using Check = std::function<bool(const QString& path)>;

    explicit ExportabilityCache(QObject* parent = nullptr);
    ~ExportabilityCache() override;

    // The cache the screens share, owned by the application (made on first use, which must be
    // on the application's thread once it exists).
    static ExportabilityCache* shared();

    // The check itself: the tag library opens the file as audio or video with readable
    // properties and a length (MPEG-4 video through the project's box reader). Only regular
    // files count.
    static bool isExportable(const QString& path);

    // Replaces the check, for tests.
    void setCheck(Check check);

    // Asks about one file; answered() follows. A request already waiting is not queued twice.
    void request(const QByteArray& nativePath);
    // Forgets every answer and every waiting request.
    void clear();
    // How many times the check has run, for tests and measurements.
    int checksRun() const;

    static constexpr qsizetype maximumWaiting = 512;

Q_SIGNALS:
    // Emitted from a worker thread; receivers on other threads get it queued.
    void answered(const QByteArray& nativePath, bool exportable);

private:
    struct Stamp {
        qint64 size = -1;
        qint64 modified = 0;
        bool exportable = false;
    };
    void work();

    QThreadPool m_pool;
    mutable QMutex m_mutex;
    QHash<QByteArray, Stamp> m_answers;
    std::deque<QByteArray> m_waiting;
    QSet<QByteArray> m_queued;
    Check m_check;
    int m_checksRun = 0;
    int m_workers = 0;
};

} // namespace tolvane

// Media file bytes imported into a media library as `tolvane-cli import FILE --kind KIND --set
// ... [--artwork IMAGE]` imports them: the record made from the file's own tags, values set on
// top, the artwork sized, a copy tagged and filed. The tagged copy must stay within the source's
// size plus what the new tags and artwork need (and a little more); a watchdog stops the run
// when it grows past that or takes too long, so a runaway write is a finding and not a full
// disk. The source must come out unchanged, and the copy must read back.

#include "MediaInput.h"
#include "import/ImportRecord.h"
#include "import/ImportSubmission.h"
#include "import/MetadataReader.h"
#include "import/library/MediaLibrary.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <pthread.h>
#include <thread>

using namespace tolvane;

namespace {

// Room for what a tag library adds besides the values themselves: headers, padding, pages.
constexpr qint64 slack = 64 * 1024;
// An import of a file this size takes milliseconds; this long is a hang.
constexpr auto importTimeLimit = std::chrono::seconds(20);

QByteArray newArtwork;

// The largest file under a folder, the catalogue left out.
qint64 largestFile(const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    qint64 largest = 0;
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        if (it->path().filename().string().starts_with(MediaLibrary::catalogueFileName))
            continue;
        std::error_code sizeError;
        const auto size = it->is_regular_file(sizeError) ? it->file_size(sizeError) : 0;
        if (!sizeError)
            largest = std::max(largest, qint64(size));
    }
    return largest;
}

// Watches a folder while it lives: stops the process when a file in it grows past the bound
// or when it has lived past the time limit. The thread that made the watchdog is the one
// stopped, so that the finding shows where it was writing.
class GrowthWatchdog {
public:
    GrowthWatchdog(const QString& folder, qint64 bound)
        : m_folder(QFile::encodeName(folder).toStdString())
        , m_bound(bound)
        , m_watched(::pthread_self())
        , m_thread([this] { watch(); }) {}
    ~GrowthWatchdog() {
        {
            const std::lock_guard lock(m_mutex);
            m_done = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }
    GrowthWatchdog(const GrowthWatchdog&) = delete;
    GrowthWatchdog& operator=(const GrowthWatchdog&) = delete;

private:
    void watch() {
        const auto start = std::chrono::steady_clock::now();
        std::unique_lock lock(m_mutex);
        while (!m_wake.wait_for(lock, std::chrono::milliseconds(5), [this] { return m_done; })) {
            if (const qint64 largest = largestFile(m_folder); largest > m_bound)
                stop(QStringLiteral("the library copy grew to %1 bytes, past its bound of %2")
                         .arg(largest)
                         .arg(m_bound));
            if (std::chrono::steady_clock::now() - start > importTimeLimit)
                stop(QStringLiteral("the import still runs after %1 s")
                         .arg(importTimeLimit.count()));
        }
    }

    [[noreturn]] void stop(const QString& why) {
        std::fprintf(stderr, "tolvane fuzz: %s\n", qPrintable(why));
        ::pthread_kill(m_watched, SIGABRT);
        std::this_thread::sleep_for(std::chrono::seconds(5));
        fuzz::fail("the importing thread did not stop");
    }

    const std::filesystem::path m_folder;
    const qint64 m_bound;
    const pthread_t m_watched;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_done = false;
    std::thread m_thread; // last: starts once the rest is ready
};

// What the values of a record take at most once written as tags: text as UTF-8 or UTF-16,
// pictures as bytes or base64, each with a header.
qint64 newTagBytes(const QVariantMap& record) {
    qint64 bytes = 0;
    const QVariantMap metadata = record.value(QStringLiteral("metadata")).toMap();
    for (auto it = metadata.cbegin(); it != metadata.cend(); ++it) {
        const qsizetype size = it->typeId() == QMetaType::QByteArray
                                   ? it->toByteArray().size()
                                   : it->toString().toUtf8().size();
        bytes += 2 * (qint64(size) + it.key().size() + 32);
    }
    return bytes;
}

// The media library in the scratch folder, each import watched.
class WatchedLibrary final : public MediaLibraryImporter {
public:
    Result<LibraryItem> importFile(const ImportRecord& record) override {
        const QString folder = libraryFolder();
        const QString source = record.path.value_or(QString());
        const qint64 bound = QFileInfo(source).size() + newTagBytes(record.toDictionary()) + slack;
        std::optional<Result<LibraryItem>> outcome;
        {
            const GrowthWatchdog watchdog(folder, bound);
            outcome.emplace(MediaLibrary(folder).importFile(record));
        }
        if (*outcome && QFileInfo((*outcome)->path).size() > bound)
            fuzz::fail("the library copy has %lld bytes, past its bound of %lld",
                       QFileInfo((*outcome)->path).size(), bound);
        return std::move(*outcome);
    }

    static QString libraryFolder() { return fuzz::scratchFolder() + QStringLiteral("/library"); }
};

QByteArray drawnArtwork() {
    QImage image(48, 32, QImage::Format_RGB32);
    image.fill(QColor(30, 60, 140));
    QPainter painter(&image);
    painter.fillRect(8, 8, 20, 12, QColor(240, 200, 40));
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG"))
        fuzz::fail("cannot make the artwork");
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    fuzz::startQt(argc, argv);
    newArtwork = drawnArtwork();
    MediaLibraryImportService::setImporter(std::make_shared<WatchedLibrary>());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const fuzz::MediaInput input = fuzz::mediaInput(data, size);
    const QString path =
        fuzz::writeScratchFile(QStringLiteral("input.") + input.extension, input.file);

    QVariantMap record =
        ImportRecord::fromWholeRecord({{QStringLiteral("path"), path},
                                       {QStringLiteral("mediaKind"), input.kind},
                                       {QStringLiteral("metadata"), QVariantMap()}})
            .toDictionary();
    QVariantMap metadata = record.value(QStringLiteral("metadata")).toMap();
    const QVariantMap given{
        {QStringLiteral("title"), QStringLiteral("Tide Over Stone")},
        {QStringLiteral("artist"), QStringLiteral("The Pilots")},
        {QStringLiteral("albumName"), QStringLiteral("Harbour Lights")},
        {QStringLiteral("year"), QStringLiteral("2011")},
        {QStringLiteral("trackNumber"), 3},
        {QStringLiteral("trackCount"), 12},
        {QStringLiteral("podcastName"), QStringLiteral("Open Water")},
        {QStringLiteral("seriesName"), QStringLiteral("Coastlines")},
        {QStringLiteral("seasonNumber"), 2},
        {QStringLiteral("episodeNumber"), 7},
    };
    metadata.insert(given);
    if (input.newArtwork)
        metadata.insert(QStringLiteral("imageData"), newArtwork);
    record.insert(QStringLiteral("metadata"), metadata);

    ImportRecord submitted = ImportRecord::fromDictionary(record);
    const Result<LibraryItem> outcome = ImportSubmission::submit(submitted, std::nullopt, 1);

    QFile source(path);
    if (!source.open(QIODevice::ReadOnly) || source.readAll() != input.file)
        fuzz::fail("the import changed its source file");
    if (outcome && !MetadataReader::metadataForFile(outcome->path))
        fuzz::fail("the library copy %s does not read back", qPrintable(outcome->path));
    if (!QDir(WatchedLibrary::libraryFolder()).removeRecursively())
        fuzz::fail("cannot empty the library for the next input");
    return 0;
}

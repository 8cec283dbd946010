#include "import/MediaLibraryImportService.h"

#include "import/library/MediaLibrary.h"

#include <QDebug>
#include <QLoggingCategory>
#include <QMutex>

namespace tolvane {

Q_LOGGING_CATEGORY(logImport, "tolvane.import")

namespace {

QMutex importerLock;
std::shared_ptr<MediaLibraryImporter> installed;

} // namespace

MediaLibraryImporter::~MediaLibraryImporter() = default;

Result<LibraryItem>
MediaLibraryImportService::importFileWithDictionary(const ImportRecord& record) {
    return importer()->importFile(record);
}

void MediaLibraryImportService::setImporter(std::shared_ptr<MediaLibraryImporter> importer) {
    const QMutexLocker locker(&importerLock);
    installed = std::move(importer);
}

std::shared_ptr<MediaLibraryImporter> MediaLibraryImportService::importer() {
    {
        const QMutexLocker locker(&importerLock);
        if (installed)
            return installed;
    }
    // The library folder follows the preferences, which may change between imports.
    return std::make_shared<MediaLibrary>(MediaLibrary::defaultFolder());
}

Result<LibraryItem> LoggingImporter::importFile(const ImportRecord& record) {
    // The artwork is shown by its size only.
    ImportRecord shown = record;
    if (record.metadata.artwork)
        shown.metadata.artwork = TagValue<QByteArray>::read(
            std::nullopt, QStringLiteral("<%1 bytes>").arg(record.metadata.artwork->size()));
    qCInfo(logImport).noquote() << "import" << shown.toDictionary();
    return LibraryItem{record.path.value_or(QString()), -1, true};
}

} // namespace tolvane

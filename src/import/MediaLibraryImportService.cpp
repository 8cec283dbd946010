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

Result<LibraryItem> MediaLibraryImportService::importFileWithDictionary(const QVariantMap& record) {
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

Result<LibraryItem> LoggingImporter::importFile(const QVariantMap& record) {
    QVariantMap shown = record;
    QVariantMap metadata = shown.value(QStringLiteral("metadata")).toMap();
    const QString imageData = QStringLiteral("imageData");
    if (metadata.contains(imageData))
        metadata.insert(
            imageData,
            QStringLiteral("<%1 bytes>").arg(metadata.value(imageData).toByteArray().size()));
    shown.insert(QStringLiteral("metadata"), metadata);
    qCInfo(logImport).noquote() << "import" << shown;
    return LibraryItem{record.value(QStringLiteral("path")).toString(), -1, true};
}

} // namespace tolvane

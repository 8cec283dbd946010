#pragma once

#include <QString>
#include <QVariantMap>

#include <memory>

namespace tolvane {

// The result of one import: the library item, or why there is none.
struct ImportOutcome {
    enum class Status { Imported, Failed };
    Status status = Status::Failed;
    QString path;    // the item's file in the library
    qint64 id = -1;  // its catalogue row
    QString message; // the cause, for a failure

    bool ok() const { return status == Status::Imported; }
    static ImportOutcome failure(const QString& message) {
        return {Status::Failed, QString(), -1, message};
    }
};

// Something that takes an import record ({"mediaKind", "path", "metadata", ...}) into a
// media library. Implementations are called from worker threads.
class MediaLibraryImporter {
public:
    virtual ~MediaLibraryImporter();
    virtual ImportOutcome importFile(const QVariantMap& record) = 0;
};

// The one entry point the editor and tolvane-cli use. Behind it is the media library in the
// user's folder unless another importer was installed.
class MediaLibraryImportService {
public:
    static ImportOutcome importFileWithDictionary(const QVariantMap& record);
    // Installs an importer for every later call; a null one restores the media library.
    static void setImporter(std::shared_ptr<MediaLibraryImporter> importer);
    static std::shared_ptr<MediaLibraryImporter> importer();
};

// Prints each record it is given and imports nothing: for runs that must not touch a library.
class LoggingImporter : public MediaLibraryImporter {
public:
    ImportOutcome importFile(const QVariantMap& record) override;
};

} // namespace tolvane

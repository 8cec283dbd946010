#pragma once

#include "import/ImportRecord.h"
#include "platform/Result.h"

#include <QString>

#include <memory>

namespace tolvane {

// One imported item of the library.
struct LibraryItem {
    QString path;   // the item's file in the library
    qint64 id = -1; // its catalogue row
    // False when the file's format carries no tags the tag library can write: the values live
    // in the catalogue row only.
    bool tagged = true;
};

// Something that takes an import record into a media library. Implementations are called from
// worker threads.
class MediaLibraryImporter {
public:
    virtual ~MediaLibraryImporter();
    virtual Result<LibraryItem> importFile(const ImportRecord& record) = 0;
};

// The one entry point the editor and tolvane-cli use. Behind it is the media library in the
// user's folder unless another importer was installed.
class MediaLibraryImportService {
public:
    static Result<LibraryItem> importFileWithDictionary(const ImportRecord& record);
    // Installs an importer for every later call; a null one restores the media library.
    static void setImporter(std::shared_ptr<MediaLibraryImporter> importer);
    static std::shared_ptr<MediaLibraryImporter> importer();
};

// Prints each record it is given and imports nothing: for runs that must not touch a library.
class LoggingImporter : public MediaLibraryImporter {
public:
    Result<LibraryItem> importFile(const ImportRecord& record) override;
};

} // namespace tolvane

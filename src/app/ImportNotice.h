#pragma once

#include "import/MediaLibraryImportService.h"
#include "platform/DesktopNotifier.h"
#include "platform/Result.h"

#include <QVariantMap>

namespace tolvane {

// What the desktop is told when an import ends: where the item went ("Imported “Title” to
// Music", the item's path, its artwork, and "Show in Folder"), or why it failed.
class ImportNotice {
public:
    static constexpr const char* showInFolderAction = "show-in-folder";

    // The record as submitted, the outcome, and the library's folder (the part of the item's
    // path under it names where it went).
    static DesktopNotifier::Notice compose(const QVariantMap& record,
                                           const Result<LibraryItem>& outcome,
                                           const QString& libraryFolder);

    // The library's area an item's path lies in ("Music", "TV Shows", ...); the library's own
    // name for a path outside every area.
    static QString areaOf(const QString& itemPath, const QString& libraryFolder);
};

} // namespace tolvane

#pragma once

#include "import/MediaLibraryImportService.h"

#include <QList>
#include <QString>
#include <QVariantMap>

namespace tolvane {

// The media library: tagged copies of imported files, filed by kind under one folder, with a
// catalogue beside them. The source file is never changed. An import copies it into a hidden
// temporary file in the item's folder, writes the record's tags and artwork into the copy,
// flushes it, renames it into place without replacing anything, and only then finishes its
// catalogue row, so that a crash at any moment leaves nothing or a complete item once the next
// import (or `recover`) has looked at what was left.
class MediaLibrary final : public MediaLibraryImporter {
public:
    explicit MediaLibrary(const QString& folder);

    // The preferences' "libraryPath" when set, else "Media/Tolvane" under the user root.
    static QString defaultFolder();
    static constexpr const char* catalogueFileName = "Library.sqlite";

    QString folder() const { return m_folder; }
    QString catalogueFile() const;

    Result<LibraryItem> importFile(const ImportRecord& record) override;

    // Finishes or removes what imports of processes that have died left behind.
    Status recover();
    // The catalogue's finished items (none while there is no catalogue).
    Result<QList<QVariantMap>> items() const;

private:
    QString m_folder;
};

} // namespace tolvane

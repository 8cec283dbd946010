#pragma once

#include "platform/PropertyList.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace tolvane {

// The installed table that maps file extensions to icons: a dictionary of free labels to
// entries {"extensions": [..], "icon": "name"}, walked in the file's order. Two rules read it
// and differ at their edges on purpose:
//  - the map (buildFileTypesDictionary): every extension as written, the last entry that lists
//    it wins, an entry without "icon" maps to "unknown";
//  - the scan (iconFileForExtension): the first entry whose extensions hold the extension
//    exactly gives "<icon>.png"; none gives "unknown.png".
class FileTypeTable {
public:
    struct Entry {
        QStringList extensions;
        std::optional<QString> icon;
    };

    FileTypeTable() = default;
    explicit FileTypeTable(QList<Entry> entries);
    // Entries from a parsed table; values that are not entries are passed over.
    static FileTypeTable fromDictionary(const OrderedDictionary& root);

    // The installed table at Paths::fileTypeTable(), parsed again only when the file changed
    // (path, size, modification time or inode). Missing or malformed: an empty table.
    static std::shared_ptr<const FileTypeTable> installed();
    // The same for a table at any path.
    static std::shared_ptr<const FileTypeTable> load(const QString& path);

    const QList<Entry>& entries() const { return m_entries; }

    // Extension (as written in the table) to icon base name.
    const QHash<QString, QString>& buildFileTypesDictionary() const { return m_map; }
    // The scan rule for an extension, lower-cased here.
    QString iconFileForExtension(const QString& extension) const;
    // The map rule as the listing uses it: "folder.png" for a folder, else the icon of the
    // lower-cased extension of the name followed by ".png", or "unknown.png".
    QString listingIconFile(const QString& name, bool isDirectory) const;

    static const QString unknownIconFile;
    static const QString folderIconFile;

private:
    QList<Entry> m_entries;
    QHash<QString, QString> m_map;
    // The same with ".png" appended, ready for the listing.
    QHash<QString, QString> m_listingIconFiles;
};

} // namespace tolvane

#pragma once

#include "browser/PSDirectoryPickerEntry.h"
#include "platform/Result.h"

#include <QList>
#include <QString>

namespace tolvane {

// How a folder's rows are ordered. By name as people read names (numbers by their value,
// letters without regard to case or accents, folders first), by the time each entry was added
// (newest first, folders first), or as the file system hands them out. A desktop lists by name
// unless told otherwise; a device folder keeps the file system's order.
class ListingOrder {
public:
    enum Kind { Name, DateAdded, FileSystem };

    // The preferences key and its values.
    static constexpr const char* preferencesKey = "listingOrder";
    static QString keyFor(Kind kind);
    // An unknown or missing value is the layout's default.
    static Kind fromKey(const QString& key);
    static Kind layoutDefault();

    // The order chosen in the preferences, read anew at each call.
    static Kind current();
    // Writes the choice into the preferences; a failure says why.
    static Status setCurrent(Kind kind);

    // The order's name as a menu shows it.
    static QString title(Kind kind);

    // Puts the entries in the order. Date added is the entry's birth time where the file system
    // keeps one, else the time its inode last changed.
    static void sort(QList<PSDirectoryPickerEntry>& entries, Kind kind);
};

} // namespace tolvane

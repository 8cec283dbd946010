#pragma once

#include "browser/PSDirectoryPickerEntry.h"
#include "platform/Result.h"

#include <QList>

namespace tolvane {

// Reading and changing one folder of the file browser. Paths are handled as the bytes the file
// system uses, so that any name it holds can be listed, opened and removed. Failures are
// returned; the screens ignore them as the browser's rules say (an unreadable folder lists as
// empty, a failed removal leaves the entry).
class DirectoryListing {
public:
    // The folder's entries in the file system's own order, unsorted; names beginning with "."
    // or ":" are left out; an entry is a folder when it is one after following links, so a
    // dangling link lists as a file. A failure when the folder cannot be opened.
    static Result<QList<PSDirectoryPickerEntry>> rebuildFileList(const QByteArray& nativeFolder);
    static Result<QList<PSDirectoryPickerEntry>> rebuildFileList(const QString& folder);

    // The path to act on for an entry: a symbolic link's stored destination, else the path.
    // A relative destination is taken from the link's own folder, where it points.
    static QByteArray resolvedPath(const QByteArray& nativePath);

    // The artwork saved beside a download: two levels up, in "Artwork", named after the file
    // with the extension "jpeg" (/a/b/c/song.mp3 -> /a/b/Artwork/song.jpeg).
    static QByteArray companionArtworkPath(const QByteArray& target);

    // Removes the entry: for a link, first its destination and the destination's companion
    // artwork, then the link; anything else with all it holds. Through a link only a regular
    // file inside the user root goes (the browser's stored copy of a download, and its
    // artwork): never a folder, never anything outside the user root; the link itself always
    // goes. The first failure, after removing all that could be removed.
    static Status deleteEntry(const PSDirectoryPickerEntry& entry);
    static Status deleteEntry(const PSDirectoryPickerEntry& entry, const QString& userRoot);

    // The same as deleteEntry, but every item goes to the desktop's Trash instead of away for
    // good. Fails, with nothing of that item moved, where no Trash can take it (a file system
    // without a Trash of its own that the home's Trash cannot reach).
    static Status moveEntryToTrash(const PSDirectoryPickerEntry& entry);
    static Status moveEntryToTrash(const PSDirectoryPickerEntry& entry, const QString& userRoot);
    // Moves one item (a folder with all it holds) to the Trash, with the information that lets
    // it be put back. A path that is not there is no failure.
    static Status moveItemToTrash(const QByteArray& nativePath);

    // Removes a file, a link (never what it points to) or a folder with everything in it. A
    // path that is not there is no failure; the first item that could not be removed is.
    static Status removeItemAtPath(const QByteArray& nativePath);
};

} // namespace tolvane

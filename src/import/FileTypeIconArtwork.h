#pragma once

#include <QByteArray>
#include <QString>

namespace tolvane {

// Records made from a hand-off carry the file type's icon as their picture until the user
// picks one: the editor shows it, but it is not the media's artwork and is never written into
// a copy. An icon is recognised by its pixels, whichever way it was encoded on the way.
class FileTypeIconArtwork {
public:
    // Whether the bytes decode to the pixels of one of the icons in the folder (the installed
    // file-type icons unless given).
    static bool isFileTypeIcon(const QByteArray& bytes);
    static bool isFileTypeIcon(const QByteArray& bytes, const QString& iconsFolder);
};

} // namespace tolvane

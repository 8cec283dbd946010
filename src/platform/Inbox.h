#pragma once

#include "platform/Result.h"

#include <QString>

namespace tolvane {

// The application's own copies of files other applications hand over ("Open With", a drop, a
// path on the command line). The application edits, imports and deletes only its entry, so the
// sender's file is never touched. An entry is a hard link where the file system allows one
// (instant, and no space), else a copy that shares blocks where it can, else a plain copy.
class Inbox {
public:
    // The Inbox folder of the current paths.
    Inbox();
    explicit Inbox(QString folder);

    const QString& folder() const { return m_folder; }

    // Whether the path names an entry of this Inbox (a file directly inside its folder).
    bool holds(const QString& path) const;

    // The file's entry: the path itself when it is an entry already, else a new entry under
    // the file's name ("Song.mp3", then "Song-1.mp3", ...). Only ordinary files are entered.
    Result<QString> enter(const QString& path) const;

    // Removes an entry; a path outside the Inbox is refused and left alone, an entry that is
    // gone already is no failure.
    Status remove(const QString& path) const;

private:
    QString m_folder;
};

} // namespace tolvane

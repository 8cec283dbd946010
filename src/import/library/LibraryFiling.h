#pragma once

#include "import/ImportRecord.h"

#include <QString>

namespace tolvane {

// Where an item is filed inside the library, by kind, with names media servers understand:
//   Music/<Artist>/<Album>/<NN> <Title>.<ext>
//   Music Videos/<Artist> - <Title>.<ext>
//   Movies/<Title> (<Year>)/<Title> (<Year>).<ext>
//   TV Shows/<Series>/Season <NN>/<Series> - S<NN>E<NN> - <Title>.<ext>
//   Podcasts/<Podcast Name>/<Title>.<ext>
//   Ringtones/<Title>.<ext>
// An unknown kind is filed as a song.
class LibraryFiling {
public:
    // The path relative to the library folder for an import record.
    static QString relativePath(const ImportRecord& record);
    // The same path with " (n)" before the extension, for the n-th item of that name (n >= 2).
    static QString numbered(const QString& relativePath, int n);
    // A text made fit to be one path component: no separators or control characters, no
    // leading dot, at most maximumComponentBytes of UTF-8 (cut between characters); the
    // fall-back when nothing is left.
    static QString safeComponent(const QString& text, const QString& fallback);

    static constexpr int maximumComponentBytes = 200;
};

} // namespace tolvane

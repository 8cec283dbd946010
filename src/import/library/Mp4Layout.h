#pragma once

#include <QtGlobal>

#include <optional>

namespace tolvane {

// Where the media data of an MPEG-4 file begins when its movie box comes first (files made
// for streaming). Tags live in the movie box, so such a file can be tagged by its head alone
// and the media data appended unchanged: the tag library then shifts the chunk offsets by what
// the head grew, which is exactly where the media data lands. Nothing for other layouts.
std::optional<qint64> mediaDataAfterMovie(int fd);

} // namespace tolvane

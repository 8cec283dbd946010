#pragma once

#include "import/Tags.h"
#include "platform/Result.h"

#include <QString>

namespace tolvane {

// Writes the tags and artwork of an import into a media file with TagLib, as the given kind:
//  - MPEG-4: ©nam ©ART ©alb ©gen ©day trkn covr, stik for the kind, tvsh/tvsn/tves for TV
//    episodes, pcst and the show name (in ©alb and tvsh) for podcasts;
//  - MP3, WAV, AIFF: ID3v2.4 TIT2 TPE1 TALB TCON TDRC TRCK APIC, PCST for podcasts, and the
//    podcast, series, season and episode values in TXXX frames;
//  - other formats TagLib writes (FLAC, Ogg, ...): the property map and, where the format
//    holds one, a front-cover picture.
//
// A value the tags do not carry leaves the file's own in place (its date, its cover), and
// frames the writer does not own (lyrics, comments, ratings, identifiers) are never touched; a
// value carried as empty text removes the file's.
//
// The file may grow by the new tags and artwork and a little framing, never more: a write past
// that is refused and the whole write fails, so a damaged file cannot make the tag library fill
// the disk.
class TagWriter {
public:
    enum class Written {
        Tags,
        NotTaggable, // the tag library does not know the format; the file is left as it is
    };
    static Result<Written> write(const QString& path, const QString& kind, const Tags& tags);
};

} // namespace tolvane

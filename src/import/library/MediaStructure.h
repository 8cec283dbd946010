#pragma once

#include "platform/Result.h"

namespace tolvane {

// Checks the framing of a media file before its tags are rewritten: every MPEG-4 box, ID3v2
// tag, FLAC metadata block and RIFF or AIFF chunk must lie inside the file (and inside the box
// that holds it), and every chunk-offset table must hold no more entries than its box has room
// for. The tag library trusts these sizes when it saves, so a damaged one can make it rewrite
// a file without end. Formats the check does not know pass; only framing is read, never the
// media itself.
class MediaStructure {
public:
    static Status check(int fd);
};

} // namespace tolvane

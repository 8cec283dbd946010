#pragma once

#include "platform/Result.h"

#include <QString>

namespace tolvane {

// Whether this process can play audio and video at all. Qt Multimedia's GStreamer back end
// brings the whole process down when it is asked for a player and GStreamer lacks the elements
// that player is built from, so every screen that plays media asks here before it makes one.
//
// The back end is the one Qt Multimedia loads: the one named by QT_MEDIA_BACKEND, else the
// platform's own (GStreamer on Linux). The check looks for that back end among Qt's plugins
// without loading it; for GStreamer it starts GStreamer and makes one of each element the player
// is built from; for ffmpeg it needs an audio output device; for any back end it asks Qt
// Multimedia for the file formats it can decode. The answer is worked out on the first call and
// kept for the life of the process.
class PlaybackSupport {
public:
    // Ok when media can be played; else why not, in one line.
    static const Status& status();
    static bool isAvailable() { return status().ok(); }

    // The back end Qt Multimedia loads in this environment ("gstreamer", "ffmpeg", ...).
    static QString backendName();
};

} // namespace tolvane

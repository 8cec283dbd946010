#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tolvane {

// What the tag library leaves out of an MPEG-4 file and the import path needs: the movie's
// own duration (also for files without a sound track) and the raw payload of the iTunes track
// atom, short or not. Only box headers and these two payloads are read.
struct Mp4Boxes {
    std::optional<double> durationSeconds;
    std::optional<QByteArray> trackAtomData;

    // The file's size when the caller knows it already, else -1.
    static Mp4Boxes read(const QString& path, qint64 fileSize = -1);
};

} // namespace tolvane

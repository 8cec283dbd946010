#pragma once

#include "platform/FileDescriptor.h"
#include "platform/Result.h"

#include <QByteArray>
#include <QString>

namespace tolvane {

// A file that is read as a property list, an image or media must be an ordinary file whose
// bytes are stored on a disk: a FIFO would block the reader, a device such as /dev/zero never
// ends, and the files of /proc and /sys report a size of 0 while their content is made up as it
// is read. Each path is checked on the opened file itself, so a name swapped in between cannot
// slip past.
class RegularFile {
public:
    // Opens the file for reading (following links) and checks that it is a regular file on a
    // real file system. Opening never blocks, not even on a FIFO.
    static Result<FileDescriptor> openForReading(const QString& path);
    // The same check without keeping the file open.
    static Status check(const QString& path);
    // The whole content, refused when it is larger than `maximumSize`.
    static Result<QByteArray> readAll(const QString& path, qint64 maximumSize);
};

} // namespace tolvane

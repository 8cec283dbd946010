#include "import/library/Mp4Layout.h"

#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace tolvane {

std::optional<qint64> mediaDataAfterMovie(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0)
        return std::nullopt;
    const qint64 fileSize = status.st_size;
    bool movieSeen = false;
    qint64 offset = 0;
    // A real file has a handful of top-level boxes; more means it is not one.
    for (int count = 0; count < 64 && offset + 8 <= fileSize; ++count) {
        unsigned char header[16];
        if (pread(fd, header, sizeof header, offset) < 8)
            return std::nullopt;
        qint64 size = (qint64(header[0]) << 24) | (header[1] << 16) | (header[2] << 8) | header[3];
        qint64 headerSize = 8;
        if (size == 1) {
            size = 0;
            for (int i = 8; i < 16; ++i)
                size = (size << 8) | header[i];
            headerSize = 16;
        } else if (size == 0) {
            size = fileSize - offset;
        }
        if (size < headerSize || size > fileSize - offset)
            return std::nullopt;
        if (std::memcmp(header + 4, "moov", 4) == 0)
            movieSeen = true;
        else if (std::memcmp(header + 4, "mdat", 4) == 0)
            return movieSeen ? std::optional<qint64>(offset) : std::nullopt;
        offset += size;
    }
    return std::nullopt;
}

} // namespace tolvane

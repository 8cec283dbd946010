#include "import/library/FileCopy.h"

#include <cerrno>
#include <cstring>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tolvane {

namespace {

QString systemError(const char* what) {
    return QStringLiteral("%1: %2").arg(QLatin1String(what),
                                        QString::fromLocal8Bit(std::strerror(errno)));
}

QString copyThroughBuffer(int sourceFd, int destinationFd, off_t from) {
    std::vector<char> buffer(1 << 20);
    off_t offset = from;
    for (;;) {
        const ssize_t got = pread(sourceFd, buffer.data(), buffer.size(), offset);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return systemError("cannot read the file");
        }
        if (got == 0)
            return QString();
        ssize_t written = 0;
        while (written < got) {
            const ssize_t n = pwrite(destinationFd, buffer.data() + written, size_t(got - written),
                                     offset + written);
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                return systemError("cannot write the copy");
            }
            written += n;
        }
        offset += got;
    }
}

} // namespace

QString copyFileContents(int sourceFd, int destinationFd) {
    if (ioctl(destinationFd, FICLONE, sourceFd) == 0)
        return QString();

    struct stat status {};
    if (fstat(sourceFd, &status) != 0)
        return systemError("cannot read the file");

    off_t in = 0;
    off_t out = 0;
    while (in < status.st_size) {
        const ssize_t n =
            copy_file_range(sourceFd, &in, destinationFd, &out, size_t(status.st_size - in), 0);
        if (n > 0)
            continue;
        if (n == 0)
            break; // the file got shorter while copying; what is there is copied
        if (errno == EINTR)
            continue;
        if (errno == ENOSPC || errno == EDQUOT || errno == EIO)
            return systemError("cannot write the copy");
        // Not supported between these file systems: carry on through a buffer.
        if (ftruncate(destinationFd, out) != 0)
            return systemError("cannot write the copy");
        return copyThroughBuffer(sourceFd, destinationFd, out);
    }
    // Anything appended meanwhile is copied too.
    return copyThroughBuffer(sourceFd, destinationFd, in);
}

} // namespace tolvane

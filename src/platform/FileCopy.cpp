#include "platform/FileCopy.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tolvane {

namespace {

// Copied in steps of this size, each handed to the disk before the next.
constexpr qint64 stepBytes = 16 * 1024 * 1024;

Failure systemError(const char* what) {
    const int error = errno;
    return Failure(QStringLiteral("%1: %2").arg(QLatin1String(what),
                                                QString::fromLocal8Bit(std::strerror(error))),
                   QString(), error);
}

bool fullDisk(int error) {
    return error == ENOSPC || error == EDQUOT || error == EIO;
}

// One step through a buffer; returns the bytes copied, 0 at the end, -1 on error.
Result<qint64> bufferStep(int sourceFd, qint64 from, int destinationFd, qint64 to, qint64 length) {
    static thread_local std::vector<char> buffer(1 << 20);
    const ssize_t got =
        pread(sourceFd, buffer.data(), size_t(qMin<qint64>(length, qint64(buffer.size()))), from);
    if (got < 0)
        return systemError("cannot read the file");
    for (ssize_t written = 0; written < got;) {
        const ssize_t n =
            pwrite(destinationFd, buffer.data() + written, size_t(got - written), to + written);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return systemError("cannot write the copy");
        }
        written += n;
    }
    return qint64(got);
}

} // namespace

Status copyFileRange(int sourceFd, qint64 sourceOffset, int destinationFd, qint64 destinationOffset,
                     qint64 length) {
    if (length < 0) {
        struct stat status {};
        if (fstat(sourceFd, &status) != 0)
            return systemError("cannot read the file");
        length = qMax<qint64>(0, status.st_size - sourceOffset);
    }
    bool inKernel = true;
    qint64 done = 0;
    qint64 handedOver = 0;
    while (done < length) {
        const qint64 want = qMin(stepBytes, length - done);
        qint64 copied = 0;
        if (inKernel) {
            off_t in = sourceOffset + done;
            off_t out = destinationOffset + done;
            const ssize_t n = copy_file_range(sourceFd, &in, destinationFd, &out, size_t(want), 0);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0 && fullDisk(errno))
                return systemError("cannot write the copy");
            if (n < 0) {
                inKernel = false; // not between these file systems: carry on through a buffer
                continue;
            }
            copied = n;
        } else {
            const Result<qint64> step = bufferStep(sourceFd, sourceOffset + done, destinationFd,
                                                   destinationOffset + done, want);
            if (!step)
                return step.failure();
            copied = *step;
        }
        if (copied == 0)
            break; // the source got shorter while copying
        done += copied;
        if (done - handedOver >= stepBytes || done == length) {
            sync_file_range(destinationFd, destinationOffset + handedOver, done - handedOver,
                            SYNC_FILE_RANGE_WRITE);
            handedOver = done;
        }
    }
    return {};
}

Status copyFileContents(int sourceFd, int destinationFd) {
    if (ioctl(destinationFd, FICLONE, sourceFd) == 0)
        return {};
    return copyFileRange(sourceFd, 0, destinationFd, 0, -1);
}

} // namespace tolvane

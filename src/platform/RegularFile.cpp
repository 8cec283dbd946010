#include "RegularFile.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace tolvane {

namespace {

// File systems whose files are made up by the kernel as they are read.
constexpr long procMagic = 0x9fa0;
constexpr long sysfsMagic = 0x62656572;
constexpr long debugfsMagic = 0x64626720;
constexpr long tracefsMagic = 0x74726163;
constexpr long securityfsMagic = 0x73636673;
constexpr long cgroupMagic = 0x27e0eb;
constexpr long cgroup2Magic = 0x63677270;

QString systemError(int error) {
    return QString::fromLocal8Bit(std::strerror(error));
}

QString kindOf(mode_t mode) {
    if (S_ISDIR(mode))
        return QStringLiteral("a folder");
    if (S_ISFIFO(mode))
        return QStringLiteral("a FIFO");
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return QStringLiteral("a device");
    if (S_ISSOCK(mode))
        return QStringLiteral("a socket");
    return QStringLiteral("not an ordinary file");
}

bool madeUpByKernel(int fd) {
    struct statfs fileSystem {};
    if (::fstatfs(fd, &fileSystem) != 0)
        return false;
    switch (static_cast<long>(fileSystem.f_type)) {
    case procMagic:
    case sysfsMagic:
    case debugfsMagic:
    case tracefsMagic:
    case securityfsMagic:
    case cgroupMagic:
    case cgroup2Magic:
        return true;
    default:
        return false;
    }
}

} // namespace

Result<FileDescriptor> RegularFile::openForReading(const QString& path) {
    if (path.isEmpty())
        return Failure(QStringLiteral("no file named"));
    const QByteArray native = QFile::encodeName(path);
    if (native.contains('\0'))
        return Failure(QStringLiteral("the path holds a NUL character"), path);
    FileDescriptor fd(::open(native.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd.get() < 0)
        return Failure(systemError(errno), path, errno);
    struct stat status {};
    if (::fstat(fd.get(), &status) != 0)
        return Failure(systemError(errno), path, errno);
    if (!S_ISREG(status.st_mode))
        return Failure(kindOf(status.st_mode) + QStringLiteral(", not a file that can be read"),
                       path);
    if (madeUpByKernel(fd.get()))
        return Failure(
            QStringLiteral("a file the system makes up as it is read, not a stored file"), path);
    // Reads of a regular file block as usual from here on.
    const int flags = ::fcntl(fd.get(), F_GETFL);
    if (flags >= 0)
        ::fcntl(fd.get(), F_SETFL, flags & ~O_NONBLOCK);
    return fd;
}

Status RegularFile::check(const QString& path) {
    const Result<FileDescriptor> opened = openForReading(path);
    if (!opened)
        return opened.failure();
    return {};
}

Result<QByteArray> RegularFile::readAll(const QString& path, qint64 maximumSize) {
    Result<FileDescriptor> opened = openForReading(path);
    if (!opened)
        return opened.failure();
    QFile file;
    if (!file.open(opened.value().get(), QIODevice::ReadOnly, QFileDevice::DontCloseHandle))
        return Failure(file.errorString(), path);
    if (file.size() > maximumSize) {
        return Failure(QStringLiteral("too large (%1 bytes, at most %2 are read)")
                           .arg(file.size())
                           .arg(maximumSize),
                       path);
    }
    // The size may change while the file is read; never read past the limit. Reading in
    // pieces keeps the buffer at the file's size instead of the limit's.
    QByteArray bytes;
    bytes.reserve(file.size());
    constexpr qint64 piece = 1 << 16;
    while (bytes.size() <= maximumSize) {
        const QByteArray read = file.read(qMin(piece, maximumSize + 1 - bytes.size()));
        if (read.isEmpty())
            break;
        bytes += read;
    }
    if (bytes.size() > maximumSize)
        return Failure(QStringLiteral("too large (at most %1 bytes are read)").arg(maximumSize),
                       path);
    if (file.error() != QFileDevice::NoError)
        return Failure(file.errorString(), path);
    return bytes;
}

} // namespace tolvane

#include "Inbox.h"

#include "platform/FileCopy.h"
#include "platform/FileDescriptor.h"
#include "platform/PathString.h"
#include "platform/Paths.h"
#include "platform/RegularFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tolvane {

namespace {

Failure systemFailure(const QString& what, const QString& path, int error) {
    return Failure(QStringLiteral("%1: %2").arg(what, QString::fromLocal8Bit(std::strerror(error))),
                   path, error);
}

// "Song.mp3", "Song-1.mp3", "Song-2.mp3", ...
QString candidateName(const QString& name, int n) {
    if (n == 0)
        return name;
    const QString extension = PathString::pathExtension(name);
    const QString stem = PathString::deletingPathExtension(name);
    const QString numbered = QStringLiteral("%1-%2").arg(stem).arg(n);
    return extension.isEmpty() ? numbered : numbered + QLatin1Char('.') + extension;
}

// A hard link to the opened file itself, so that a name swapped in since the check cannot be
// entered instead. EEXIST tells the caller to try the next name; other errors mean "copy".
int linkOpened(int fd, const QByteArray& target) {
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(fd);
    if (::linkat(AT_FDCWD, self.constData(), AT_FDCWD, target.constData(), AT_SYMLINK_FOLLOW) == 0)
        return 0;
    return errno;
}

} // namespace

Inbox::Inbox()
    : Inbox(Paths::inboxFolder()) {}

Inbox::Inbox(QString folder)
    : m_folder(QDir::cleanPath(std::move(folder))) {}

bool Inbox::holds(const QString& path) const {
    if (path.isEmpty() || path.contains(QChar(0)))
        return false;
    const QFileInfo info(path);
    return QDir::cleanPath(info.absolutePath()) == m_folder ||
           (info.absoluteDir().exists() &&
            info.absoluteDir().canonicalPath() == QFileInfo(m_folder).canonicalFilePath());
}

Result<QString> Inbox::enter(const QString& path) const {
    Result<FileDescriptor> source = RegularFile::openForReading(path);
    if (!source)
        return source.failure();
    if (holds(path))
        return path;
    if (!QDir().mkpath(m_folder))
        return Failure(QStringLiteral("the Inbox folder cannot be made"), m_folder);

    const QString name = PathString::lastPathComponent(path);
    bool linking = true;
    for (int n = 0; n < 10000; ++n) {
        const QString target = QDir(m_folder).filePath(candidateName(name, n));
        const QByteArray native = QFile::encodeName(target);
        if (linking) {
            const int error = linkOpened(source->get(), native);
            if (error == 0)
                return target;
            if (error == EEXIST)
                continue;
            // Another file system, links not allowed for this file or this user, no /proc:
            // the entry is a copy.
            linking = false;
        }
        const FileDescriptor copy(
            ::open(native.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
        if (!copy.isOpen()) {
            if (errno == EEXIST)
                continue;
            return systemFailure(QStringLiteral("the Inbox cannot be written"), m_folder, errno);
        }
        const Status copied = copyFileContents(source->get(), copy.get());
        if (!copied) {
            ::unlink(native.constData());
            return Failure(copied.failure().message(), target, copied.failure().systemError());
        }
        return target;
    }
    return Failure(QStringLiteral("too many entries named like this one"), m_folder);
}

Status Inbox::remove(const QString& path) const {
    if (!holds(path))
        return Failure(QStringLiteral("not an entry of the Inbox; left alone"), path);
    if (::unlink(QFile::encodeName(path).constData()) != 0 && errno != ENOENT)
        return systemFailure(QStringLiteral("the Inbox entry cannot be removed"), path, errno);
    return {};
}

} // namespace tolvane

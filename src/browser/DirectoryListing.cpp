#include "DirectoryListing.h"

#include "platform/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tolvane {

namespace {

QByteArray joined(const QByteArray& folder, const char* name) {
    QByteArray path = folder;
    if (!path.endsWith('/'))
        path += '/';
    path += name;
    return path;
}

QByteArray parentOf(const QByteArray& path) {
    const qsizetype slash = path.lastIndexOf('/');
    if (slash <= 0)
        return slash == 0 ? QByteArray("/") : QByteArray();
    return path.left(slash);
}

QByteArray lastComponent(const QByteArray& path) {
    QByteArray trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith('/'))
        trimmed.chop(1);
    return trimmed.mid(trimmed.lastIndexOf('/') + 1);
}

bool isSymbolicLink(const QByteArray& path) {
    struct stat info {};
    return ::lstat(path.constData(), &info) == 0 && S_ISLNK(info.st_mode);
}

QByteArray linkDestination(const QByteArray& path) {
    QByteArray buffer(PATH_MAX, '\0');
    const ssize_t length = ::readlink(path.constData(), buffer.data(), size_t(buffer.size()));
    if (length <= 0)
        return {};
    buffer.truncate(length);
    return buffer;
}

// The canonical form of a path, or nothing when it does not resolve.
QByteArray canonical(const QByteArray& path) {
    char* resolved = ::realpath(path.constData(), nullptr);
    if (!resolved)
        return {};
    QByteArray result(resolved);
    ::free(resolved);
    return result;
}

// True when the path names a regular file (after following links) inside the folder.
bool isRegularFileInside(const QByteArray& path, const QByteArray& folder) {
    struct stat info {};
    if (::stat(path.constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    const QByteArray file = canonical(path);
    const QByteArray root = canonical(folder);
    return !file.isEmpty() && !root.isEmpty() && root != "/" && file.startsWith(root + '/');
}

Failure systemFailure(const QByteArray& nativePath, const char* what, int error) {
    return Failure(QStringLiteral("%1: %2").arg(QLatin1String(what),
                                                QString::fromLocal8Bit(std::strerror(error))),
                   QFile::decodeName(nativePath));
}

// nftw() takes a plain function: the first failure of a walk is kept here. Walks run on any
// thread, each in its own.
thread_local std::optional<Failure> firstRemovalFailure;

int removeOne(const char* path, const struct stat*, int type, struct FTW*) {
    const int result = type == FTW_DP ? ::rmdir(path) : ::unlink(path);
    if (result != 0 && errno != ENOENT && !firstRemovalFailure)
        firstRemovalFailure = systemFailure(path, "cannot be removed", errno);
    return 0;
}

} // namespace

Result<QList<PSDirectoryPickerEntry>> DirectoryListing::rebuildFileList(const QString& folder) {
    return rebuildFileList(QFile::encodeName(folder));
}

Result<QList<PSDirectoryPickerEntry>>
DirectoryListing::rebuildFileList(const QByteArray& nativeFolder) {
    QList<PSDirectoryPickerEntry> entries;
    if (nativeFolder.isEmpty())
        return Failure(QStringLiteral("no folder given"));
    DIR* folder = ::opendir(nativeFolder.constData());
    if (!folder)
        return systemFailure(nativeFolder, "cannot be listed", errno);
    const int folderFd = ::dirfd(folder);
    const QByteArray prefix = nativeFolder.endsWith('/') ? nativeFolder : nativeFolder + '/';
    while (const dirent* item = ::readdir(folder)) {
        const char* name = item->d_name;
        if (name[0] == '.' || name[0] == ':')
            continue;
        bool isDir = item->d_type == DT_DIR;
        if (item->d_type == DT_LNK || item->d_type == DT_UNKNOWN) {
            struct stat info {};
            isDir = ::fstatat(folderFd, name, &info, 0) == 0 && S_ISDIR(info.st_mode);
        }
        entries.append(PSDirectoryPickerEntry(prefix + name, prefix.size(), isDir));
    }
    ::closedir(folder);
    return entries;
}

QByteArray DirectoryListing::resolvedPath(const QByteArray& nativePath) {
    if (!isSymbolicLink(nativePath))
        return nativePath;
    const QByteArray destination = linkDestination(nativePath);
    if (destination.isEmpty() || destination.startsWith('/'))
        return destination.isEmpty() ? nativePath : destination;
    return joined(parentOf(nativePath), destination.constData());
}

QByteArray DirectoryListing::companionArtworkPath(const QByteArray& target) {
    QByteArray stem = lastComponent(target);
    const qsizetype dot = stem.lastIndexOf('.');
    if (dot > 0)
        stem.truncate(dot);
    const QByteArray twoUp = parentOf(parentOf(target));
    return joined(joined(twoUp, "Artwork"), (stem + ".jpeg").constData());
}

Status DirectoryListing::deleteEntry(const PSDirectoryPickerEntry& entry) {
    return deleteEntry(entry, Paths::userRoot());
}

namespace {

using ItemRemoval = Status (*)(const QByteArray&);

// The Trash's readers take the place an item came from as an escaped address ("%25" for "%",
// "%20" for a blank); Qt writes it as it is, which they read wrongly or not at all. The line
// is written again, escaped, beside the item's other information.
void escapeTrashInfo(const QString& pathInTrash, const QString& original) {
    const QFileInfo inTrash(pathInTrash);
    const QString infoPath =
        inTrash.dir().filePath(QStringLiteral("../info/%1.trashinfo").arg(inTrash.fileName()));
    QFile info(infoPath);
    if (!info.open(QIODevice::ReadOnly))
        return;
    QList<QByteArray> lines = info.readAll().split('\n');
    info.close();
    for (QByteArray& line : lines) {
        if (line.startsWith("Path="))
            line = "Path=" + QUrl::toPercentEncoding(original, "/");
    }
    QSaveFile rewritten(infoPath);
    if (rewritten.open(QIODevice::WriteOnly) && rewritten.write(lines.join('\n')) >= 0)
        ignoreFailure(rewritten.commit() ? Status()
                                         : Status(Failure(rewritten.errorString(), infoPath)),
                      "the item is in the Trash; only its way back is less exact");
}

Status disposeOfEntry(const PSDirectoryPickerEntry& entry, const QString& userRoot,
                      ItemRemoval removeItemAtPath) {
    const QByteArray path = entry.nativePath();
    const QByteArray root = QFile::encodeName(userRoot);
    std::optional<Failure> first;
    const auto keepFirst = [&first](const Status& status) {
        if (!status && !first)
            first = status.failure();
    };
    if (isSymbolicLink(path)) {
        const QByteArray target = DirectoryListing::resolvedPath(path);
        if (target != path && isRegularFileInside(target, root)) {
            keepFirst(removeItemAtPath(target));
            const QByteArray artwork = DirectoryListing::companionArtworkPath(target);
            if (isRegularFileInside(artwork, root))
                keepFirst(removeItemAtPath(artwork));
        }
    }
    keepFirst(removeItemAtPath(path));
    if (first)
        return *first;
    return {};
}

} // namespace

Status DirectoryListing::deleteEntry(const PSDirectoryPickerEntry& entry, const QString& userRoot) {
    return disposeOfEntry(entry, userRoot, &DirectoryListing::removeItemAtPath);
}

Status DirectoryListing::moveEntryToTrash(const PSDirectoryPickerEntry& entry) {
    return moveEntryToTrash(entry, Paths::userRoot());
}

Status DirectoryListing::moveEntryToTrash(const PSDirectoryPickerEntry& entry,
                                          const QString& userRoot) {
    return disposeOfEntry(entry, userRoot, &DirectoryListing::moveItemToTrash);
}

Status DirectoryListing::moveItemToTrash(const QByteArray& nativePath) {
    struct stat info {};
    if (nativePath.isEmpty())
        return Failure(QStringLiteral("no path given"));
    if (::lstat(nativePath.constData(), &info) != 0)
        return errno == ENOENT ? Status() : systemFailure(nativePath, "cannot be read", errno);
    if (canonical(nativePath) == "/")
        return Failure(QStringLiteral("the root folder is never removed"), QStringLiteral("/"));
    // A link whose destination is gone (into the Trash, with it) points nowhere: only the link
    // itself is left, and it holds nothing to put back.
    struct stat destination {};
    if (S_ISLNK(info.st_mode) && ::stat(nativePath.constData(), &destination) != 0)
        return removeItemAtPath(nativePath);
    // The home's Trash lives in the data folder, which a new account may not have yet.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    const QString original = QFileInfo(QFile::decodeName(nativePath)).absoluteFilePath();
    QFile item(original);
    if (!item.moveToTrash()) {
        return Failure(QStringLiteral("cannot be moved to the Trash: %1").arg(item.errorString()),
                       item.fileName());
    }
    escapeTrashInfo(item.fileName(), original);
    return {};
}

Status DirectoryListing::removeItemAtPath(const QByteArray& nativePath) {
    struct stat info {};
    if (nativePath.isEmpty())
        return Failure(QStringLiteral("no path given"));
    if (::lstat(nativePath.constData(), &info) != 0)
        return errno == ENOENT ? Status() : systemFailure(nativePath, "cannot be read", errno);
    if (!S_ISDIR(info.st_mode)) {
        if (::unlink(nativePath.constData()) != 0 && errno != ENOENT)
            return systemFailure(nativePath, "cannot be removed", errno);
        return {};
    }
    if (canonical(nativePath) == "/")
        return Failure(QStringLiteral("the root folder is never removed"), QStringLiteral("/"));
    firstRemovalFailure.reset();
    if (::nftw(nativePath.constData(), removeOne, 32, FTW_DEPTH | FTW_PHYS) != 0 &&
        !firstRemovalFailure)
        firstRemovalFailure = systemFailure(nativePath, "cannot be walked", errno);
    std::optional<Failure> failure = std::exchange(firstRemovalFailure, std::nullopt);
    if (failure)
        return *failure;
    return {};
}

} // namespace tolvane

#include "import/library/MediaLibrary.h"

#include "imaging/ImageDecoder.h"
#include "import/library/FileCopy.h"
#include "import/library/LibraryCatalogue.h"
#include "import/library/LibraryFiling.h"
#include "import/library/Mp4Layout.h"
#include "import/library/TagWriter.h"
#include "platform/Paths.h"
#include "platform/PropertyList.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <taglib/fileref.h>
#include <unistd.h>

namespace tolvane {

namespace {

QString systemError() {
    return QString::fromLocal8Bit(std::strerror(errno));
}

// A descriptor that closes itself.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1)
        : m_fd(fd) {}
    ~FileDescriptor() {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

bool syncDirectory(const QString& directory) {
    const FileDescriptor fd(
        ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY));
    return fd.get() >= 0 && ::fsync(fd.get()) == 0;
}

bool exists(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}

// Creates the folders of a path that are missing; the ones it made, deepest first.
QStringList makeFolders(const QString& folder, QString* problem) {
    QStringList made;
    QString existing = folder;
    while (!existing.isEmpty() && !QFileInfo(existing).exists()) {
        made.prepend(existing);
        existing = QFileInfo(existing).path();
    }
    for (const QString& path : std::as_const(made)) {
        if (::mkdir(QFile::encodeName(path).constData(), 0755) != 0 && errno != EEXIST) {
            *problem =
                QStringLiteral("cannot create the library folder %1: %2").arg(path, systemError());
            return {};
        }
    }
    if (!QFileInfo(folder).isDir()) {
        *problem = QStringLiteral("the library folder %1 is not a folder").arg(folder);
        return {};
    }
    std::reverse(made.begin(), made.end());
    return made;
}

void removeEmptyFolders(const QStringList& deepestFirst) {
    for (const QString& folder : deepestFirst)
        ::rmdir(QFile::encodeName(folder).constData()); // only succeeds while empty
}

// The size, dimensions and hash of the artwork stored in the item.
void describeArtwork(const QByteArray& artwork, LibraryCatalogue::Item& item) {
    if (artwork.isEmpty())
        return;
    item.artworkBytes = artwork.size();
    const QSize size = ImageDecoder::header(artwork).valueOr({}).size;
    item.artworkWidth = qMax(0, size.width());
    item.artworkHeight = qMax(0, size.height());
    item.artworkSha256 =
        QString::fromLatin1(QCryptographicHash::hash(artwork, QCryptographicHash::Sha256).toHex());
}

qint64 durationOf(const QString& path, const QVariantMap& metadata) {
    const TagLib::FileRef ref(QFile::encodeName(path).constData(), true,
                              TagLib::AudioProperties::Fast);
    if (!ref.isNull() && ref.audioProperties())
        return ref.audioProperties()->lengthInMilliseconds();
    const QVariant duration = metadata.value(QStringLiteral("duration"));
    return duration.isValid() ? duration.toLongLong() : -1;
}

// Finishes or removes the pending rows of processes that have died.
QString recoverPending(LibraryCatalogue& catalogue, const QString& libraryFolder) {
    QString problem;
    const QList<LibraryCatalogue::Pending> pending = catalogue.pendingItems(&problem);
    for (const LibraryCatalogue::Pending& item : pending) {
        if (LibraryCatalogue::ownerAlive(item.ownerPid, item.ownerStart))
            continue; // still at work
        if (!item.tempPath.isEmpty() && exists(item.tempPath)) {
            // The copy never got its name: it may be incomplete or unflushed.
            ::unlink(QFile::encodeName(item.tempPath).constData());
            catalogue.removeItem(item.id);
        } else if (!item.candidate.isEmpty() &&
                   exists(libraryFolder + QLatin1Char('/') + item.candidate)) {
            // The copy is gone and its name exists: the rename happened, the item is complete.
            catalogue.finishItem(item.id, &problem);
        } else {
            catalogue.removeItem(item.id);
        }
    }
    return problem;
}

} // namespace

MediaLibrary::MediaLibrary(const QString& folder)
    : m_folder(QDir::cleanPath(folder)) {}

QString MediaLibrary::defaultFolder() {
    const Result<QVariantMap> preferences =
        PropertyListReader::readDictionary(Paths::preferencesFile());
    ignoreFailure(preferences, "without readable preferences the library is in its usual place");
    const QString configured =
        preferences.valueOr({}).value(QStringLiteral("libraryPath")).toString();
    if (!configured.isEmpty())
        return configured;
    return Paths::userRoot() + QStringLiteral("/Media/Tolvane");
}

QString MediaLibrary::catalogueFile() const {
    return m_folder + QLatin1Char('/') + QLatin1String(catalogueFileName);
}

ImportOutcome MediaLibrary::importFile(const QVariantMap& record) {
    const QString source = record.value(QStringLiteral("path")).toString();
    if (source.isEmpty())
        return ImportOutcome::failure(QStringLiteral("the record names no file (no \"path\")"));

    const FileDescriptor input(::open(QFile::encodeName(source).constData(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (input.get() < 0 || ::fstat(input.get(), &status) != 0)
        return ImportOutcome::failure(
            QStringLiteral("cannot open %1: %2").arg(source, systemError()));
    if (!S_ISREG(status.st_mode))
        return ImportOutcome::failure(QStringLiteral("%1 is not a file").arg(source));

    QString problem;
    if (makeFolders(m_folder, &problem).isEmpty() && !problem.isEmpty())
        return ImportOutcome::failure(problem);
    if (::access(QFile::encodeName(m_folder).constData(), W_OK) != 0)
        return ImportOutcome::failure(QStringLiteral("cannot write to the library folder %1: %2")
                                          .arg(m_folder, systemError()));
    std::unique_ptr<LibraryCatalogue> catalogue = LibraryCatalogue::open(catalogueFile(), &problem);
    if (!catalogue)
        return ImportOutcome::failure(problem);
    recoverPending(*catalogue, m_folder);

    const QString relative = LibraryFiling::relativePath(record);
    const QString folder = QFileInfo(m_folder + QLatin1Char('/') + relative).path();
    const QStringList madeFolders = makeFolders(folder, &problem);
    if (!problem.isEmpty())
        return ImportOutcome::failure(problem);

    const QString temp = folder + QStringLiteral("/.tolvane-import-") +
                         QUuid::createUuid().toString(QUuid::WithoutBraces) +
                         QStringLiteral(".part");
    // What the item holds is recorded with its pending row, so that an item found complete
    // after a crash has its row in full.
    const QVariantMap metadata = record.value(QStringLiteral("metadata")).toMap();
    LibraryCatalogue::Item item;
    item.kind = record.value(QStringLiteral("mediaKind")).toString();
    item.metadata = metadata;
    item.metadata.remove(QStringLiteral("imageData"));
    // No path yet: a pending row's path names only a rename that was tried.
    item.sourcePath = source;
    item.durationMs = durationOf(source, metadata);
    describeArtwork(metadata.value(QStringLiteral("imageData")).toByteArray(), item);
    const qint64 id = catalogue->beginItem(temp, item, &problem);
    if (id < 0) {
        removeEmptyFolders(madeFolders);
        return ImportOutcome::failure(problem);
    }
    const auto abandon = [&](const QString& cause) {
        ::unlink(QFile::encodeName(temp).constData());
        catalogue->removeItem(id);
        removeEmptyFolders(madeFolders);
        return ImportOutcome::failure(cause);
    };

    // A file whose tags sit before its media data is tagged by its head alone, so that the
    // tag library never moves the media data; everything else is copied whole, then tagged.
    const std::optional<qint64> mediaData = mediaDataAfterMovie(input.get());
    {
        const FileDescriptor output(::open(QFile::encodeName(temp).constData(),
                                           O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
        if (output.get() < 0)
            return abandon(QStringLiteral("cannot write to the library folder %1: %2")
                               .arg(folder, systemError()));
        const QString copyProblem = mediaData
                                        ? copyFileRange(input.get(), 0, output.get(), 0, *mediaData)
                                        : copyFileContents(input.get(), output.get());
        if (!copyProblem.isEmpty())
            return abandon(QStringLiteral("%1 (%2)").arg(copyProblem, folder));
    }

    if (TagWriter::write(temp, record, &problem) == TagWriter::Result::Failed)
        return abandon(problem);

    if (mediaData) {
        const FileDescriptor output(
            ::open(QFile::encodeName(temp).constData(), O_WRONLY | O_CLOEXEC));
        struct stat head {};
        if (output.get() < 0 || ::fstat(output.get(), &head) != 0)
            return abandon(QStringLiteral("cannot write the copy: %1").arg(systemError()));
        const QString copyProblem =
            copyFileRange(input.get(), *mediaData, output.get(), head.st_size, -1);
        if (!copyProblem.isEmpty())
            return abandon(QStringLiteral("%1 (%2)").arg(copyProblem, folder));
    }

    {
        // Flush the tagged copy before any name points at it.
        const FileDescriptor written(
            ::open(QFile::encodeName(temp).constData(), O_RDONLY | O_CLOEXEC));
        if (written.get() < 0 || ::fsync(written.get()) != 0)
            return abandon(QStringLiteral("cannot flush the copy: %1").arg(systemError()));
    }

    // Take the first free name; another process may take a name at the same moment, and a
    // rename that does not replace tells which of them got it.
    QString taken;
    for (int n = 1; taken.isEmpty(); ++n) {
        const QString candidate = n == 1 ? relative : LibraryFiling::numbered(relative, n);
        if (n > 10000)
            return abandon(QStringLiteral("too many items named %1").arg(relative));
        const QString target = m_folder + QLatin1Char('/') + candidate;
        if (exists(target))
            continue;
        if (!catalogue->setCandidate(id, candidate, &problem))
            return abandon(problem);
        if (::renameat2(AT_FDCWD, QFile::encodeName(temp).constData(), AT_FDCWD,
                        QFile::encodeName(target).constData(), RENAME_NOREPLACE) == 0) {
            taken = candidate;
        } else if (errno != EEXIST) {
            return abandon(
                QStringLiteral("cannot file the item as %1: %2").arg(target, systemError()));
        }
    }
    syncDirectory(folder);
    if (!catalogue->finishItem(id, &problem)) {
        // The file is complete; the next recovery finishes its row.
        return ImportOutcome::failure(problem);
    }
    return {ImportOutcome::Status::Imported, m_folder + QLatin1Char('/') + taken, id, QString()};
}

QString MediaLibrary::recover() {
    if (!QFileInfo::exists(catalogueFile()))
        return QString();
    QString problem;
    std::unique_ptr<LibraryCatalogue> catalogue = LibraryCatalogue::open(catalogueFile(), &problem);
    return catalogue ? recoverPending(*catalogue, m_folder) : problem;
}

QList<QVariantMap> MediaLibrary::items(QString* problem) const {
    if (!QFileInfo::exists(catalogueFile()))
        return {};
    std::unique_ptr<LibraryCatalogue> catalogue = LibraryCatalogue::open(catalogueFile(), problem);
    return catalogue ? catalogue->items(problem) : QList<QVariantMap>();
}

} // namespace tolvane

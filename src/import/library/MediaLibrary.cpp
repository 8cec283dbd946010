#include "import/library/MediaLibrary.h"

#include "imaging/ImageDecoder.h"
#include "import/library/LibraryCatalogue.h"
#include "import/library/LibraryFiling.h"
#include "import/library/MediaStructure.h"
#include "import/library/Mp4Layout.h"
#include "import/library/TagWriter.h"
#include "platform/FileCopy.h"
#include "platform/FileDescriptor.h"
#include "platform/Paths.h"
#include "platform/PropertyList.h"
#include "platform/RegularFile.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <taglib/fileref.h>
#include <unistd.h>

namespace tolvane {

namespace {

// What the system said, with its error number kept for the screens.
Failure systemFailure(const QString& what, const QString& path) {
    const int error = errno;
    return Failure(QStringLiteral("%1: %2").arg(what, QString::fromLocal8Bit(std::strerror(error))),
                   path, error);
}

// A folder's new entry on the disk; a failure only weakens what a power cut leaves.
Status syncDirectory(const QString& directory) {
    const FileDescriptor fd(
        ::open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY));
    if (fd.get() < 0 || ::fsync(fd.get()) != 0)
        return systemFailure(QStringLiteral("the folder cannot be flushed"), directory);
    return {};
}

bool exists(const QString& path) {
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}

// Creates the folders of a path that are missing; the ones it made, deepest first.
Result<QStringList> makeFolders(const QString& folder) {
    QStringList made;
    QString existing = folder;
    while (!existing.isEmpty() && !QFileInfo(existing).exists()) {
        made.prepend(existing);
        existing = QFileInfo(existing).path();
    }
    for (const QString& path : std::as_const(made)) {
        if (::mkdir(QFile::encodeName(path).constData(), 0755) != 0 && errno != EEXIST)
            return systemFailure(QStringLiteral("the library folder cannot be made"), path);
    }
    if (!QFileInfo(folder).isDir())
        return Failure(QStringLiteral("the library folder is not a folder"), folder);
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

qint64 durationOf(const QString& path, const Tags& metadata) {
    const TagLib::FileRef ref(QFile::encodeName(path).constData(), true,
                              TagLib::AudioProperties::Fast);
    if (!ref.isNull() && ref.audioProperties())
        return ref.audioProperties()->lengthInMilliseconds();
    return metadata.duration ? qint64(*metadata.duration) : -1;
}

// Finishes or removes the pending rows of processes that have died.
Status recoverPending(LibraryCatalogue& catalogue, const QString& libraryFolder) {
    const Result<QList<LibraryCatalogue::Pending>> pending = catalogue.pendingItems();
    if (!pending)
        return pending.failure();
    for (const LibraryCatalogue::Pending& item : *pending) {
        if (LibraryCatalogue::ownerAlive(item.ownerPid, item.ownerStart))
            continue; // still at work
        Status recovered;
        if (!item.tempPath.isEmpty() && exists(item.tempPath)) {
            // The copy never got its name: it may be incomplete or unflushed.
            ::unlink(QFile::encodeName(item.tempPath).constData());
            recovered = catalogue.removeItem(item.id);
        } else if (!item.candidate.isEmpty() &&
                   exists(libraryFolder + QLatin1Char('/') + item.candidate)) {
            // The copy is gone and its name exists: the rename happened, the item is complete.
            recovered = catalogue.finishItem(item.id);
        } else {
            recovered = catalogue.removeItem(item.id);
        }
        if (!recovered)
            return recovered;
    }
    return {};
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
    return Paths::defaultLibraryFolder();
}

QString MediaLibrary::catalogueFile() const {
    return m_folder + QLatin1Char('/') + QLatin1String(catalogueFileName);
}

Result<LibraryItem> MediaLibrary::importFile(const ImportRecord& record) {
    const QString source = record.path.value_or(QString());
    if (source.isEmpty())
        return Failure(QStringLiteral("the record names no file (no \"path\")"));

    // Never a FIFO (which would block), a device or a file the kernel makes up.
    const Result<FileDescriptor> input = RegularFile::openForReading(source);
    if (!input) {
        return Failure(QStringLiteral("cannot be read: %1").arg(input.failure().message()), source,
                       input.failure().systemError());
    }
    // The tag library trusts the sizes in the file's framing; a damaged one is refused before
    // anything is written.
    if (const Status framing = MediaStructure::check(input->get()); !framing)
        return Failure(framing.failure().message(), source);

    if (const Result<QStringList> root = makeFolders(m_folder); !root)
        return root.failure();
    if (::access(QFile::encodeName(m_folder).constData(), W_OK) != 0)
        return systemFailure(QStringLiteral("the library folder cannot be written"), m_folder);
    Result<std::unique_ptr<LibraryCatalogue>> opened = LibraryCatalogue::open(catalogueFile());
    if (!opened)
        return opened.failure();
    const std::unique_ptr<LibraryCatalogue> catalogue = std::move(opened).value();
    ignoreFailure(recoverPending(*catalogue, m_folder),
                  "what earlier imports left is tidied up by a later one when this one cannot");

    const QString relative = LibraryFiling::relativePath(record);
    const QString folder = QFileInfo(m_folder + QLatin1Char('/') + relative).path();
    const Result<QStringList> madeFolders = makeFolders(folder);
    if (!madeFolders)
        return madeFolders.failure();

    const QString temp = folder + QStringLiteral("/.tolvane-import-") +
                         QUuid::createUuid().toString(QUuid::WithoutBraces) +
                         QStringLiteral(".part");
    // What the item holds is recorded with its pending row, so that an item found complete
    // after a crash has its row in full.
    const Tags& metadata = record.metadata;
    LibraryCatalogue::Item item;
    item.kind = record.mediaKind.value_or(QString());
    item.metadata = metadata;
    item.metadata.artwork.reset();
    // No path yet: a pending row's path names only a rename that was tried.
    item.sourcePath = source;
    item.durationMs = durationOf(source, metadata);
    describeArtwork(metadata.artwork.value_or(QByteArray()), item);
    const Result<qint64> begun = catalogue->beginItem(temp, item);
    if (!begun) {
        removeEmptyFolders(*madeFolders);
        return begun.failure();
    }
    const qint64 id = *begun;
    const auto abandon = [&](const Failure& cause) -> Result<LibraryItem> {
        ::unlink(QFile::encodeName(temp).constData());
        ignoreFailure(catalogue->removeItem(id),
                      "a row left behind is removed by the next import's recovery");
        removeEmptyFolders(*madeFolders);
        return cause;
    };

    // A file whose tags sit before its media data is tagged by its head alone, so that the
    // tag library never moves the media data; everything else is copied whole, then tagged.
    const std::optional<qint64> mediaData = mediaDataAfterMovie(input->get());
    {
        const FileDescriptor output(::open(QFile::encodeName(temp).constData(),
                                           O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
        if (!output.isOpen())
            return abandon(
                systemFailure(QStringLiteral("the library folder cannot be written"), folder));
        const Status copied = mediaData
                                  ? copyFileRange(input->get(), 0, output.get(), 0, *mediaData)
                                  : copyFileContents(input->get(), output.get());
        if (!copied)
            return abandon(
                Failure(copied.failure().message(), folder, copied.failure().systemError()));
    }

    const Result<TagWriter::Written> tagged =
        TagWriter::write(temp, record.mediaKind.value_or(QString()), record.metadata);
    if (!tagged)
        return abandon(tagged.failure());

    if (mediaData) {
        const FileDescriptor output(
            ::open(QFile::encodeName(temp).constData(), O_WRONLY | O_CLOEXEC));
        struct stat head {};
        if (!output.isOpen() || ::fstat(output.get(), &head) != 0)
            return abandon(systemFailure(QStringLiteral("the copy cannot be written"), temp));
        const Status copied =
            copyFileRange(input->get(), *mediaData, output.get(), head.st_size, -1);
        if (!copied)
            return abandon(
                Failure(copied.failure().message(), folder, copied.failure().systemError()));
    }

    {
        // Flush the tagged copy before any name points at it.
        const FileDescriptor copy(
            ::open(QFile::encodeName(temp).constData(), O_RDONLY | O_CLOEXEC));
        if (!copy.isOpen() || ::fsync(copy.get()) != 0)
            return abandon(systemFailure(QStringLiteral("the copy cannot be flushed"), temp));
    }

    // Take the first free name; another process may take a name at the same moment, and a
    // rename that does not replace tells which of them got it.
    QString taken;
    for (int n = 1; taken.isEmpty(); ++n) {
        const QString candidate = n == 1 ? relative : LibraryFiling::numbered(relative, n);
        if (n > 10000)
            return abandon(Failure(QStringLiteral("too many items of this name"), relative));
        const QString target = m_folder + QLatin1Char('/') + candidate;
        if (exists(target))
            continue;
        if (Status recorded = catalogue->setCandidate(id, candidate); !recorded)
            return abandon(recorded.failure());
        if (::renameat2(AT_FDCWD, QFile::encodeName(temp).constData(), AT_FDCWD,
                        QFile::encodeName(target).constData(), RENAME_NOREPLACE) == 0) {
            taken = candidate;
        } else if (errno != EEXIST) {
            return abandon(systemFailure(QStringLiteral("the item cannot be filed"), target));
        }
    }
    ignoreFailure(syncDirectory(folder),
                  "the item is filed whole; only its name may wait for the disk a little longer");
    // When the row cannot be finished, the file is complete and the next recovery finishes it.
    if (Status finished = catalogue->finishItem(id); !finished)
        return finished.failure();
    return LibraryItem{m_folder + QLatin1Char('/') + taken, id,
                       *tagged == TagWriter::Written::Tags};
}

Status MediaLibrary::recover() {
    if (!QFileInfo::exists(catalogueFile()))
        return {};
    Result<std::unique_ptr<LibraryCatalogue>> catalogue = LibraryCatalogue::open(catalogueFile());
    if (!catalogue)
        return catalogue.failure();
    return recoverPending(*catalogue.value(), m_folder);
}

Result<QList<QVariantMap>> MediaLibrary::items() const {
    if (!QFileInfo::exists(catalogueFile()))
        return QList<QVariantMap>();
    Result<std::unique_ptr<LibraryCatalogue>> catalogue = LibraryCatalogue::open(catalogueFile());
    if (!catalogue)
        return catalogue.failure();
    return catalogue.value()->items();
}

} // namespace tolvane

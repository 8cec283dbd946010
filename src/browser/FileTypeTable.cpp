#include "FileTypeTable.h"

#include "platform/PathString.h"
#include "platform/Paths.h"

#include <QFile>
#include <QLoggingCategory>
#include <QMutex>
#include <QMutexLocker>

#include <sys/stat.h>

namespace tolvane {

namespace {
Q_LOGGING_CATEGORY(lcFileTypes, "tolvane.filetypes")
} // namespace

const QString FileTypeTable::unknownIconFile = QStringLiteral("unknown.png");
const QString FileTypeTable::folderIconFile = QStringLiteral("folder.png");

namespace {

const QString pngSuffix = QStringLiteral(".png");

// What identifies one version of the table file on disk.
struct FileStamp {
    bool exists = false;
    qint64 size = 0;
    qint64 modifiedNs = 0;
    quint64 inode = 0;
    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

FileStamp stampOf(const QByteArray& encodedPath) {
    struct stat info {};
    if (::stat(encodedPath.constData(), &info) != 0)
        return {};
    return FileStamp{true, qint64(info.st_size),
                     qint64(info.st_mtim.tv_sec) * 1000000000 + info.st_mtim.tv_nsec,
                     quint64(info.st_ino)};
}

struct CachedTable {
    QString path;
    QByteArray encodedPath;
    FileStamp stamp;
    std::shared_ptr<const FileTypeTable> table;
};

} // namespace

FileTypeTable::FileTypeTable(QList<Entry> entries)
    : m_entries(std::move(entries)) {
    for (const Entry& entry : std::as_const(m_entries)) {
        const QString icon = entry.icon.value_or(QStringLiteral("unknown"));
        for (const QString& extension : entry.extensions) {
            m_map.insert(extension, icon);
            m_listingIconFiles.insert(extension, icon + pngSuffix);
        }
    }
}

FileTypeTable FileTypeTable::fromDictionary(const OrderedDictionary& root) {
    QList<Entry> entries;
    for (const auto& [label, value] : root) {
        Q_UNUSED(label);
        if (value.typeId() != QMetaType::QVariantMap)
            continue;
        const QVariantMap fields = value.toMap();
        Entry entry;
        const QVariant extensions = fields.value(QStringLiteral("extensions"));
        if (extensions.typeId() == QMetaType::QVariantList) {
            for (const QVariant& item : extensions.toList()) {
                if (item.typeId() == QMetaType::QString)
                    entry.extensions.append(item.toString());
            }
        }
        const QVariant icon = fields.value(QStringLiteral("icon"));
        if (icon.typeId() == QMetaType::QString)
            entry.icon = icon.toString();
        entries.append(entry);
    }
    return FileTypeTable(std::move(entries));
}

std::shared_ptr<const FileTypeTable> FileTypeTable::installed() {
    return load(Paths::fileTypeTable());
}

std::shared_ptr<const FileTypeTable> FileTypeTable::load(const QString& path) {
    static QMutex mutex;
    static CachedTable cache;

    // The table is asked for every row drawn: one stat() is all an unchanged table costs.
    QMutexLocker lock(&mutex);
    const bool samePath = cache.table && cache.path == path;
    const QByteArray encodedPath = samePath ? cache.encodedPath : QFile::encodeName(path);
    const FileStamp stamp = stampOf(encodedPath);
    if (samePath && cache.stamp == stamp)
        return cache.table;

    std::optional<OrderedDictionary> root;
    if (stamp.exists) {
        Result<OrderedDictionary> read = PropertyListReader::readOrderedDictionary(path);
        if (read)
            root = std::move(read).value();
        else
            qCWarning(lcFileTypes).noquote() << read.errorText();
    }
    cache = CachedTable{
        path, encodedPath, stamp,
        std::make_shared<const FileTypeTable>(root ? fromDictionary(*root) : FileTypeTable())};
    return cache.table;
}

QString FileTypeTable::iconFileForExtension(const QString& extension) const {
    const QString wanted = extension.toLower();
    for (const Entry& entry : m_entries) {
        if (entry.extensions.contains(wanted))
            return entry.icon ? *entry.icon + pngSuffix : unknownIconFile;
    }
    return unknownIconFile;
}

QString FileTypeTable::listingIconFile(const QString& name, bool isDirectory) const {
    if (isDirectory)
        return folderIconFile;
    const auto found = m_listingIconFiles.constFind(PathString::pathExtension(name).toLower());
    return found == m_listingIconFiles.cend() ? unknownIconFile : *found;
}

} // namespace tolvane

#include "DirectoryListModel.h"

#include "browser/DirectoryListing.h"
#include "browser/ExportabilityCache.h"
#include "browser/FileTypeTable.h"

#include <QFile>
#include <QLoggingCategory>

namespace tolvane {

namespace {
Q_LOGGING_CATEGORY(lcListing, "tolvane.listing")
}

DirectoryListModel::DirectoryListModel(const QString& path, ExportabilityCache* cache,
                                       QObject* parent)
    : DirectoryListModel(path, ListingOrder::current(), cache, parent) {}

DirectoryListModel::DirectoryListModel(const QString& path, ListingOrder::Kind order,
                                       ExportabilityCache* cache, QObject* parent)
    : QAbstractListModel(parent)
    , m_path(path)
    , m_nativePath(QFile::encodeName(path))
    , m_cache(cache)
    , m_order(order) {
    if (m_cache)
        connect(m_cache, &ExportabilityCache::answered, this, &DirectoryListModel::takeAnswer);
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(refreshIntervalMs);
    connect(&m_refresh, &QTimer::timeout, this, &DirectoryListModel::rebuildFileList);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this,
            &DirectoryListModel::folderChanged);
    rebuildFileList();
}

void DirectoryListModel::follow() {
    if (m_path.isEmpty() || isFollowingFolder())
        return;
    if (!m_watcher.addPath(m_path)) {
        qCWarning(lcListing).noquote()
            << QStringLiteral("%1: changes are not followed (the folder is gone, unreadable, or "
                              "the system's limit of watched folders is reached); refresh the "
                              "listing to read it again")
                   .arg(m_path);
    }
}

void DirectoryListModel::folderChanged() {
    // The first change of a burst starts the wait; the rest of the burst is read with it.
    if (!m_refresh.isActive())
        m_refresh.start();
}

void DirectoryListModel::setOrder(ListingOrder::Kind order) {
    if (order == m_order)
        return;
    m_order = order;
    rebuildFileList();
}

int DirectoryListModel::rowOfPath(const QString& path) const {
    const QByteArray native = QFile::encodeName(path);
    for (qsizetype row = 0; row < m_files.size(); ++row) {
        if (m_files.at(row).nativePath() == native)
            return int(row);
    }
    return -1;
}

void DirectoryListModel::rebuildFileList() {
    m_refresh.stop();
    follow();
    Result<QList<PSDirectoryPickerEntry>> listed = DirectoryListing::rebuildFileList(m_nativePath);
    if (!listed)
        qCInfo(lcListing).noquote() << listed.errorText() << "(listed as empty)";
    QList<PSDirectoryPickerEntry> files = std::move(listed).valueOr({});
    ListingOrder::sort(files, m_order);

    beginResetModel();
    m_table = FileTypeTable::installed();
    m_files = std::move(files);
    m_answers.assign(size_t(m_files.size()), Answer::Unknown);
    m_asked.clear();
    endResetModel();
    Q_EMIT rebuilt();
}

int DirectoryListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_files.size());
}

QVariant DirectoryListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= m_files.size())
        return {};
    const PSDirectoryPickerEntry& entry = m_files.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return entry.name();
    case PathRole:
        return entry.path();
    case IsDirRole:
        return entry.isDir();
    case IconFileRole:
        if (m_table)
            return m_table->listingIconFile(entry.name(), entry.isDir());
        return entry.isDir() ? FileTypeTable::folderIconFile : FileTypeTable::unknownIconFile;
    case EnabledRole: {
        if (entry.isDir())
            return true;
        const Answer answer = m_answers[size_t(index.row())];
        if (answer != Answer::Unknown)
            return answer == Answer::Yes;
        if (m_cache) {
            m_asked.insert(entry.nativePath(), index.row());
            m_cache->request(entry.nativePath());
        }
        return {};
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> DirectoryListModel::roleNames() const {
    QHash<int, QByteArray> names = QAbstractListModel::roleNames();
    names.insert(PathRole, "path");
    names.insert(IsDirRole, "isDir");
    names.insert(IconFileRole, "icon");
    names.insert(EnabledRole, "enabled");
    return names;
}

void DirectoryListModel::takeAnswer(const QByteArray& nativePath, bool exportable) {
    const auto found = m_asked.constFind(nativePath);
    if (found == m_asked.cend())
        return;
    const int row = *found;
    m_asked.erase(found);
    if (row >= m_files.size() || m_files.at(row).nativePath() != nativePath)
        return;
    m_answers[size_t(row)] = exportable ? Answer::Yes : Answer::No;
    const QModelIndex changed = index(row);
    Q_EMIT dataChanged(changed, changed, {EnabledRole});
}

} // namespace tolvane

#include "DirectoryListModel.h"

#include "browser/DirectoryListing.h"
#include "browser/ExportabilityCache.h"
#include "browser/FileTypeTable.h"

#include <QFile>

namespace tolvane {

DirectoryListModel::DirectoryListModel(const QString& path, ExportabilityCache* cache,
                                       QObject* parent)
    : QAbstractListModel(parent)
    , m_path(path)
    , m_nativePath(QFile::encodeName(path))
    , m_cache(cache) {
    if (m_cache)
        connect(m_cache, &ExportabilityCache::answered, this, &DirectoryListModel::takeAnswer);
    rebuildFileList();
}

void DirectoryListModel::rebuildFileList() {
    beginResetModel();
    m_table = FileTypeTable::installed();
    const Result<QList<PSDirectoryPickerEntry>> listed =
        DirectoryListing::rebuildFileList(m_nativePath);
    ignoreFailure(listed, "an unreadable folder lists as empty");
    m_files = listed.valueOr({});
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

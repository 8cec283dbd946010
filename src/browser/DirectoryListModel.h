#pragma once

#include "browser/PSDirectoryPickerEntry.h"

#include <QAbstractListModel>
#include <QHash>
#include <QPointer>

#include <memory>
#include <vector>

namespace tolvane {

class ExportabilityCache;
class FileTypeTable;

// One folder's listing as rows: the entry's name, its icon file (the map rule of the
// file-type table; "folder.png" for folders), whether it is a folder, and whether its title
// is enabled. A folder's title is enabled at once; a file's stays disabled until the cache
// answers that it is exportable. Only rows whose enabled state is asked for (the rows drawn)
// are looked into, and a row changes when its answer arrives.
class DirectoryListModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role {
        PathRole = Qt::UserRole + 1,
        IsDirRole,
        IconFileRole,
        // True, false, or no value while the answer is awaited (drawn disabled).
        EnabledRole,
    };

    explicit DirectoryListModel(const QString& path, ExportabilityCache* cache = nullptr,
                                QObject* parent = nullptr);

    QString path() const { return m_path; }
    const QList<PSDirectoryPickerEntry>& files() const { return m_files; }
    PSDirectoryPickerEntry entryAt(int row) const { return m_files.value(row); }

    // Reads the folder again and resets the rows.
    void rebuildFileList();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void rebuilt();

private:
    enum class Answer : quint8 { Unknown, Yes, No };
    void takeAnswer(const QByteArray& nativePath, bool exportable);

    QString m_path;
    QByteArray m_nativePath;
    QPointer<ExportabilityCache> m_cache;
    std::shared_ptr<const FileTypeTable> m_table;
    QList<PSDirectoryPickerEntry> m_files;
    std::vector<Answer> m_answers;
    // Rows asked about, by path, so that an answer finds its row.
    mutable QHash<QByteArray, int> m_asked;
};

} // namespace tolvane

#pragma once

#include "browser/ListingOrder.h"
#include "browser/PSDirectoryPickerEntry.h"

#include <QAbstractListModel>
#include <QFileSystemWatcher>
#include <QHash>
#include <QPointer>
#include <QTimer>

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
//
// The rows follow the folder: a change on disk reads it again, at most once per refresh
// interval however many files arrive at once. A folder that cannot be watched (the system's
// limit of watches reached, or the folder gone) is said in the log and is read again only when
// asked.
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

    // The rows in the order the preferences choose.
    explicit DirectoryListModel(const QString& path, ExportabilityCache* cache = nullptr,
                                QObject* parent = nullptr);
    DirectoryListModel(const QString& path, ListingOrder::Kind order, ExportabilityCache* cache,
                       QObject* parent = nullptr);

    static constexpr int refreshIntervalMs = 100;

    QString path() const { return m_path; }
    const QList<PSDirectoryPickerEntry>& files() const { return m_files; }
    PSDirectoryPickerEntry entryAt(int row) const { return m_files.value(row); }

    // Reads the folder again and resets the rows; watches it again if the watch was lost.
    void rebuildFileList();

    ListingOrder::Kind order() const { return m_order; }
    // Orders the rows anew.
    void setOrder(ListingOrder::Kind order);
    // Whether changes on disk reach the rows by themselves.
    bool isFollowingFolder() const { return m_watcher.directories().contains(m_path); }
    // The row of an entry, by path; -1 when it is not listed.
    int rowOfPath(const QString& path) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    void rebuilt();

private:
    enum class Answer : quint8 { Unknown, Yes, No };
    void takeAnswer(const QByteArray& nativePath, bool exportable);
    void follow();
    void folderChanged();

    QString m_path;
    QByteArray m_nativePath;
    QPointer<ExportabilityCache> m_cache;
    std::shared_ptr<const FileTypeTable> m_table;
    ListingOrder::Kind m_order;
    QFileSystemWatcher m_watcher;
    QTimer m_refresh;
    QList<PSDirectoryPickerEntry> m_files;
    std::vector<Answer> m_answers;
    // Rows asked about, by path, so that an answer finds its row.
    mutable QHash<QByteArray, int> m_asked;
};

} // namespace tolvane

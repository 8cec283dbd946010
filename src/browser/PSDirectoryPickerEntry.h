#pragma once

#include <QByteArray>
#include <QString>

namespace tolvane {

// One listed entry of a folder, made by the listing and never changed afterwards. Besides the
// path and name as text, it keeps the bytes the file system gave, so that a name that is not
// valid in the file-name encoding can still be opened and removed.
class PSDirectoryPickerEntry {
public:
    PSDirectoryPickerEntry() = default;
    PSDirectoryPickerEntry(const QString& path, const QString& name, bool dir);
    PSDirectoryPickerEntry(const QByteArray& nativePath, qsizetype nameOffset, bool dir);

    QString path() const;
    QString name() const;
    bool isDir() const { return m_dir; }
    const QByteArray& nativePath() const { return m_nativePath; }

private:
    QByteArray m_nativePath;
    // Where the name starts in the native path: names are not stored twice.
    qsizetype m_nameOffset = 0;
    bool m_dir = false;
};

} // namespace tolvane

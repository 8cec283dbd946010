#include "PSDirectoryPickerEntry.h"

#include <QFile>

namespace tolvane {

PSDirectoryPickerEntry::PSDirectoryPickerEntry(const QString& path, const QString& name, bool dir)
    : m_nativePath(QFile::encodeName(path))
    , m_nameOffset(qMax<qsizetype>(0, m_nativePath.size() - QFile::encodeName(name).size()))
    , m_dir(dir) {}

PSDirectoryPickerEntry::PSDirectoryPickerEntry(const QByteArray& nativePath, qsizetype nameOffset,
                                               bool dir)
    : m_nativePath(nativePath)
    , m_nameOffset(nameOffset)
    , m_dir(dir) {}

QString PSDirectoryPickerEntry::path() const {
    return QFile::decodeName(m_nativePath);
}

QString PSDirectoryPickerEntry::name() const {
    return QFile::decodeName(m_nativePath.mid(m_nameOffset));
}

} // namespace tolvane

#pragma once

// A small file system of its own for a test: a tmpfs mounted on a temporary folder, so that a
// test can meet another file system, a full disk or a read-only one. Mounting needs the right
// to mount (root, as CI runs); without it isMounted() is false and the test skips.

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <sys/mount.h>

namespace tolvane::test {

class ScopedMount {
public:
    enum class Access { ReadWrite, ReadOnly };

    explicit ScopedMount(qint64 bytes, Access access = Access::ReadWrite) {
        if (!m_dir.isValid())
            return;
        const QByteArray options = "size=" + QByteArray::number(bytes) + ",mode=0755";
        const unsigned long flags = access == Access::ReadOnly ? MS_RDONLY : 0;
        m_mounted = ::mount("tmpfs", QFile::encodeName(m_dir.path()).constData(), "tmpfs", flags,
                            options.constData()) == 0;
    }
    ~ScopedMount() {
        if (m_mounted)
            ::umount2(QFile::encodeName(m_dir.path()).constData(), MNT_DETACH);
    }
    ScopedMount(const ScopedMount&) = delete;
    ScopedMount& operator=(const ScopedMount&) = delete;

    bool isMounted() const { return m_mounted; }
    QString path() const { return m_dir.path(); }
    QString filePath(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
    bool m_mounted = false;
};

} // namespace tolvane::test

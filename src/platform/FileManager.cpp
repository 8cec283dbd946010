#include "FileManager.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace tolvane {

FileManager::FileManager(const QDBusConnection& bus, QObject* parent)
    : QObject(parent)
    , m_bus(bus) {}

void FileManager::showItem(const QString& path) {
    if (!m_bus.isConnected()) {
        openFolder(path);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, answerTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, path](QDBusPendingCallWatcher* w) {
                const QDBusPendingReply<> reply = *w;
                if (reply.isError())
                    openFolder(path);
                else
                    Q_EMIT shownInFileManager(path);
                w->deleteLater();
            });
}

void FileManager::openFolder(const QString& path) {
    const QString folder = QFileInfo(path).absolutePath();
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
    Q_EMIT openedFolder(folder);
}

} // namespace tolvane

#pragma once

#include <QDBusConnection>
#include <QObject>

namespace tolvane {

// Shows a file in the desktop's file manager, selected in its folder, through the freedesktop
// file-manager interface; where no file manager answers it, the folder is opened instead.
// Nothing waits for the answer.
class FileManager : public QObject {
    Q_OBJECT
public:
    static constexpr int answerTimeoutMs = 5000;

    explicit FileManager(const QDBusConnection& bus = QDBusConnection::sessionBus(),
                         QObject* parent = nullptr);

    void showItem(const QString& path);

Q_SIGNALS:
    // How the item was shown: in the file manager, or by opening its folder.
    void shownInFileManager(const QString& path);
    void openedFolder(const QString& folder);

private:
    void openFolder(const QString& path);

    QDBusConnection m_bus;
};

} // namespace tolvane

#include "Paths.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>

namespace tolvane {

namespace {

// The system's data is installed beside the program when the device's own folder is absent.
QString defaultSystemRoot() {
    const QString device = QStringLiteral("/Library");
    if (QFileInfo::exists(device + QStringLiteral("/Application Support/Tolvane")))
        return device;
    return QStringLiteral(TOLVANE_INSTALLED_SYSTEM_ROOT);
}

struct Roots {
    QString device;
    QString user = QStringLiteral("/var/mobile");
    QString system = defaultSystemRoot();
};

QMutex& rootsMutex() {
    static QMutex mutex;
    return mutex;
}

Roots& roots() {
    static Roots value;
    return value;
}

Roots snapshot() {
    QMutexLocker lock(&rootsMutex());
    return roots();
}

QString joined(const QString& base, const char* tail) {
    return QDir::cleanPath(base + QLatin1Char('/') + QLatin1String(tail));
}

} // namespace

QString Paths::userRoot() {
    return snapshot().user;
}

QString Paths::systemRoot() {
    return snapshot().system;
}

QString Paths::deviceRoot() {
    return snapshot().device;
}

void Paths::setDeviceRoot(const QString& deviceFolder) {
    const QString device = QDir::cleanPath(QFileInfo(deviceFolder).absoluteFilePath());
    QMutexLocker lock(&rootsMutex());
    roots().device = device;
    roots().user = joined(device, "var/mobile");
    roots().system = joined(device, "Library");
}

void Paths::setRoots(const QString& userRoot, const QString& systemRoot) {
    QMutexLocker lock(&rootsMutex());
    roots().device.clear();
    roots().user = QDir::cleanPath(userRoot);
    roots().system = QDir::cleanPath(systemRoot);
}

bool Paths::configureFromEnvironment() {
    const QString root = qEnvironmentVariable("TOLVANE_ROOT");
    if (root.isEmpty())
        return false;
    setDeviceRoot(root);
    return true;
}

QString Paths::preferencesFolder() {
    return joined(userRoot(), "Library/Preferences");
}

QString Paths::preferencesFile() {
    return joined(preferencesFolder(), preferencesFileName);
}

QString Paths::defaultDestinationFolder() {
    return joined(userRoot(), "Downloads");
}

QString Paths::applicationSupportFolder() {
    return joined(systemRoot(), "Application Support/Tolvane");
}

QString Paths::fileTypeTable() {
    return joined(applicationSupportFolder(), "fileTypes.plist");
}

QString Paths::imagesFolder() {
    return joined(applicationSupportFolder(), "Images");
}

QString Paths::iconsFolder() {
    return joined(imagesFolder(), "icons-hd");
}

QString Paths::photoLibraryFolder() {
    return joined(userRoot(), "Media/DCIM");
}

QString Paths::inboxFolder() {
    return joined(userRoot(), "Documents/Inbox");
}

QString Paths::userRootFirstComponent() {
    const QStringList parts = userRoot().split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return parts.isEmpty() ? QString() : parts.first();
}

} // namespace tolvane

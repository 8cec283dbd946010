#include "Paths.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>
#include <QStandardPaths>

#include <utility>

namespace tolvane {

namespace {

QString joined(const QString& base, const char* tail) {
    return QDir::cleanPath(base + QLatin1Char('/') + QLatin1String(tail));
}

// The folder the running program lives in, without needing an application object.
QString programFolder() {
    const QString program = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
    return program.isEmpty() ? QString() : QFileInfo(program).path();
}

// The system's data: the device's own "/Library" when it has Tolvane's folder, else the data
// installed beside the program (PREFIX/bin beside PREFIX/share, or build/src/<area> beside
// build/share), so that an install into any prefix, or a moved one, finds it.
QString defaultSystemRoot() {
    const QString device = QStringLiteral("/Library");
    if (QFileInfo::exists(device + QStringLiteral("/Application Support/Tolvane")))
        return device;
    return Paths::installedDataFolder();
}

// An XDG base folder: the variable when it holds an absolute path (a relative one is ignored,
// as the rules say), else the folder under the home.
QString xdgFolder(const char* variable, const char* underHome) {
    const QString value = qEnvironmentVariable(variable);
    if (!value.isEmpty() && QDir::isAbsolutePath(value))
        return QDir::cleanPath(value);
    return joined(QDir::homePath(), underHome);
}

QString standardFolder(QStandardPaths::StandardLocation location, const char* underHome) {
    const QString folder = QStandardPaths::writableLocation(location);
    return folder.isEmpty() ? joined(QDir::homePath(), underHome) : QDir::cleanPath(folder);
}

struct Roots {
    QString device; // the device folder, or empty
    bool desktop = false;
    QString user;
    QString system;
    // The desktop layout's own folders; empty in a device layout.
    QString config, cache, data, downloads, pictures;
};

Roots desktopRoots() {
    Roots roots;
    roots.desktop = true;
    roots.user = QDir::cleanPath(QDir::homePath());
    roots.system = defaultSystemRoot();
    roots.config = xdgFolder("XDG_CONFIG_HOME", ".config");
    roots.cache = xdgFolder("XDG_CACHE_HOME", ".cache");
    roots.data = xdgFolder("XDG_DATA_HOME", ".local/share");
    // These follow the desktop's own names for them (user-dirs.dirs).
    roots.downloads = standardFolder(QStandardPaths::DownloadLocation, "Downloads");
    roots.pictures = standardFolder(QStandardPaths::PicturesLocation, "Pictures");
    return roots;
}

QMutex& rootsMutex() {
    static QMutex mutex;
    return mutex;
}

Roots& roots() {
    static Roots value = desktopRoots();
    return value;
}

Roots snapshot() {
    QMutexLocker lock(&rootsMutex());
    return roots();
}

} // namespace

QString Paths::installedDataFolder() {
    const QString program = programFolder();
    if (!program.isEmpty()) {
        for (const char* relative : {"/../share/tolvane", "/../../share/tolvane"}) {
            const QString candidate = QDir::cleanPath(program + QLatin1String(relative));
            if (QFileInfo::exists(candidate + QStringLiteral("/Application Support/Tolvane")))
                return candidate;
        }
    }
    return QStringLiteral(TOLVANE_INSTALLED_SYSTEM_ROOT);
}

void Paths::useDesktopLayout() {
    Roots desktop = desktopRoots();
    QMutexLocker lock(&rootsMutex());
    roots() = std::move(desktop);
}

bool Paths::isDesktopLayout() {
    return snapshot().desktop;
}

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
    Roots layout;
    layout.device = device;
    layout.user = joined(device, "var/mobile");
    layout.system = joined(device, "Library");
    QMutexLocker lock(&rootsMutex());
    roots() = std::move(layout);
}

void Paths::setRoots(const QString& userRoot, const QString& systemRoot) {
    Roots layout;
    layout.user = QDir::cleanPath(userRoot);
    layout.system = QDir::cleanPath(systemRoot);
    QMutexLocker lock(&rootsMutex());
    roots() = std::move(layout);
}

bool Paths::configureFromEnvironment() {
    const QString root = qEnvironmentVariable("TOLVANE_ROOT");
    if (root.isEmpty())
        return false;
    setDeviceRoot(root);
    return true;
}

QString Paths::preferencesFolder() {
    const Roots now = snapshot();
    return now.desktop ? joined(now.config, "tolvane") : joined(now.user, "Library/Preferences");
}

QString Paths::preferencesFile() {
    return joined(preferencesFolder(), preferencesFileName);
}

QString Paths::defaultDestinationFolder() {
    const Roots now = snapshot();
    return now.desktop ? now.downloads : joined(now.user, "Downloads");
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
    const Roots now = snapshot();
    return now.desktop ? now.pictures : joined(now.user, "Media/DCIM");
}

QString Paths::inboxFolder() {
    const Roots now = snapshot();
    return now.desktop ? joined(now.data, "tolvane/Inbox") : joined(now.user, "Documents/Inbox");
}

QString Paths::cacheFolder() {
    const Roots now = snapshot();
    return now.desktop ? joined(now.cache, "tolvane") : joined(now.user, "Library/Caches/Tolvane");
}

QString Paths::defaultLibraryFolder() {
    return joined(userRoot(), "Media/Tolvane");
}

QString Paths::userRootFirstComponent() {
    const QStringList parts = userRoot().split(QLatin1Char('/'), Qt::SkipEmptyParts);
    return parts.isEmpty() ? QString() : parts.first();
}

} // namespace tolvane

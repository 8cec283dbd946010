#pragma once

#include <QString>

namespace tolvane {

// Every fixed path of the system, built in one place. Two layouts:
//  - the desktop's (the default): the user root is the home folder, the preferences live in
//    "$XDG_CONFIG_HOME/tolvane", downloads and pictures are the desktop's own folders
//    (user-dirs.dirs), the Inbox is "$XDG_DATA_HOME/tolvane/Inbox", caches
//    "$XDG_CACHE_HOME/tolvane", and the system data is the one installed beside the program;
//  - a device's: the user root "/var/mobile" and the system root "/Library", under a device
//    folder given with --root or TOLVANE_ROOT (which is how the demo and the device-rule
//    checks run; "--root /" is the device itself).
class Paths {
public:
    static QString userRoot();
    static QString systemRoot();

    // The desktop layout, read anew from the environment (HOME, the XDG variables and
    // user-dirs.dirs).
    static void useDesktopLayout();
    static bool isDesktopLayout();
    // DIR/var/mobile and DIR/Library.
    static void setDeviceRoot(const QString& deviceFolder);
    static void setRoots(const QString& userRoot, const QString& systemRoot);
    // Applies TOLVANE_ROOT when set; returns whether it was.
    static bool configureFromEnvironment();
    // The device folder last set, or empty for the real device paths.
    static QString deviceRoot();

    static QString preferencesFolder();
    static QString preferencesFile();
    static QString defaultDestinationFolder();
    static QString applicationSupportFolder();
    static QString fileTypeTable();
    static QString imagesFolder();
    static QString iconsFolder();
    // The user's photo library ("<user root>/Media/DCIM"), where the artwork chooser opens.
    static QString photoLibraryFolder();
    // Where files handed over by other applications are entered before they are opened
    // ("<user root>/Documents/Inbox"): the application works on its own entry, never on the
    // sender's file.
    static QString inboxFolder();
    static QString cacheFolder();
    // The media library's folder when the preferences name none.
    static QString defaultLibraryFolder();
    // The system data installed with the program: PREFIX/share/tolvane beside PREFIX/bin,
    // found from the program's own place, else the prefix it was built for.
    static QString installedDataFolder();

    // The first component of the user root ("var" on the device): the picker starts its
    // stack of folders there.
    static QString userRootFirstComponent();

    static constexpr const char* preferencesFileName = "com.merrowby.tolvaneprefs.plist";
};

} // namespace tolvane

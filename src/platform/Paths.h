#pragma once

#include <QString>

namespace tolvane {

// Every fixed path of the system, built in one place from two roots: the user root (the
// device's "/var/mobile") and the system root (the device's "/Library"). A device folder given
// with --root or TOLVANE_ROOT puts both under it, which is how the demo and the tests run.
class Paths {
public:
    static QString userRoot();
    static QString systemRoot();

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

    // The first component of the user root ("var" on the device): the picker starts its
    // stack of folders there.
    static QString userRootFirstComponent();

    static constexpr const char* preferencesFileName = "com.merrowby.tolvaneprefs.plist";
};

} // namespace tolvane

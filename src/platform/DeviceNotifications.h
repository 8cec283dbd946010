#pragma once

#include <QObject>

namespace tolvane {

// Device events that screens observe, posted from one place: the main window posts an
// orientation change whenever its size changes.
class DeviceNotifications : public QObject {
    Q_OBJECT
public:
    static DeviceNotifications* instance();

    void postOrientationDidChange() { Q_EMIT orientationDidChange(); }

Q_SIGNALS:
    void orientationDidChange();
};

} // namespace tolvane

#include "DeviceNotifications.h"

namespace tolvane {

DeviceNotifications* DeviceNotifications::instance() {
    static DeviceNotifications notifications;
    return &notifications;
}

} // namespace tolvane

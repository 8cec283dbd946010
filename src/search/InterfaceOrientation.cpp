#include "InterfaceOrientation.h"

#include "platform/Device.h"

namespace tolvane {

InterfaceOrientation currentInterfaceOrientation() {
    return Device::current().isLandscape() ? InterfaceOrientation::LandscapeLeft
                                           : InterfaceOrientation::Portrait;
}

} // namespace tolvane

#pragma once

namespace tolvane {

// The orientation the interface is drawn in. The device gives no "unknown" answer here, but
// the layout rules name it, so it is kept.
enum class InterfaceOrientation {
    Unknown = 0,
    Portrait,
    PortraitUpsideDown,
    LandscapeLeft,
    LandscapeRight,
};

inline bool isPortrait(InterfaceOrientation orientation) {
    return orientation == InterfaceOrientation::Portrait ||
           orientation == InterfaceOrientation::PortraitUpsideDown;
}

inline bool isLandscape(InterfaceOrientation orientation) {
    return orientation == InterfaceOrientation::LandscapeLeft ||
           orientation == InterfaceOrientation::LandscapeRight;
}

// The orientation of the device in force: landscape when its screen is wider than tall.
InterfaceOrientation currentInterfaceOrientation();

} // namespace tolvane

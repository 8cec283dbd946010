#pragma once

#include <QColor>
#include <QFont>

namespace tolvane {

// Appearance defaults for all screens, set once at start-up.
struct Appearance {
    QColor tintColor = QColor(47, 145, 252);
    QColor barTintColor = QColor::fromRgbF(0, 0, 0, 0.85f);
    QColor titleColor = QColor(235, 239, 244);
    QFont titleFont;

    static Appearance& shared();
};

} // namespace tolvane

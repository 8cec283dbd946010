#pragma once

#include <QtGlobal>

namespace tolvane {

// Margins around a grid, in points. Compared exactly: a setter that is given the same four
// values changes nothing.
struct EdgeInsets {
    qreal top = 0;
    qreal left = 0;
    qreal bottom = 0;
    qreal right = 0;

    friend bool operator==(const EdgeInsets& a, const EdgeInsets& b) = default;
};

} // namespace tolvane

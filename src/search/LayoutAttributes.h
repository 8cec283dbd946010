#pragma once

#include "search/IndexPath.h"

#include <QRectF>

namespace tolvane {

// Where one cell of a grid goes, in the grid's content coordinates.
struct LayoutAttributes {
    IndexPath indexPath;
    QRectF frame;

    friend bool operator==(const LayoutAttributes& a, const LayoutAttributes& b) {
        return a.indexPath == b.indexPath && a.frame == b.frame;
    }
};

} // namespace tolvane

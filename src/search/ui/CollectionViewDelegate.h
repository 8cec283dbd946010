#pragma once

#include "search/IndexPath.h"

#include <QtGlobal>

namespace tolvane {

class CollectionView;

// What a CollectionView tells about the user's taps.
class CollectionViewDelegate {
public:
    virtual ~CollectionViewDelegate() = default;

    virtual void didSelectItemAtIndexPath(CollectionView* view, IndexPath path) {
        Q_UNUSED(view);
        Q_UNUSED(path);
    }
};

} // namespace tolvane

#pragma once

#include "search/IndexPath.h"

namespace tolvane {

class CollectionView;
class CollectionViewCell;

// What a CollectionView asks of the object that supplies its content.
class CollectionViewDataSource {
public:
    virtual ~CollectionViewDataSource() = default;

    virtual int numberOfSectionsInCollectionView(CollectionView* view) = 0;
    virtual int numberOfItemsInSection(CollectionView* view, int section) = 0;
    // A cell from view->dequeueReusableCellWithReuseIdentifier(), filled for the path.
    virtual CollectionViewCell* cellForItemAtIndexPath(CollectionView* view, IndexPath path) = 0;
};

} // namespace tolvane

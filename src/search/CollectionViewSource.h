#pragma once

#include <QRectF>

namespace tolvane {

// What a grid layout reads of the view it lays out: the visible rectangle in content
// coordinates and how many cells there are.
class CollectionViewSource {
public:
    virtual ~CollectionViewSource() = default;

    virtual QRectF bounds() const = 0;
    virtual int numberOfSections() const = 0;
    virtual int numberOfItemsInSection(int section) const = 0;
};

} // namespace tolvane

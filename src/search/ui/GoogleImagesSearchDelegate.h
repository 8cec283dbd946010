#pragma once

#include <QImage>

namespace tolvane {

// Told by the search results screen about the image the user picked.
class GoogleImagesSearchDelegate {
public:
    virtual ~GoogleImagesSearchDelegate() = default;

    // Called once, with the image the panel showed, just before the screen dismisses itself.
    virtual void googleImagesDidFinishPickingImage(const QImage& image) = 0;
};

} // namespace tolvane

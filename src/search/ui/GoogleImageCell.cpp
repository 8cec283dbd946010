#include "GoogleImageCell.h"

#include "platform/ui/ImageView.h"

namespace tolvane {

GoogleImageCell::GoogleImageCell(QWidget* parent)
    : CollectionViewCell(parent)
    , m_imageView(new ImageView(this)) {
    // Clear: the grid's grey shows around a thumbnail until it arrives.
    setAutoFillBackground(false);
    m_imageView->setGeometry(0, 0, 0, 0);
    m_imageView->setContentMode(ImageView::ContentMode::ScaleAspectFill);
    m_imageView->setClipsToBounds(true);
}

void GoogleImageCell::layoutSubviews() {
    m_imageView->setGeometry(0, 0, width(), width());
}

} // namespace tolvane

#pragma once

#include "search/ui/CollectionViewCell.h"

namespace tolvane {

class ImageView;

// A cell of the results grid: one thumbnail filling a square, cropped to keep its proportions.
class GoogleImageCell : public CollectionViewCell {
    Q_OBJECT
public:
    static QString identifier() { return QStringLiteral("GoogleImageCell"); }

    explicit GoogleImageCell(QWidget* parent = nullptr);

    ImageView* imageView() const { return m_imageView; }

protected:
    // The image view is a square as wide as the cell, whatever the cell's height.
    void layoutSubviews() override;

private:
    ImageView* m_imageView;
};

} // namespace tolvane

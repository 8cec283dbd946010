#include "CollectionViewCell.h"

namespace tolvane {

CollectionViewCell::CollectionViewCell(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void CollectionViewCell::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layoutSubviews();
}

} // namespace tolvane

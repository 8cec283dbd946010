#include "MainScreenLayout.h"

namespace tolvane {

QSizeF MainScreenLayout::hintTextBox(qreal viewWidth, bool pad) {
    return pad ? QSizeF(650, 100) : QSizeF(viewWidth - 30, 150);
}

QRectF MainScreenLayout::hintFrame(QSizeF view, QSizeF text, bool pad) {
    return QRectF((view.width() - text.width()) * 0.5,
                  view.height() - text.height() - bottomMargin(pad), text.width(), text.height());
}

} // namespace tolvane

#include "DetailViewLayout.h"

#include <algorithm>

namespace tolvane {

DetailViewLayout DetailViewLayout::compute(QSizeF screen, qreal navigationBarHeight,
                                           InterfaceOrientation orientation, bool pad) {
    const qreal shorter = std::min(screen.width(), screen.height());
    const qreal longer = std::max(screen.width(), screen.height());
    const qreal margin = pad ? 10 : 5;
    const qreal top = navigationBarHeight + statusBarHeight;
    qreal side = shorter - 2 * margin;

    DetailViewLayout layout;
    qreal height = 0;
    qreal cornerInset = 0;
    if (isPortrait(orientation)) {
        if (pad)
            side -= top;
        height = side + selectStripHeight;
        const qreal shift = pad ? top / 2 : 0;
        layout.view = QRectF(0, 0, shorter, longer - top);
        layout.card = QRectF(margin + shift, (longer - top - height) / 2, side, height);
        cornerInset = 5;
    } else {
        height = side - top;
        layout.view = QRectF(0, 0, longer, shorter - top);
        layout.card = QRectF(margin + (longer - height) / 2, margin, height, height);
        cornerInset = 0;
    }

    const qreal cardWidth = layout.card.width();
    layout.imageView = QRectF(5, 5, cardWidth - 10, cardWidth - 10);
    layout.closeButton = QRectF(cornerInset, height - closeButtonSide - cornerInset,
                                closeButtonSide, closeButtonSide);
    layout.selectButton = QRectF((layout.imageView.width() - selectButtonWidth) / 2 + 5,
                                 height - selectStripHeight, selectButtonWidth, selectStripHeight);
    return layout;
}

QSizeF DetailViewLayout::panelSize(QSizeF screen, qreal navigationBarHeight,
                                   InterfaceOrientation orientation) {
    const qreal shorter = std::min(screen.width(), screen.height());
    const qreal longer = std::max(screen.width(), screen.height());
    const qreal bars = navigationBarHeight + statusBarHeight;
    if (isPortrait(orientation))
        return {shorter, longer - bars};
    return {longer, shorter - bars};
}

} // namespace tolvane

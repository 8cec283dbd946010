#pragma once

#include "search/InterfaceOrientation.h"

#include <QRectF>
#include <QSizeF>

namespace tolvane {

// The detail panel's geometry: a white card holding a square image, a close button in its
// lower-left corner and a select button centred at its bottom, laid out for an orientation
// and device. A pure function of the screen, the navigation bar's height and the device kind.
struct DetailViewLayout {
    static constexpr qreal statusBarHeight = 20;
    static constexpr qreal closeButtonSide = 30;
    static constexpr qreal selectButtonWidth = 135;
    static constexpr qreal selectStripHeight = 35;

    QRectF view;         // the panel's own frame, in its parent
    QRectF card;         // in the panel
    QRectF imageView;    // in the card
    QRectF closeButton;  // in the card
    QRectF selectButton; // in the card

    // Portrait and upside down: a tall card of the square image and a strip below it, centred
    // vertically (and horizontally on a pad). Landscape or unknown: a square card centred
    // horizontally, the select button over the image's lower edge.
    static DetailViewLayout compute(QSizeF screen, qreal navigationBarHeight,
                                    InterfaceOrientation orientation, bool pad);

    // The size the results screen gives the panel as it slides it in: as wide as the screen is
    // in that orientation, and as tall less the bars.
    static QSizeF panelSize(QSizeF screen, qreal navigationBarHeight,
                            InterfaceOrientation orientation);
};

} // namespace tolvane

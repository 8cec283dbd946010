#include "BlurredBackdrop.h"

#include <QPixmap>
#include <QWidget>

namespace tolvane {

namespace {

bool paintsOwnBackground(const QWidget* widget) {
    return widget->isWindow() || widget->autoFillBackground() ||
           widget->testAttribute(Qt::WA_OpaquePaintEvent);
}

} // namespace

QWidget* BlurredBackdrop::viewBeneath(const QWidget* overlay) {
    QWidget* view = overlay->parentWidget();
    while (view && !paintsOwnBackground(view))
        view = view->parentWidget();
    return view;
}

QImage BlurredBackdrop::grabBeneath(const QWidget* overlay, const QRect& rect) {
    QWidget* view = viewBeneath(overlay);
    if (!view || rect.isEmpty())
        return {};
    const QRect source(overlay->mapTo(view, rect.topLeft()), rect.size());
    // toImage() keeps the pixmap's device pixel ratio.
    return view->grab(source).toImage();
}

void BlurredBackdrop::store(const QRect& rect, const QImage& blurred) {
    m_image = blurred;
    m_rect = rect;
    m_valid = true;
}

} // namespace tolvane

#include "CoverButton.h"

#include <QPainter>

namespace tolvane {

namespace {
// Below this a view takes no touches.
constexpr qreal touchableAlpha = 0.01;
} // namespace

CoverButton::CoverButton(QWidget* parent)
    : QAbstractButton(parent) {
    setAlpha(1);
}

void CoverButton::setAlpha(qreal alpha) {
    m_alpha = qBound(0.0, alpha, 1.0);
    setAttribute(Qt::WA_TransparentForMouseEvents, m_alpha < touchableAlpha);
    update();
}

void CoverButton::setColour(const QColor& colour) {
    m_colour = colour;
    update();
}

void CoverButton::paintEvent(QPaintEvent*) {
    if (m_alpha < touchableAlpha)
        return;
    QPainter painter(this);
    painter.setOpacity(m_alpha);
    painter.fillRect(rect(), m_colour);
}

} // namespace tolvane

#include "HintLabel.h"

#include <QPainter>

namespace tolvane {

namespace {
constexpr int textFlags = Qt::AlignCenter | Qt::TextWordWrap;
}

HintLabel::HintLabel(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void HintLabel::setText(const QString& text) {
    m_text = text;
    update();
}

void HintLabel::setAlpha(qreal alpha) {
    m_alpha = alpha;
    update();
}

void HintLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(m_alpha);
    painter.setFont(font());
    painter.setPen(Qt::white);
    painter.drawText(QRectF(rect()).translated(1, 1), textFlags, m_text);
    painter.setPen(Qt::black);
    painter.drawText(QRectF(rect()), textFlags, m_text);
}

} // namespace tolvane

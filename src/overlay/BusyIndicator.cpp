#include "BusyIndicator.h"

#include <QPainter>
#include <QTimer>

#include <cmath>

namespace tolvane {

BusyIndicator::BusyIndicator(QWidget* parent)
    : QWidget(parent)
    , m_timer(new QTimer(this)) {
    m_timer->setInterval(1000 / spokeCount);
    connect(m_timer, &QTimer::timeout, this, [this] {
        m_leadingSpoke = (m_leadingSpoke + 1) % spokeCount;
        update();
    });
}

void BusyIndicator::setColor(const QColor& color) {
    m_color = color;
    update();
}

void BusyIndicator::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_timer->start();
}

void BusyIndicator::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_timer->stop();
}

void BusyIndicator::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    const qreal side = std::min(width(), height());
    if (side <= 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2.0, height() / 2.0);
    const qreal outer = side / 2 - side * 0.06;
    const qreal inner = outer * 0.5;
    QPen pen(m_color, side * 0.085, Qt::SolidLine, Qt::RoundCap);
    for (int i = 0; i < spokeCount; ++i) {
        // The leading spoke is brightest; those behind it fade.
        const int behind = (m_leadingSpoke - i + spokeCount) % spokeCount;
        QColor colour = m_color;
        colour.setAlphaF(m_color.alphaF() * float(1.0 - 0.8 * behind / (spokeCount - 1)));
        pen.setColor(colour);
        painter.setPen(pen);
        painter.save();
        painter.rotate(360.0 * i / spokeCount);
        painter.drawLine(QPointF(0, -inner), QPointF(0, -outer));
        painter.restore();
    }
}

} // namespace tolvane

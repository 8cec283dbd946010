#include "ProgressIndicator.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace tolvane {

ProgressIndicator::ProgressIndicator(Style style, QWidget* parent)
    : QWidget(parent)
    , m_style(style) {}

void ProgressIndicator::setProgress(float progress) {
    progress = std::clamp(progress, 0.0f, 1.0f);
    if (progress == m_progress)
        return;
    m_progress = progress;
    update();
}

QSize ProgressIndicator::sizeHint() const {
    return m_style == Style::Bar ? QSize(120, 20) : QSize(37, 37);
}

void ProgressIndicator::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_style == Style::Bar)
        paintBar(painter);
    else
        paintRound(painter);
}

void ProgressIndicator::paintRound(QPainter& painter) const {
    const qreal side = std::min(width(), height());
    const qreal line = m_style == Style::Annular ? side * 0.1 : 2.0;
    const QRectF circle(QPointF((width() - side) / 2 + line / 2, (height() - side) / 2 + line / 2),
                        QSizeF(side - line, side - line));
    // Angles in sixteenths of a degree, counter-clockwise from three o'clock.
    const int start = 90 * 16;
    const int span = -int(m_progress * 360 * 16);
    if (m_style == Style::Annular) {
        QColor track = m_color;
        track.setAlphaF(0.1f);
        painter.setPen(QPen(track, line));
        painter.drawEllipse(circle);
        painter.setPen(QPen(m_color, line, Qt::SolidLine, Qt::RoundCap));
        painter.drawArc(circle, start, span);
        return;
    }
    painter.setPen(QPen(m_color, line));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(circle);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_color);
    const qreal inset = line * 2;
    painter.drawPie(circle.adjusted(inset, inset, -inset, -inset), start, span);
}

void ProgressIndicator::paintBar(QPainter& painter) const {
    const qreal line = 2.0;
    const QRectF outline = QRectF(rect()).adjusted(line / 2, line / 2, -line / 2, -line / 2);
    const qreal radius = outline.height() / 2;
    painter.setPen(QPen(m_color, line));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(outline, radius, radius);
    const QRectF track = outline.adjusted(line * 1.5, line * 1.5, -line * 1.5, -line * 1.5);
    if (m_progress <= 0 || track.isEmpty())
        return;
    QPainterPath fill;
    fill.addRoundedRect(track, track.height() / 2, track.height() / 2);
    painter.setClipRect(
        QRectF(track.topLeft(), QSizeF(track.width() * m_progress, track.height())));
    painter.fillPath(fill, m_color);
}

} // namespace tolvane

#include "PopoverController.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace tolvane {

PopoverController::PopoverController(QWidget* content, QSize contentSize)
    : QWidget(nullptr)
    , m_content(content)
    , m_contentSize(contentSize) {
    setAttribute(Qt::WA_NoMousePropagation);
    if (content)
        content->setParent(this);
}

QRect PopoverController::panelFrameFor(QSize window, const QRect& anchor, QSize contentSize) {
    const QRect area = QRect(QPoint(0, 0), window)
                           .adjusted(windowMargin, windowMargin, -windowMargin, -windowMargin);
    const QSize size = contentSize.boundedTo(area.size());
    const auto clampX = [&](int x) {
        return qBound(area.left(), x, qMax(area.left(), area.right() + 1 - size.width()));
    };
    const auto clampY = [&](int y) {
        return qBound(area.top(), y, qMax(area.top(), area.bottom() + 1 - size.height()));
    };
    const int centredX = clampX(anchor.center().x() - size.width() / 2);
    const int below = area.bottom() + 1 - (anchor.bottom() + 1 + arrowSize);
    const int above = anchor.top() - arrowSize - area.top();
    if (below >= size.height() || (below >= above && below >= size.height() / 2))
        return {QPoint(centredX, anchor.bottom() + 1 + arrowSize),
                QSize(size.width(), qMin(size.height(), below))};
    if (above >= size.height() / 2)
        return {QPoint(centredX, anchor.top() - arrowSize - qMin(size.height(), above)),
                QSize(size.width(), qMin(size.height(), above))};
    // Beside it, on the side with more room.
    const int right = area.right() + 1 - (anchor.right() + 1 + arrowSize);
    const int left = anchor.left() - arrowSize - area.left();
    const int width = qMin(size.width(), qMax(right, left));
    const int x =
        right >= left ? anchor.right() + 1 + arrowSize : anchor.left() - arrowSize - width;
    return {QPoint(x, clampY(anchor.center().y() - size.height() / 2)),
            QSize(width, size.height())};
}

void PopoverController::presentPopoverFromRect(const QRect& rect, QWidget* view, bool animated) {
    Q_UNUSED(animated);
    QWidget* window = view ? view->window() : nullptr;
    if (!window) {
        deleteLater();
        return;
    }
    m_view = view;
    m_anchor = QRect(view->mapTo(window, rect.topLeft()), rect.size());
    setParent(window);
    window->installEventFilter(this);
    place();
    raise();
    show();
    if (m_content)
        m_content->setFocus();
}

void PopoverController::place() {
    QWidget* window = parentWidget();
    if (!window)
        return;
    setGeometry(window->rect());
    m_panel = panelFrameFor(window->size(), m_anchor, m_contentSize);
    if (m_content)
        m_content->setGeometry(m_panel.adjusted(1, 1, -1, -1));
    update();
}

void PopoverController::dismissPopoverAnimated(bool animated) {
    Q_UNUSED(animated);
    if (m_dismissed)
        return;
    m_dismissed = true;
    if (parentWidget())
        parentWidget()->removeEventFilter(this);
    hide();
    deleteLater();
}

bool PopoverController::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        place();
    return QWidget::eventFilter(watched, event);
}

void PopoverController::mousePressEvent(QMouseEvent* event) {
    if (m_panel.contains(event->position().toPoint()))
        return;
    dismissByUser();
}

void PopoverController::dismissByUser() {
    QPointer<PopoverController> self(this);
    dismissPopoverAnimated(true);
    if (self && m_delegate)
        m_delegate->popoverControllerDidDismissPopover(this);
}

void PopoverController::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The arrow points from the panel's side that faces the anchor.
    QPainterPath shape;
    shape.addRoundedRect(QRectF(m_panel), 8, 8);
    QPolygonF arrow;
    const QPointF centre = QRectF(m_anchor).center();
    if (m_panel.top() > m_anchor.bottom()) {
        const qreal x = qBound(m_panel.left() + 12.0, centre.x(), m_panel.right() - 12.0);
        arrow << QPointF(x - arrowSize, m_panel.top() + 1) << QPointF(x, m_panel.top() - arrowSize)
              << QPointF(x + arrowSize, m_panel.top() + 1);
    } else if (m_panel.bottom() < m_anchor.top()) {
        const qreal x = qBound(m_panel.left() + 12.0, centre.x(), m_panel.right() - 12.0);
        arrow << QPointF(x - arrowSize, m_panel.bottom())
              << QPointF(x, m_panel.bottom() + arrowSize)
              << QPointF(x + arrowSize, m_panel.bottom());
    } else {
        const qreal y = qBound(m_panel.top() + 12.0, centre.y(), m_panel.bottom() - 12.0);
        const qreal edge = m_panel.left() > m_anchor.right() ? m_panel.left() : m_panel.right();
        const qreal tip = m_panel.left() > m_anchor.right() ? edge - arrowSize : edge + arrowSize;
        arrow << QPointF(edge, y - arrowSize) << QPointF(tip, y) << QPointF(edge, y + arrowSize);
    }
    shape.addPolygon(arrow);
    shape.setFillRule(Qt::WindingFill);
    painter.setPen(QPen(QColor(0, 0, 0, 40), 1));
    painter.setBrush(QColor(248, 248, 248));
    painter.drawPath(shape.simplified());
}

} // namespace tolvane

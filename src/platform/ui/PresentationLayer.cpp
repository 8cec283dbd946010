#include "PresentationLayer.h"

#include "platform/Device.h"
#include "platform/ui/Screen.h"

#include <QEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QTimer>

namespace tolvane {

namespace {
const QSize formSheetSize(540, 620);
}

PresentationLayer::PresentationLayer(Screen* presented, bool formSheet, QWidget* window)
    : QWidget(window)
    , m_screen(presented)
    , m_formSheet(formSheet && Device::current().isPad()) {
    setAttribute(Qt::WA_NoMousePropagation);
    presented->setParent(this);
    setGeometry(window->rect());
    presented->setGeometry(contentRect());
    window->installEventFilter(this);
    raise();
    show();
    presented->show();
    presented->setFocus();
}

QRect PresentationLayer::contentRect() const {
    if (!m_formSheet)
        return rect();
    QRect sheet(QPoint(0, 0), formSheetSize.boundedTo(size()));
    sheet.moveCenter(rect().center());
    return sheet;
}

bool PresentationLayer::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
        if (m_screen)
            m_screen->setGeometry(contentRect());
    }
    return QWidget::eventFilter(watched, event);
}

void PresentationLayer::paintEvent(QPaintEvent*) {
    if (!m_formSheet)
        return;
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 100));
}

void PresentationLayer::run(bool animated, QPoint from, QPoint to, std::function<void()> finished) {
    if (!m_screen || !animated) {
        if (m_screen)
            m_screen->move(to);
        // Completions run after the call that asked for the transition, as with an animation.
        QTimer::singleShot(0, this, [finished] {
            if (finished)
                finished();
        });
        return;
    }
    auto* animation = new QPropertyAnimation(m_screen, "pos", this);
    animation->setDuration(Screen::transitionDurationMs);
    animation->setEasingCurve(QEasingCurve::OutCubic);
    animation->setStartValue(from);
    animation->setEndValue(to);
    connect(animation, &QPropertyAnimation::finished, this, [finished] {
        if (finished)
            finished();
    });
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void PresentationLayer::animateIn(bool animated, std::function<void()> finished) {
    const QRect target = contentRect();
    run(animated, QPoint(target.x(), height()), target.topLeft(), std::move(finished));
}

void PresentationLayer::animateOut(bool animated, std::function<void()> finished) {
    const QRect target = contentRect();
    run(animated, target.topLeft(), QPoint(target.x(), height()), std::move(finished));
}

} // namespace tolvane

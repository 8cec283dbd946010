#include "FocusRing.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace tolvane {

namespace {

constexpr int gap = 1;

// Controls that show the focus by themselves.
bool drawsOwnFocus(const QWidget* widget) {
    return qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QTextEdit*>(widget) ||
           qobject_cast<const QPlainTextEdit*>(widget) ||
           qobject_cast<const QAbstractSpinBox*>(widget) ||
           qobject_cast<const QAbstractItemView*>(widget);
}

} // namespace

FocusRing::FocusRing(QWidget* window)
    : QWidget(window) {
    setObjectName(QStringLiteral("focusRing"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    hide();
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* now) { focusChanged(now); });
    focusChanged(QApplication::focusWidget());
}

void FocusRing::focusChanged(QWidget* now) {
    for (const QPointer<QWidget>& watched : std::as_const(m_watched)) {
        if (watched)
            watched->removeEventFilter(this);
    }
    m_watched.clear();
    const bool ours = now && now != this && now->window() == window() && now != window();
    m_target = ours && !drawsOwnFocus(now) ? now : nullptr;
    // The control moves with every widget it lies in (a screen sliding in carries it along).
    for (QWidget* widget = m_target; widget && widget != window();
         widget = widget->parentWidget()) {
        widget->installEventFilter(this);
        m_watched.append(widget);
    }
    follow();
}

void FocusRing::follow() {
    if (!m_target || !m_target->isVisible()) {
        hide();
        return;
    }
    const QRect around(m_target->mapTo(window(), QPoint(0, 0)), m_target->size());
    setGeometry(around.adjusted(-width - gap, -width - gap, width + gap, width + gap));
    raise();
    show();
    update();
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event) {
    if (m_target && m_watched.contains(qobject_cast<QWidget*>(watched))) {
        switch (event->type()) {
        case QEvent::Move:
        case QEvent::Resize:
        case QEvent::Show:
        case QEvent::Hide:
            follow();
            break;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void FocusRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // A light edge outside the ring keeps it seen on dark grounds as well as light ones.
    painter.setPen(QPen(QColor(255, 255, 255, 220), 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 6, 6);
    painter.setPen(QPen(colour(), width));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1 + width / 2.0, 1 + width / 2.0,
                                                    -1 - width / 2.0, -1 - width / 2.0),
                            5, 5);
}

} // namespace tolvane

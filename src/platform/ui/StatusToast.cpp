#include "StatusToast.h"

#include <QEvent>

namespace tolvane {

namespace {
constexpr int edge = 16;
constexpr int widest = 480;
} // namespace

StatusToast::StatusToast(QWidget* view)
    : QLabel(view) {
    setObjectName(QStringLiteral("statusToast"));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setWordWrap(true);
    setAlignment(Qt::AlignCenter);
    // White on a near-black ground: readable over any content beneath it.
    setStyleSheet(QStringLiteral("QLabel#statusToast { background: rgba(28, 28, 30, 235); "
                                 "color: white; border-radius: 10px; padding: 10px 16px; "
                                 "font-size: 14px; }"));
    m_hide.setSingleShot(true);
    m_hide.setInterval(shownMs);
    connect(&m_hide, &QTimer::timeout, this, &QObject::deleteLater);
    view->installEventFilter(this);
}

StatusToast* StatusToast::show(const QString& text, QWidget* view) {
    if (!view)
        return nullptr;
    StatusToast* toast = toastOn(view);
    if (!toast)
        toast = new StatusToast(view);
    toast->setText(text);
    toast->setAccessibleName(text);
    toast->place();
    toast->raise();
    toast->QLabel::show();
    toast->m_hide.start();
    return toast;
}

StatusToast* StatusToast::toastOn(const QWidget* view) {
    return view ? view->findChild<StatusToast*>(QString(), Qt::FindDirectChildrenOnly) : nullptr;
}

void StatusToast::place() {
    const QWidget* view = parentWidget();
    const int width = qMin(widest, view->width() - 2 * edge);
    const int height = heightForWidth(width) > 0 ? heightForWidth(width) : sizeHint().height();
    setGeometry((view->width() - width) / 2, view->height() - height - edge, width, height);
}

bool StatusToast::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize)
        place();
    return QLabel::eventFilter(watched, event);
}

} // namespace tolvane

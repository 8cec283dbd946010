#include "NavigationItem.h"

namespace tolvane {

void NavigationItem::setTitle(const QString& title) {
    if (title == m_title)
        return;
    m_title = title;
    Q_EMIT changed();
}

void NavigationItem::setPrompt(const QString& prompt) {
    if (prompt == m_prompt)
        return;
    m_prompt = prompt;
    Q_EMIT changed();
}

void NavigationItem::setLeftBarButton(QWidget* button) {
    m_left = button;
    Q_EMIT changed();
}

void NavigationItem::setRightBarButton(QWidget* button) {
    m_right = button;
    Q_EMIT changed();
}

void NavigationItem::setHidesBackButton(bool hides) {
    m_hidesBackButton = hides;
    Q_EMIT changed();
}

} // namespace tolvane

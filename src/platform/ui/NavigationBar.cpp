#include "NavigationBar.h"

#include "platform/ui/Appearance.h"
#include "platform/ui/NavigationItem.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

namespace tolvane {

NavigationBar::NavigationBar(QWidget* parent)
    : QWidget(parent)
    , m_prompt(new QLabel(this))
    , m_title(new QLabel(this))
    , m_back(new QToolButton(this))
    , m_row(new QHBoxLayout)
    , m_leftSlot(new QWidget(this))
    , m_rightSlot(new QWidget(this)) {
    const Appearance& look = Appearance::shared();
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);

    m_prompt->setAlignment(Qt::AlignCenter);
    m_prompt->setFixedHeight(promptHeight);
    m_title->setAlignment(Qt::AlignCenter);
    m_title->setFont(look.titleFont);
    QPalette text = palette();
    text.setColor(QPalette::WindowText, look.titleColor);
    text.setColor(QPalette::ButtonText, look.tintColor);
    m_title->setPalette(text);
    m_prompt->setPalette(text);

    m_back->setAutoRaise(true);
    m_back->setPalette(text);
    m_back->setCursor(Qt::PointingHandCursor);
    m_back->setStyleSheet(
        QStringLiteral("QToolButton { color: %1; border: none; }").arg(look.tintColor.name()));
    connect(m_back, &QToolButton::clicked, this, &NavigationBar::backRequested);

    for (QWidget* slot : {m_leftSlot, m_rightSlot}) {
        // The screens' bar buttons take the bar's tint (readable on its dark ground) unless
        // they chose colours of their own.
        slot->setPalette(text);
        slot->setStyleSheet(QStringLiteral("QToolButton { color: %1; font-size: 15px; }")
                                .arg(barButtonColour().name()));
        auto* slotLayout = new QHBoxLayout(slot);
        slotLayout->setContentsMargins(0, 0, 0, 0);
        slot->setMinimumWidth(70);
    }
    m_leftSlot->layout()->addWidget(m_back);
    m_leftSlot->layout()->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_rightSlot->layout()->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    m_row->setContentsMargins(8, 0, 8, 0);
    m_row->addWidget(m_leftSlot);
    m_row->addWidget(m_title, 1);
    m_row->addWidget(m_rightSlot);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_prompt);
    auto* rowHolder = new QWidget(this);
    rowHolder->setFixedHeight(barHeight);
    rowHolder->setLayout(m_row);
    column->addWidget(rowHolder);
    refresh();
}

void NavigationBar::setItem(NavigationItem* item, const QString& backTitle, bool canGoBack) {
    if (m_item)
        disconnect(m_item, nullptr, this, nullptr);
    m_item = item;
    m_backTitle = backTitle;
    m_canGoBack = canGoBack;
    if (item)
        connect(item, &NavigationItem::changed, this, &NavigationBar::refresh);
    refresh();
}

QString NavigationBar::titleText() const {
    return m_title->text();
}

QString NavigationBar::promptText() const {
    return m_prompt->isVisible() ? m_prompt->text() : QString();
}

void NavigationBar::placeInSlot(BarSlot& slot, QWidget* next, QWidget* holder) {
    if (slot.widget == next)
        return;
    // The widget of the previous item goes back to the screen that made it.
    if (slot.widget) {
        slot.widget->hide();
        slot.widget->setParent(slot.owner);
    }
    slot.widget = next;
    slot.owner = m_item ? qobject_cast<QWidget*>(m_item->parent()) : nullptr;
    if (next) {
        holder->layout()->addWidget(next);
        next->show();
    }
}

void NavigationBar::refresh() {
    QWidget* left = m_item ? m_item->leftBarButton() : nullptr;
    placeInSlot(m_left, left, m_leftSlot);
    placeInSlot(m_right, m_item ? m_item->rightBarButton() : nullptr, m_rightSlot);

    const QString prompt = m_item ? m_item->prompt() : QString();
    m_prompt->setText(prompt);
    m_prompt->setVisible(!prompt.isEmpty());
    m_title->setText(m_item ? m_item->title() : QString());
    const bool showBack = m_canGoBack && !left && !(m_item && m_item->hidesBackButton());
    m_back->setText(QStringLiteral("\u2039 ") +
                    (m_backTitle.isEmpty() ? QStringLiteral("Back") : m_backTitle));
    m_back->setVisible(showBack);
    setFixedHeight(barHeight + (prompt.isEmpty() ? 0 : promptHeight));
}

void NavigationBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Appearance::shared().barTintColor);
}

} // namespace tolvane

#include "TableViewCell.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace tolvane {

namespace {
const QColor cellBackground(255, 255, 255);
const QColor highlightBackground(217, 217, 217);
const QColor separatorColour(200, 199, 204);
const QColor chevronColour(199, 199, 204);
} // namespace

TableViewCell::TableViewCell(Style style, const QString& reuseIdentifier, QWidget* parent)
    : QWidget(parent)
    , m_reuseIdentifier(reuseIdentifier)
    , m_style(style)
    , m_contentView(new QWidget(this))
    , m_textLabel(new QLabel(m_contentView)) {
    if (style == Style::Value2)
        m_detailTextLabel = new QLabel(m_contentView);
}

void TableViewCell::setSelectionStyle(SelectionStyle style) {
    m_selectionStyle = style;
    update();
}

void TableViewCell::setAccessoryType(AccessoryType type) {
    m_accessoryType = type;
    layoutSubviews();
    update();
}

void TableViewCell::setSelected(bool selected) {
    if (m_selected == selected)
        return;
    m_selected = selected;
    update();
}

void TableViewCell::setShowsSeparator(bool shows) {
    m_showsSeparator = shows;
    update();
}

void TableViewCell::layoutSubviews() {
    const int reserve =
        m_accessoryType == AccessoryType::DisclosureIndicator ? disclosureReserve : 0;
    m_contentView->setGeometry(0, 0, qMax(0, width() - reserve), height());
    const int contentWidth = m_contentView->width();
    if (m_style == Style::Default) {
        m_textLabel->setGeometry(horizontalMargin, 0, qMax(0, contentWidth - 2 * horizontalMargin),
                                 height());
        return;
    }
    const int top = (height() - value2DetailHeight) / 2;
    m_textLabel->setGeometry(horizontalMargin, top, value2LabelWidth, value2DetailHeight);
    m_detailTextLabel->setGeometry(value2DetailLeft, top,
                                   qMax(0, contentWidth - value2DetailLeft - horizontalMargin),
                                   value2DetailHeight);
}

void TableViewCell::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layoutSubviews();
}

void TableViewCell::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    QPainter painter(this);
    const bool highlighted = (m_selected || m_pressed) && m_selectionStyle != SelectionStyle::None;
    painter.fillRect(rect(), highlighted ? highlightBackground : cellBackground);
    if (m_showsSeparator)
        painter.fillRect(QRect(horizontalMargin, height() - 1, width() - horizontalMargin, 1),
                         separatorColour);
    if (m_accessoryType == AccessoryType::DisclosureIndicator) {
        painter.setRenderHint(QPainter::Antialiasing);
        QPen pen(chevronColour, 2.5);
        pen.setCapStyle(Qt::RoundCap);
        pen.setJoinStyle(Qt::RoundJoin);
        painter.setPen(pen);
        const qreal x = width() - horizontalMargin - 6;
        const qreal y = height() / 2.0;
        QPainterPath chevron;
        chevron.moveTo(x, y - 6.5);
        chevron.lineTo(x + 6, y);
        chevron.lineTo(x, y + 6.5);
        painter.drawPath(chevron);
    }
}

void TableViewCell::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    m_pressed = true;
    update();
    event->accept();
}

void TableViewCell::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_pressed) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    m_pressed = false;
    update();
    if (rect().contains(event->position().toPoint()))
        Q_EMIT tapped();
}

} // namespace tolvane

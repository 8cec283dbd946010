#include "HUDBox.h"

#include <QFontMetrics>
#include <QLabel>
#include <QPainter>

#include <algorithm>

namespace tolvane {

namespace {

QLabel* makeLabel(QWidget* parent, int pixelSize, bool bold, bool wraps) {
    auto* label = new QLabel(parent);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    label->setFont(font);
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, Qt::white);
    label->setPalette(palette);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(wraps);
    label->setTextFormat(Qt::PlainText);
    label->hide();
    return label;
}

} // namespace

HUDBox::HUDBox(QWidget* parent)
    : QWidget(parent)
    , m_label(makeLabel(this, 16, true, false))
    , m_details(makeLabel(this, 12, false, true)) {}

void HUDBox::setColor(const QColor& color) {
    m_color = color;
    update();
}

void HUDBox::setIndicator(QWidget* indicator) {
    if (indicator == m_indicator)
        return;
    if (m_indicator)
        m_indicator->hide();
    m_indicator = indicator;
    if (m_indicator) {
        m_indicator->setParent(this);
        m_indicator->show();
    }
}

void HUDBox::setLabelText(const QString& text) {
    m_labelText = text;
}

QFont HUDBox::labelFont() const {
    return m_label->font();
}

void HUDBox::setLabelFont(const QFont& font) {
    m_label->setFont(font);
}

QString HUDBox::detailsLabelText() const {
    return m_details->text();
}

void HUDBox::setDetailsLabelText(const QString& text) {
    m_details->setText(text);
}

QFont HUDBox::detailsLabelFont() const {
    return m_details->font();
}

void HUDBox::setDetailsLabelFont(const QFont& font) {
    m_details->setFont(font);
}

QSize HUDBox::indicatorSize() const {
    if (!m_indicator)
        return {0, 0};
    // A view given a size by its owner keeps it; others take their preferred size.
    const QSize size =
        m_indicator->testAttribute(Qt::WA_Resized) ? m_indicator->size() : m_indicator->sizeHint();
    return size.expandedTo(QSize(0, 0));
}

void HUDBox::layoutWithin(const QSize& available) {
    // The box keeps a margin to the overlay's edges and its content a margin to the box's.
    const int maxWidth = std::max(available.width() - 4 * margin, 0);
    const int maxHeight = std::max(available.height() - 4 * margin, 0);

    const QSize indicator = indicatorSize();
    int used = indicator.height();

    QSize label;
    if (!m_labelText.isEmpty()) {
        const QFontMetrics metrics(m_label->font());
        m_label->setText(metrics.elidedText(m_labelText, Qt::ElideRight, maxWidth));
        label = QSize(std::min(metrics.horizontalAdvance(m_labelText), maxWidth), metrics.height());
        used += (used > 0 ? padding : 0) + label.height();
    }

    QSize details;
    if (!m_details->text().isEmpty()) {
        const int gap = used > 0 ? padding : 0;
        const int room = std::max(maxHeight - used - gap, 0);
        const QFontMetrics metrics(m_details->font());
        details = metrics
                      .boundingRect(QRect(0, 0, maxWidth, room), Qt::AlignCenter | Qt::TextWordWrap,
                                    m_details->text())
                      .size()
                      .boundedTo(QSize(maxWidth, room));
        used += gap + details.height();
    }

    const int contentWidth = std::max({indicator.width(), label.width(), details.width()});
    resize(contentWidth + 2 * margin, used + 2 * margin);

    int y = margin;
    const auto place = [&](QWidget* widget, QSize size) {
        widget->setGeometry((width() - size.width()) / 2, y, size.width(), size.height());
        y += size.height() + padding;
    };
    if (m_indicator)
        place(m_indicator, indicator);
    m_label->setVisible(!label.isEmpty());
    if (!label.isEmpty())
        place(m_label, label);
    m_details->setVisible(!details.isEmpty());
    if (!details.isEmpty())
        place(m_details, details);
}

void HUDBox::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    if (m_color.alpha() == 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_color);
    painter.drawRoundedRect(QRectF(rect()), cornerRadius, cornerRadius);
}

} // namespace tolvane

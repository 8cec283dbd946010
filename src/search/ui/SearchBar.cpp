#include "SearchBar.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>

namespace tolvane {

SearchBar::SearchBar(QWidget* parent)
    : QWidget(parent)
    , m_field(new QLineEdit(this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 7, 8, 7);
    row->addWidget(m_field);
    m_field->setClearButtonEnabled(true);
    m_field->setStyleSheet(QStringLiteral(
        "QLineEdit { background-color: rgb(40, 40, 40); border: none; border-radius: 5px;"
        " padding: 0 8px; font-size: 15px; }"));
    connect(m_field, &QLineEdit::returnPressed, this, &SearchBar::searchButtonClicked);
}

QString SearchBar::text() const {
    return m_field->text();
}

void SearchBar::setText(const QString& text) {
    m_field->setText(text);
}

QString SearchBar::placeholder() const {
    return m_field->placeholderText();
}

void SearchBar::setPlaceholder(const QString& placeholder) {
    m_field->setPlaceholderText(placeholder);
}

void SearchBar::setBarTintColor(const QColor& colour) {
    m_barTint = colour;
    update();
}

void SearchBar::becomeFirstResponder() {
    m_field->setFocus(Qt::OtherFocusReason);
}

void SearchBar::resignFirstResponder() {
    m_field->clearFocus();
}

bool SearchBar::isFirstResponder() const {
    return m_field->hasFocus();
}

void SearchBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), m_barTint);
}

} // namespace tolvane

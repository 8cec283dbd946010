#include "ImportTextField.h"

#include <QFocusEvent>
#include <QRegularExpressionValidator>

namespace tolvane {

ImportTextField::ImportTextField(QWidget* parent)
    : QLineEdit(parent) {
    setFrame(false);
    // Names and titles are typed as written: no predictions to correct them.
    setInputMethodHints(Qt::ImhNoPredictiveText);
    // Return ends editing, as the "Done" key does.
    connect(this, &QLineEdit::returnPressed, this, [this] { clearFocus(); });
}

void ImportTextField::setNumberPad(bool numberPad) {
    m_numberPad = numberPad;
    if (numberPad) {
        // Empty is acceptable too, so that editing can always end.
        setValidator(
            new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]*")), this));
        setInputMethodHints(Qt::ImhNoPredictiveText | Qt::ImhDigitsOnly);
    } else {
        setValidator(nullptr);
        setInputMethodHints(Qt::ImhNoPredictiveText);
    }
}

QVariant ImportTextField::inputMethodQuery(Qt::InputMethodQuery query) const {
    if (query == Qt::ImEnterKeyType)
        return int(Qt::EnterKeyDone);
    return QLineEdit::inputMethodQuery(query);
}

void ImportTextField::focusInEvent(QFocusEvent* event) {
    QLineEdit::focusInEvent(event);
    if (m_editing)
        return;
    m_editing = true;
    setClearButtonEnabled(true);
    Q_EMIT didBeginEditing();
}

void ImportTextField::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    // A menu or a window switch takes the focus only for a moment.
    if (!m_editing || event->reason() == Qt::PopupFocusReason ||
        event->reason() == Qt::ActiveWindowFocusReason)
        return;
    m_editing = false;
    setClearButtonEnabled(false);
    Q_EMIT didEndEditing();
}

} // namespace tolvane

#include "EditableImportTableViewCell.h"

#include "import/ImportEditorLayout.h"
#include "import/ui/ImportTextField.h"
#include "platform/Localisation.h"

#include <QLabel>

namespace tolvane {

EditableImportTableViewCell::EditableImportTableViewCell(QWidget* parent)
    : TableViewCell(Style::Value2, QStringLiteral("Cell"), parent)
    , m_textField(new ImportTextField(contentView())) {
    QFont font = textLabel()->font();
    font.setPixelSize(int(ImportEditorLayout::labelFontSize));
    textLabel()->setFont(font);
    detailTextLabel()->setFont(font);
    detailTextLabel()->hide();
    setSelectionStyle(SelectionStyle::None);

    m_textField->setFont(font);
    m_textField->setPalette(detailTextLabel()->palette());
    m_textField->setAttribute(Qt::WA_TranslucentBackground);
    m_textField->setAutoFillBackground(false);
    m_textField->setStyleSheet(QStringLiteral("background: transparent"));
    connect(m_textField, &QLineEdit::textEdited, this,
            [this] { Q_EMIT textDidChange(m_textField); });
    connect(m_textField, &ImportTextField::didEndEditing, this,
            [this] { Q_EMIT textDidEndEditing(m_textField); });
}

int EditableImportTableViewCell::fieldId() const {
    return m_textField->tag();
}

EditableImportTableViewCell* EditableImportTableViewCell::cellForTextField(const QObject* field) {
    for (QObject* up = field ? field->parent() : nullptr; up; up = up->parent()) {
        if (auto* cell = qobject_cast<EditableImportTableViewCell*>(up))
            return cell->m_textField == field ? cell : nullptr;
    }
    return nullptr;
}

void EditableImportTableViewCell::layoutSubviews() {
    // The detail label is laid out with a stand-in text so that it has its frame; the input
    // takes that frame, carried on to the content's right edge.
    if (detailTextLabel()->text().isEmpty())
        detailTextLabel()->setText(localized("Example"));
    TableViewCell::layoutSubviews();
    m_textField->setGeometry(
        ImportEditorLayout::textFieldFrame(detailTextLabel()->geometry(), contentView()->width())
            .toRect());
}

} // namespace tolvane

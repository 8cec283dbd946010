#pragma once

#include "platform/ui/TableViewCell.h"

namespace tolvane {

class ImportTextField;

// One editable tag of the import editor: the field's label at the left and its text input
// where the detail text would be. The input's tag is the field id.
class EditableImportTableViewCell : public TableViewCell {
    Q_OBJECT
public:
    explicit EditableImportTableViewCell(QWidget* parent = nullptr);

    ImportTextField* textField() const { return m_textField; }
    int fieldId() const;

    // The cell that holds a text input, or null for any other input.
    static EditableImportTableViewCell* cellForTextField(const QObject* textField);

Q_SIGNALS:
    // The user changed the text (not the program), and the input lost the focus.
    void textDidChange(tolvane::ImportTextField* textField);
    void textDidEndEditing(tolvane::ImportTextField* textField);

protected:
    void layoutSubviews() override;

private:
    ImportTextField* m_textField;
};

} // namespace tolvane

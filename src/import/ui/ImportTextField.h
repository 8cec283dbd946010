#pragma once

#include <QLineEdit>

namespace tolvane {

// The text input of an editable import row. It carries its field id as its tag, offers "Done"
// as the return key (leaving the input), shows its clear button only while it is being edited,
// and reports the start and end of editing.
class ImportTextField : public QLineEdit {
    Q_OBJECT
public:
    explicit ImportTextField(QWidget* parent = nullptr);

    int tag() const { return m_tag; }
    void setTag(int tag) { m_tag = tag; }
    // Digits only, for track, year, episode and season.
    void setNumberPad(bool numberPad);
    bool isNumberPad() const { return m_numberPad; }
    bool isEditing() const { return m_editing; }

    QVariant inputMethodQuery(Qt::InputMethodQuery query) const override;

Q_SIGNALS:
    void didBeginEditing();
    void didEndEditing();

protected:
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    int m_tag = -1;
    bool m_numberPad = false;
    bool m_editing = false;
};

} // namespace tolvane

#pragma once

#include <QWidget>

class QLineEdit;

namespace tolvane {

// A search field on a dark bar. Return in the field is the keyboard's search button.
class SearchBar : public QWidget {
    Q_OBJECT
public:
    explicit SearchBar(QWidget* parent = nullptr);

    QString text() const;
    void setText(const QString& text);
    QString placeholder() const;
    void setPlaceholder(const QString& placeholder);
    QColor barTintColor() const { return m_barTint; }
    void setBarTintColor(const QColor& colour);
    QLineEdit* textField() const { return m_field; }

    // Focus on the field brings up the keyboard; giving it up takes the keyboard away.
    void becomeFirstResponder();
    void resignFirstResponder();
    bool isFirstResponder() const;

Q_SIGNALS:
    void searchButtonClicked();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLineEdit* m_field;
    QColor m_barTint = Qt::black;
};

} // namespace tolvane

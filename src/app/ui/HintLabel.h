#pragma once

#include <QWidget>

namespace tolvane {

// A centred, wrapping line of text with a one-point white shadow that fades as a whole.
class HintLabel : public QWidget {
    Q_OBJECT
    Q_PROPERTY(qreal alpha READ alpha WRITE setAlpha)
public:
    explicit HintLabel(QWidget* parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString& text);
    qreal alpha() const { return m_alpha; }
    void setAlpha(qreal alpha);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
    qreal m_alpha = 1;
};

} // namespace tolvane

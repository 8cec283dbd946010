#pragma once

#include <QAbstractButton>

namespace tolvane {

// A plain button that covers a view in one colour at an alpha. Fully transparent, it lets
// every touch through to what lies beneath, as a hidden view does.
class CoverButton : public QAbstractButton {
    Q_OBJECT
    Q_PROPERTY(qreal alpha READ alpha WRITE setAlpha)
public:
    explicit CoverButton(QWidget* parent = nullptr);

    qreal alpha() const { return m_alpha; }
    void setAlpha(qreal alpha);
    QColor colour() const { return m_colour; }
    void setColour(const QColor& colour);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    qreal m_alpha = 1;
    QColor m_colour = Qt::black;
};

} // namespace tolvane

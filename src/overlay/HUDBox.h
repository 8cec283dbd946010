#pragma once

#include <QColor>
#include <QPointer>
#include <QWidget>

class QLabel;

namespace tolvane {

// The overlay's rounded box: the indicator on top, the label below it and the details label
// last, each centred, inside a margin, on a rounded rectangle of one colour.
class HUDBox : public QWidget {
    Q_OBJECT
public:
    static constexpr int margin = 20;
    static constexpr int cornerRadius = 10;
    // Space between the indicator and the labels and between the two labels.
    static constexpr int padding = 4;

    explicit HUDBox(QWidget* parent = nullptr);

    QColor color() const { return m_color; }
    void setColor(const QColor& color);

    // Reparents the indicator into the box and shows it; the one it replaces is hidden, not
    // deleted, and stays with whoever owns it. Null shows no indicator.
    void setIndicator(QWidget* indicator);
    QWidget* indicator() const { return m_indicator; }

    QString labelText() const { return m_labelText; }
    void setLabelText(const QString& text);
    QFont labelFont() const;
    void setLabelFont(const QFont& font);
    QString detailsLabelText() const;
    void setDetailsLabelText(const QString& text);
    QFont detailsLabelFont() const;
    void setDetailsLabelFont(const QFont& font);

    // Sizes the box to its content for an overlay of the given size, and places the content.
    // The label is cut short and the details label wrapped so that the box keeps a margin to
    // the overlay's edges.
    void layoutWithin(const QSize& available);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QSize indicatorSize() const;

    QColor m_color;
    QPointer<QWidget> m_indicator;
    QString m_labelText;
    QLabel* m_label;
    QLabel* m_details;
};

} // namespace tolvane

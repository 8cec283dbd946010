#pragma once

#include <QString>
#include <QWidget>

class QLabel;

namespace tolvane {

// One row of a table: a content view, optional title and detail labels, a highlight when it is
// selected and an optional disclosure chevron at the right. Subclasses place their own parts
// in layoutSubviews(), which runs whenever the cell's size changes.
class TableViewCell : public QWidget {
    Q_OBJECT
public:
    // Default: one label over the content's width. Value2: a label column at the left and a
    // detail label beside it.
    enum class Style { Default, Value2 };
    enum class SelectionStyle { None, Gray };
    enum class AccessoryType { None, DisclosureIndicator };

    static constexpr int horizontalMargin = 15;
    static constexpr int value2LabelWidth = 72;
    static constexpr int value2DetailLeft = 95;
    static constexpr int value2DetailHeight = 30;
    static constexpr int disclosureReserve = 33;

    TableViewCell(Style style, const QString& reuseIdentifier, QWidget* parent = nullptr);

    QString reuseIdentifier() const { return m_reuseIdentifier; }
    Style style() const { return m_style; }
    // Everything a cell shows lies in here; it leaves room for the accessory.
    QWidget* contentView() const { return m_contentView; }
    QLabel* textLabel() const { return m_textLabel; }
    // Only in the Value2 style; null otherwise.
    QLabel* detailTextLabel() const { return m_detailTextLabel; }

    SelectionStyle selectionStyle() const { return m_selectionStyle; }
    void setSelectionStyle(SelectionStyle style);
    AccessoryType accessoryType() const { return m_accessoryType; }
    void setAccessoryType(AccessoryType type);
    bool isSelected() const { return m_selected; }
    // Shows the highlight when the selection style has one.
    void setSelected(bool selected);
    // The hairline under the cell, inset by the margin; the table turns it off for the last
    // row of a section.
    bool showsSeparator() const { return m_showsSeparator; }
    void setShowsSeparator(bool shows);

Q_SIGNALS:
    // A click that started and ended on the cell.
    void tapped();

protected:
    virtual void layoutSubviews();

    void resizeEvent(QResizeEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QString m_reuseIdentifier;
    Style m_style;
    QWidget* m_contentView;
    QLabel* m_textLabel;
    QLabel* m_detailTextLabel = nullptr;
    SelectionStyle m_selectionStyle = SelectionStyle::Gray;
    AccessoryType m_accessoryType = AccessoryType::None;
    bool m_selected = false;
    bool m_pressed = false;
    bool m_showsSeparator = true;
};

} // namespace tolvane

#pragma once

#include <QPointer>
#include <QWidget>

class QLabel;
class QHBoxLayout;
class QToolButton;

namespace tolvane {

class NavigationItem;

// The bar at the top of a navigation controller: an optional prompt line, then the back
// button or the item's left widget, the title, and the item's right widget.
class NavigationBar : public QWidget {
    Q_OBJECT
public:
    // The text of the screens' buttons on the bar: the tint, lightened to stay readable on the
    // bar's dark ground (over 4.5:1).
    static QColor barButtonColour() { return QColor(120, 185, 255); }
    static constexpr int barHeight = 44;
    static constexpr int promptHeight = 30;

    explicit NavigationBar(QWidget* parent = nullptr);

    // Shows the item; backTitle is the title of the screen beneath, empty for the root.
    void setItem(NavigationItem* item, const QString& backTitle, bool canGoBack);
    QString titleText() const;
    QString promptText() const;
    QToolButton* backButton() const { return m_back; }

Q_SIGNALS:
    void backRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct BarSlot {
        QPointer<QWidget> widget;
        QPointer<QWidget> owner;
    };
    void refresh();
    void placeInSlot(BarSlot& slot, QWidget* next, QWidget* holder);

    QPointer<NavigationItem> m_item;
    QString m_backTitle;
    bool m_canGoBack = false;
    QLabel* m_prompt;
    QLabel* m_title;
    QToolButton* m_back;
    QHBoxLayout* m_row;
    QWidget* m_leftSlot;
    QWidget* m_rightSlot;
    BarSlot m_left;
    BarSlot m_right;
};

} // namespace tolvane

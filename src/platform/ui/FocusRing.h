#pragma once

#include <QList>
#include <QPointer>
#include <QWidget>

namespace tolvane {

// A ring drawn around the control that has the keyboard focus in one window, whatever its
// own style draws (many controls here are styled flat, with no focus frame of their own).
// Text fields show their caret and lists their current row instead, so they get no ring. The
// ring follows the control as it moves and lets every click through.
class FocusRing : public QWidget {
    Q_OBJECT
public:
    // Made as the window's child.
    explicit FocusRing(QWidget* window);

    // The control the ring is around, or null when it shows none.
    QWidget* target() const { return m_target; }
    static QColor colour() { return QColor(10, 100, 220); }
    static constexpr int width = 2;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void focusChanged(QWidget* now);
    void follow();

    QPointer<QWidget> m_target;
    // The control and the widgets it lies in.
    QList<QPointer<QWidget>> m_watched;
};

} // namespace tolvane

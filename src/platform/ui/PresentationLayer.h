#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

class QPropertyAnimation;

namespace tolvane {

class Screen;

// The layer that carries one presented screen over the whole window: full screen, or as a
// form sheet (a centred panel over a dimmed window on a pad; full screen on a phone). It
// catches all input meant for what lies beneath and follows the window's size.
class PresentationLayer : public QWidget {
    Q_OBJECT
public:
    PresentationLayer(Screen* presented, bool formSheet, QWidget* window);

    Screen* screen() const { return m_screen; }
    void animateIn(bool animated, std::function<void()> finished);
    void animateOut(bool animated, std::function<void()> finished);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QRect contentRect() const;
    void run(bool animated, QPoint from, QPoint to, std::function<void()> finished);

    QPointer<Screen> m_screen;
    bool m_formSheet;
};

} // namespace tolvane

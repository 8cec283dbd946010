#pragma once

#include <QPointer>
#include <QWidget>

namespace tolvane {

class Screen;

// The application's one window. It shows the root screen over its whole area, carries the
// presentation layers above it, tells the device its size, and posts an orientation change
// whenever that size changes.
class MainWindow : public QWidget {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);

    void setRootViewController(Screen* screen);
    Screen* rootViewController() const { return m_root; }

    // A phone-sized window by default, a pad-sized one when the device is told it is a pad.
    static QSize defaultSize();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QPointer<Screen> m_root;
};

} // namespace tolvane

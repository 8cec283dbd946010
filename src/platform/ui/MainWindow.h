#pragma once

#include <QPointer>
#include <QWidget>

namespace tolvane {

class Screen;

// The application's one window. It shows the root screen over its whole area, carries the
// presentation layers above it, tells the device its size, and posts an orientation change
// whenever that size changes. On a desktop it opens at a desk's size, remembers its size and
// place for the next start, and takes files dropped on it.
class MainWindow : public QWidget {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);

    void setRootViewController(Screen* screen);
    Screen* rootViewController() const { return m_root; }

    // A phone-sized window by default, a pad-sized one when the device is told it is a pad, a
    // desk-sized one on a desktop; never larger than the screen.
    static QSize defaultSize();

    // On a desktop: the size and place the window had when it last closed, if any.
    bool restorePlacement();
    void savePlacement() const;
    static QString placementFile();

Q_SIGNALS:
    // Files or addresses dropped on the window, as texts a hand-off reads.
    void dropped(const QStringList& texts);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QPointer<Screen> m_root;
};

} // namespace tolvane

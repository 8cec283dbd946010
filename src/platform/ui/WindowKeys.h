#pragma once

#include "platform/ui/Screen.h"

#include <QObject>
#include <QPointer>

class QShortcut;

namespace tolvane {

// The desktop's keys for one window. Escape closes what is in front (an alert or popover, else
// the front screen as its Cancel or Close would); Backspace or Alt+Left go back; Ctrl+F finds;
// F5 or Ctrl+R refresh; each goes to the front screen, which may have nothing to do for it.
// Ctrl+Q and Ctrl+O are the application's to answer. A text field that uses a key for itself
// (Backspace while typing) keeps it.
class WindowKeys : public QObject {
    Q_OBJECT
public:
    // Made as the window's child; the window is watched, never owned.
    explicit WindowKeys(QWidget* window);

    // Carries out a command on what is in front; false when nothing took it.
    bool route(Screen::KeyCommand command);

    // The alert or popover in front over the window, or null.
    static QWidget* frontOverlay(QWidget* window);
    // The screen in front in the window, or null.
    static Screen* frontScreen(QWidget* window);

Q_SIGNALS:
    void quitRequested();
    void openRequested();

private:
    void add(const QKeySequence& keys, std::function<void()> action);

    QPointer<QWidget> m_window;
};

} // namespace tolvane

#include "WindowKeys.h"

#include "platform/ui/AlertController.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/PopoverController.h"
#include "platform/ui/PresentationLayer.h"

#include <QShortcut>

namespace tolvane {

WindowKeys::WindowKeys(QWidget* window)
    : QObject(window)
    , m_window(window) {
    using Command = Screen::KeyCommand;
    const auto routing = [this](Command command) { return [this, command] { route(command); }; };
    add(QKeySequence(Qt::Key_Escape), routing(Command::Cancel));
    add(QKeySequence(Qt::Key_Backspace), routing(Command::Back));
    add(QKeySequence(Qt::ALT | Qt::Key_Left), routing(Command::Back));
    add(QKeySequence(Qt::CTRL | Qt::Key_F), routing(Command::Find));
    add(QKeySequence(Qt::Key_F5), routing(Command::Refresh));
    add(QKeySequence(Qt::CTRL | Qt::Key_R), routing(Command::Refresh));
    add(QKeySequence(Qt::CTRL | Qt::Key_Q), [this] { Q_EMIT quitRequested(); });
    add(QKeySequence(Qt::CTRL | Qt::Key_O), [this] { Q_EMIT openRequested(); });
}

void WindowKeys::add(const QKeySequence& keys, std::function<void()> action) {
    auto* shortcut = new QShortcut(keys, m_window);
    // Only this window's keys: a screen shown on its own has keys of its own.
    shortcut->setContext(Qt::WindowShortcut);
    connect(shortcut, &QShortcut::activated, this, std::move(action));
}

QWidget* WindowKeys::frontOverlay(QWidget* window) {
    if (!window)
        return nullptr;
    // Children are kept in stacking order, the front one last.
    const QObjectList children = window->children();
    for (auto child = children.crbegin(); child != children.crend(); ++child) {
        auto* widget = qobject_cast<QWidget*>(*child);
        if (!widget || !widget->isVisible())
            continue;
        if (qobject_cast<AlertController*>(widget))
            return widget;
        if (auto* popover = qobject_cast<PopoverController*>(widget);
            popover && popover->isPopoverVisible())
            return widget;
        // A presented screen in front covers whatever overlay lies beneath it.
        if (qobject_cast<PresentationLayer*>(widget))
            return nullptr;
    }
    return nullptr;
}

Screen* WindowKeys::frontScreen(QWidget* window) {
    auto* main = qobject_cast<MainWindow*>(window);
    Screen* root = main ? main->rootViewController() : nullptr;
    return root ? root->frontScreen() : nullptr;
}

bool WindowKeys::route(Screen::KeyCommand command) {
    if (command == Screen::KeyCommand::Cancel) {
        if (QWidget* overlay = frontOverlay(m_window)) {
            if (auto* alert = qobject_cast<AlertController*>(overlay)) {
                if (alert->cancelButtonIndex() < 0)
                    return false;
                alert->dismissWithClickedButtonIndex(alert->cancelButtonIndex());
            } else if (auto* popover = qobject_cast<PopoverController*>(overlay)) {
                popover->dismissByUser();
            }
            return true;
        }
    } else if (frontOverlay(m_window)) {
        // Beneath a question nothing else moves.
        return false;
    }
    Screen* front = frontScreen(m_window);
    return front && front->performKeyCommand(command);
}

} // namespace tolvane

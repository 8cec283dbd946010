#pragma once

#include "platform/ui/Screen.h"

#include <QList>
#include <QPointer>

class QStackedWidget;

namespace tolvane {

class NavigationBar;

// A stack of screens under a navigation bar. Owns the screens on its stack.
class NavigationController : public Screen {
    Q_OBJECT
public:
    explicit NavigationController(Screen* rootViewController = nullptr, QWidget* parent = nullptr);

    void pushViewController(Screen* screen, bool animated);
    // Pops the top screen (never the root); it is deleted once control returns to the event
    // loop. Returns it, or null when only the root is left.
    Screen* popViewControllerAnimated(bool animated);
    void popToRootViewControllerAnimated(bool animated);
    QList<Screen*> viewControllers() const;
    Screen* topViewController() const;
    NavigationBar* navigationBar() const { return m_bar; }

    // Goes to the top screen first; Back that it leaves pops it.
    bool performKeyCommand(KeyCommand command) override;

    void beginAppearanceTransition(bool appearing, bool animated) override;
    void endAppearanceTransition(bool appearing) override;

private:
    void showTop();

    NavigationBar* m_bar;
    QStackedWidget* m_stack;
    QList<QPointer<Screen>> m_screens;
};

} // namespace tolvane

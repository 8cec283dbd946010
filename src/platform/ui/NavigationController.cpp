#include "NavigationController.h"

#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationItem.h"

#include <QStackedWidget>
#include <QVBoxLayout>

namespace tolvane {

NavigationController::NavigationController(Screen* rootViewController, QWidget* parent)
    : Screen(parent)
    , m_bar(new NavigationBar(this))
    , m_stack(new QStackedWidget(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addWidget(m_stack, 1);
    connect(m_bar, &NavigationBar::backRequested, this,
            [this] { popViewControllerAnimated(true); });
    if (rootViewController)
        pushViewController(rootViewController, false);
}

QList<Screen*> NavigationController::viewControllers() const {
    QList<Screen*> screens;
    for (const QPointer<Screen>& screen : m_screens) {
        if (screen)
            screens.append(screen);
    }
    return screens;
}

Screen* NavigationController::topViewController() const {
    const QList<Screen*> screens = viewControllers();
    return screens.isEmpty() ? nullptr : screens.constLast();
}

void NavigationController::pushViewController(Screen* screen, bool animated) {
    if (!screen || m_screens.contains(screen))
        return;
    Screen* previous = topViewController();
    const bool visible = isVisible();
    if (previous && visible)
        previous->beginAppearanceTransition(false, animated);
    m_screens.append(screen);
    // The screen builds itself when first shown, once the stack has given it its size.
    m_stack->addWidget(screen);
    if (visible)
        screen->beginAppearanceTransition(true, animated);
    showTop();
    if (previous && visible)
        previous->endAppearanceTransition(false);
    if (visible)
        screen->endAppearanceTransition(true);
}

Screen* NavigationController::popViewControllerAnimated(bool animated) {
    if (viewControllers().size() < 2)
        return nullptr;
    Screen* top = topViewController();
    const bool visible = isVisible();
    if (visible)
        top->beginAppearanceTransition(false, animated);
    m_screens.removeAll(top);
    m_stack->removeWidget(top);
    top->setParent(nullptr);
    Screen* uncovered = topViewController();
    if (visible && uncovered)
        uncovered->beginAppearanceTransition(true, animated);
    showTop();
    if (visible) {
        top->endAppearanceTransition(false);
        if (uncovered)
            uncovered->endAppearanceTransition(true);
    }
    top->deleteLater();
    return top;
}

void NavigationController::popToRootViewControllerAnimated(bool animated) {
    while (viewControllers().size() > 1)
        popViewControllerAnimated(animated);
}

void NavigationController::showTop() {
    const QList<Screen*> screens = viewControllers();
    if (screens.isEmpty()) {
        m_bar->setItem(nullptr, QString(), false);
        return;
    }
    Screen* top = screens.constLast();
    m_stack->setCurrentWidget(top);
    const QString backTitle =
        screens.size() > 1 ? screens.at(screens.size() - 2)->title() : QString();
    m_bar->setItem(top->navigationItem(), backTitle, screens.size() > 1);
}

void NavigationController::beginAppearanceTransition(bool appearing, bool animated) {
    Screen::beginAppearanceTransition(appearing, animated);
    if (Screen* top = topViewController())
        top->beginAppearanceTransition(appearing, animated);
}

void NavigationController::endAppearanceTransition(bool appearing) {
    Screen::endAppearanceTransition(appearing);
    if (Screen* top = topViewController())
        top->endAppearanceTransition(appearing);
}

bool NavigationController::performKeyCommand(KeyCommand command) {
    Screen* top = topViewController();
    if (top && top->performKeyCommand(command))
        return true;
    // A screen that hides its back button is not left by a key either.
    if (command == KeyCommand::Back && m_screens.size() > 1 &&
        !(top && top->navigationItem()->hidesBackButton())) {
        popViewControllerAnimated(true);
        return true;
    }
    return false;
}

} // namespace tolvane

#include "Screen.h"

#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/PresentationLayer.h"

namespace tolvane {

namespace {
// The screen whose appearance a full-screen presentation changes: the outermost container.
Screen* appearanceRoot(Screen* screen) {
    if (NavigationController* navigation = screen->navigationController())
        return navigation;
    return screen;
}
} // namespace

Screen::Screen(QWidget* parent)
    : QWidget(parent)
    , m_navigationItem(new NavigationItem(this)) {
    setAutoFillBackground(true);
}

Screen::~Screen() = default;

QString Screen::title() const {
    return m_navigationItem->title();
}

void Screen::setTitle(const QString& title) {
    m_navigationItem->setTitle(title);
}

NavigationController* Screen::navigationController() const {
    for (QWidget* ancestor = parentWidget(); ancestor; ancestor = ancestor->parentWidget()) {
        if (auto* navigation = qobject_cast<NavigationController*>(ancestor))
            return navigation;
    }
    return nullptr;
}

void Screen::loadViewIfNeeded() {
    if (m_viewLoaded)
        return;
    m_viewLoaded = true;
    viewDidLoad();
    // Children made while the screen is already on show appear with it, as added views do,
    // unless they were hidden on purpose.
    for (QWidget* child : findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (!child->testAttribute(Qt::WA_WState_ExplicitShowHide))
            child->show();
    }
}

void Screen::showEvent(QShowEvent* event) {
    loadViewIfNeeded();
    QWidget::showEvent(event);
}

void Screen::beginAppearanceTransition(bool appearing, bool animated) {
    if (appearing)
        viewWillAppear(animated);
    else
        viewWillDisappear(animated);
}

void Screen::endAppearanceTransition(bool appearing) {
    if (appearing)
        viewDidAppear(false);
    else
        viewDidDisappear(false);
}

bool Screen::presentViewController(Screen* screen, bool animated, Completion completion) {
    if (!screen)
        return false;
    // A screen inside a navigation controller presents from its controller, as the platform
    // does, so that only one presentation hangs off each stack.
    Screen* presenter = this;
    if (NavigationController* navigation = navigationController())
        presenter = navigation;
    if (presenter->m_presented || !window()) {
        screen->deleteLater();
        return false;
    }
    const bool fullScreen = screen->modalPresentationStyle() == ModalPresentationStyle::FullScreen;
    auto* layer = new PresentationLayer(screen, !fullScreen, window());
    presenter->m_presented = screen;
    screen->m_presenting = presenter;
    screen->m_layer = layer;

    screen->loadViewIfNeeded();
    Screen* covered = appearanceRoot(presenter);
    if (fullScreen)
        covered->beginAppearanceTransition(false, animated);
    screen->beginAppearanceTransition(true, animated);
    QPointer<Screen> guardCovered(covered);
    QPointer<Screen> guardScreen(screen);
    layer->animateIn(animated, [=] {
        if (fullScreen && guardCovered)
            guardCovered->endAppearanceTransition(false);
        if (guardScreen)
            guardScreen->endAppearanceTransition(true);
        if (completion)
            completion();
    });
    return true;
}

void Screen::dismissViewControllerAnimated(bool animated, Completion completion) {
    Screen* presenter = this;
    if (NavigationController* navigation = navigationController(); navigation && !m_presented)
        presenter = navigation;
    if (!presenter->m_presented) {
        // Nothing presented here: a presented screen dismisses itself through its presenter.
        if (presenter->m_presenting)
            presenter->m_presenting->dismissViewControllerAnimated(animated, std::move(completion));
        return;
    }
    Screen* dismissed = presenter->m_presented;
    QPointer<PresentationLayer> layer = dismissed->m_layer;
    presenter->m_presented = nullptr;
    // Whatever the dismissed screen presents goes with it.
    for (Screen* above = dismissed->m_presented; above; above = above->m_presented) {
        if (above->m_layer)
            above->m_layer->deleteLater();
    }
    if (!layer)
        return;
    const bool fullScreen =
        dismissed->modalPresentationStyle() == ModalPresentationStyle::FullScreen;
    Screen* uncovered = appearanceRoot(presenter);
    dismissed->beginAppearanceTransition(false, animated);
    if (fullScreen)
        uncovered->beginAppearanceTransition(true, animated);
    QPointer<Screen> guardUncovered(uncovered);
    layer->animateOut(animated, [=] {
        if (layer) {
            layer->hide();
            layer->deleteLater();
        }
        if (fullScreen && guardUncovered)
            guardUncovered->endAppearanceTransition(true);
        if (completion)
            completion();
    });
}

bool Screen::performKeyCommand(KeyCommand) {
    return false;
}

Screen* Screen::frontScreen() {
    Screen* front = this;
    while (Screen* presented = front->presentedViewController())
        front = presented;
    return front;
}

} // namespace tolvane

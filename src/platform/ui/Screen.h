#pragma once

#include <QPointer>
#include <QWidget>

#include <functional>

namespace tolvane {

class NavigationController;
class NavigationItem;
class PresentationLayer;

// One screen of the application: a widget with a navigation item, the life-cycle calls a
// screen reacts to, and modal presentation of another screen over itself with a completion
// that runs once the transition is over.
class Screen : public QWidget {
    Q_OBJECT
public:
    enum class ModalPresentationStyle { FullScreen, FormSheet };
    // What the desktop's keys ask of the screen in front.
    enum class KeyCommand {
        Cancel,  // close as the screen's Cancel or Close would
        Back,    // go back one level
        Refresh, // read what is shown again
        Find,    // put the focus in the screen's search field
    };
    using Completion = std::function<void()>;

    explicit Screen(QWidget* parent = nullptr);
    ~Screen() override;

    NavigationItem* navigationItem() const { return m_navigationItem; }
    QString title() const;
    void setTitle(const QString& title);

    // The navigation controller this screen is on, if any.
    NavigationController* navigationController() const;

    // Builds the screen's content once, on first need.
    void loadViewIfNeeded();
    bool isViewLoaded() const { return m_viewLoaded; }

    ModalPresentationStyle modalPresentationStyle() const { return m_presentationStyle; }
    void setModalPresentationStyle(ModalPresentationStyle style) { m_presentationStyle = style; }

    // Presents a screen over this one and takes ownership of it until it is dismissed. Refused
    // (and the screen deleted) while this screen already presents one.
    bool presentViewController(Screen* screen, bool animated, Completion completion = nullptr);
    // Dismisses the screen this one presents, or, when it presents none, this screen itself
    // if it was presented. The completion runs after the dismissed screen has gone.
    virtual void dismissViewControllerAnimated(bool animated, Completion completion = nullptr);
    Screen* presentedViewController() const { return m_presented; }
    Screen* presentingViewController() const { return m_presenting; }

    // Appearance calls, forwarded by containers to the screens they show.
    virtual void beginAppearanceTransition(bool appearing, bool animated);
    virtual void endAppearanceTransition(bool appearing);

    // Carries out a key command; false when the screen has nothing to do for it.
    virtual bool performKeyCommand(KeyCommand command);
    // The screen in front: the last one presented from this one onwards (this one when it
    // presents none), and within a navigation stack its top screen.
    Screen* frontScreen();

    // Duration of presentation and dismissal animations, in milliseconds.
    static constexpr int transitionDurationMs = 300;

protected:
    virtual void viewDidLoad() {}
    virtual void viewWillAppear(bool animated) { Q_UNUSED(animated); }
    virtual void viewDidAppear(bool animated) { Q_UNUSED(animated); }
    virtual void viewWillDisappear(bool animated) { Q_UNUSED(animated); }
    virtual void viewDidDisappear(bool animated) { Q_UNUSED(animated); }

    void showEvent(QShowEvent* event) override;

private:
    friend class PresentationLayer;

    NavigationItem* m_navigationItem;
    bool m_viewLoaded = false;
    ModalPresentationStyle m_presentationStyle = ModalPresentationStyle::FullScreen;
    QPointer<Screen> m_presented;
    QPointer<Screen> m_presenting;
    QPointer<PresentationLayer> m_layer;
};

} // namespace tolvane

#pragma once

#include "app/ui/ViewController.h"
#include "platform/ui/MainWindow.h"

#include <QApplication>
#include <QPointer>
#include <QThreadPool>
#include <QVariant>

namespace tolvane {

// The application object and its own delegate: start-up builds the window with the main screen
// inside a navigation controller, and URLs handed over by other programs are turned into
// actions of the main screen.
class TolvaneApplication : public QApplication {
    Q_OBJECT
public:
    TolvaneApplication(int& argc, char** argv);
    ~TolvaneApplication() override;

    static TolvaneApplication* instance();

    MainWindow* window() const { return m_window; }
    void setWindow(MainWindow* window);
    ViewController* viewController() const { return m_viewController; }
    void setViewController(ViewController* viewController);

    // The launch image stays up this long before the window is made, unless turned off.
    static constexpr int launchPauseMs = 1500;
    void setLaunchPauseEnabled(bool enabled) { m_launchPause = enabled; }

    // Start-up: appearance defaults, the launch pause, then the window. Always true.
    bool application(TolvaneApplication* application, const QVariantMap& launchOptions);
    // A URL handed over by another program (a null text is no URL). True when it started an
    // action. The source application and the annotation are not used.
    bool application(TolvaneApplication* application, const QString& url,
                     const QString& sourceApplication, const QVariant& annotation);

    // Texts another application hands over (arguments, a later launch's message, a drop): a
    // file is entered into the Inbox away from the screen, then each text goes on to the
    // hand-off above, in the order given. A file that cannot be entered is told in an alert.
    void receive(const QStringList& texts);

    static int currentYear();

private:
    void applyAppearance();
    void showLaunchImageAndPause();

    QPointer<MainWindow> m_window;
    QPointer<ViewController> m_viewController;
    bool m_launchPause = true;
    // One worker, so that hand-offs reach the screen in the order they came.
    QThreadPool m_receiving;
};

} // namespace tolvane

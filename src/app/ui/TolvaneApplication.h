#pragma once

#include "app/ui/ViewController.h"
#include "platform/ui/MainWindow.h"

#include <QApplication>
#include <QHash>
#include <QPointer>
#include <QStringList>
#include <QThreadPool>
#include <QVariant>

#include <functional>

namespace tolvane {

class DesktopNotifier;
class FileManager;

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

    // Files dropped on the window or chosen with Ctrl+O: each takes the hand-off road in turn,
    // the next once the editor of the one before has gone. A folder is browsed to; an address
    // that is not a file here, or a file that is not there, is told in an alert.
    void receiveDropped(const QStringList& texts);
    int waitingDropped() const { return int(m_waiting.size()); }
    // Forgets the dropped files that have not had their turn yet.
    void cancelDropped() { m_waiting.clear(); }
    // Ctrl+O: a file chooser whose choice goes the way of a drop.
    void chooseFilesToOpen();

    // On a desktop, tells the notification service how an import ended; "Show in Folder" shows
    // the item in the file manager. Made on first use.
    void tellImportFinished(const QVariantMap& record, const Result<LibraryItem>& outcome);
    DesktopNotifier* notifier();

    static int currentYear();

private:
    void applyAppearance();
    void showLaunchImageAndPause();
    void equipWindow(MainWindow* window, ViewController* main);
    void openNextDropped();
    void droppedEditorClosed();
    // Enters the text's file into the Inbox away from the screen, then performs the hand-off;
    // done(performed) follows on the screen's thread.
    void handOver(const QString& text, std::function<void(bool performed)> done);

    QPointer<MainWindow> m_window;
    QPointer<ViewController> m_viewController;
    bool m_launchPause = true;
    // One worker, so that hand-offs reach the screen in the order they came.
    QThreadPool m_receiving;
    // Dropped files waiting for the editor before them to go.
    QStringList m_waiting;
    bool m_openingDropped = false;
    DesktopNotifier* m_notifier = nullptr;
    FileManager* m_fileManager = nullptr;
    // The item each delivered notice shows, by the notice's id.
    QHash<uint, QString> m_noticeItems;
};

} // namespace tolvane

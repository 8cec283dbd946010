#pragma once

#include "browser/DirectoryPickerStack.h"
#include "platform/ui/NavigationController.h"

namespace tolvane {

class PSDirectoryPickerController;
class PSDirectoryListViewController;

// What the picker tells its opener; both calls are optional.
class PSDirectoryPickerDelegate {
public:
    virtual ~PSDirectoryPickerDelegate() = default;
    virtual void directoryPickerControllerDidCancel(PSDirectoryPickerController* picker) {
        Q_UNUSED(picker);
    }
    virtual void
    directoryPickerControllerDidFinishPickingDirectoryAtPath(PSDirectoryPickerController* picker,
                                                             const QString& path) {
        Q_UNUSED(picker);
        Q_UNUSED(path);
    }
};

// The file browser: a navigation stack of folder listings, filled at creation with every
// folder from "/" down to the root directory (see DirectoryPickerStack), the root's on top.
class PSDirectoryPickerController : public NavigationController {
    Q_OBJECT
public:
    // Starts in the user's documents folder.
    explicit PSDirectoryPickerController(QWidget* parent = nullptr);
    explicit PSDirectoryPickerController(const QString& rootDirectory, QWidget* parent = nullptr);

    QString rootDirectory() const { return m_rootDirectory; }
    QString prompt() const { return m_prompt; }
    // Shown as the prompt of every listing.
    void setPrompt(const QString& prompt);
    QString doneButtonTitle() const { return m_doneButtonTitle; }
    void setDoneButtonTitle(const QString& title) { m_doneButtonTitle = title; }

    PSDirectoryPickerDelegate* delegate() const { return m_delegate; }
    // Not owned; must outlive the picker or be cleared.
    void setDelegate(PSDirectoryPickerDelegate* delegate) { m_delegate = delegate; }

    // Dismisses the picker, then tells the delegate.
    void cancelButtonTapped();
    // Escape closes the picker as its Cancel does.
    bool performKeyCommand(KeyCommand command) override;
    void doneButtonTapped();

    static bool shouldAutorotateToInterfaceOrientation(InterfaceOrientation orientation) {
        return DirectoryPickerStack::shouldAutorotateToInterfaceOrientation(orientation);
    }

private:
    void dismissThen(std::function<void()> then);

    QString m_rootDirectory;
    QString m_prompt;
    QString m_doneButtonTitle;
    PSDirectoryPickerDelegate* m_delegate = nullptr;
};

} // namespace tolvane

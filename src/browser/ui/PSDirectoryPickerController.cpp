#include "PSDirectoryPickerController.h"

#include "browser/ui/PSDirectoryListViewController.h"
#include "platform/Localisation.h"
#include "platform/Paths.h"

#include <QDir>
#include <QPointer>
#include <QStandardPaths>

namespace tolvane {

namespace {

QString documentsFolder() {
    const QStringList folders =
        QStandardPaths::standardLocations(QStandardPaths::DocumentsLocation);
    return folders.isEmpty() ? QDir::homePath() : folders.first();
}

} // namespace

PSDirectoryPickerController::PSDirectoryPickerController(QWidget* parent)
    : PSDirectoryPickerController(documentsFolder(), parent) {}

PSDirectoryPickerController::PSDirectoryPickerController(const QString& rootDirectory,
                                                         QWidget* parent)
    : NavigationController(nullptr, parent)
    , m_rootDirectory(rootDirectory) {
    const QStringList folders = DirectoryPickerStack::foldersForRootDirectory(
        rootDirectory, Paths::userRootFirstComponent());
    for (const QString& folder : folders)
        pushViewController(new PSDirectoryListViewController(folder), false);
    m_doneButtonTitle = localized("Done");
}

void PSDirectoryPickerController::setPrompt(const QString& prompt) {
    m_prompt = prompt;
    for (Screen* screen : viewControllers()) {
        if (auto* listing = qobject_cast<PSDirectoryListViewController*>(screen))
            listing->refreshPrompt();
    }
}

void PSDirectoryPickerController::dismissThen(std::function<void()> then) {
    if (!presentingViewController()) {
        // Shown on its own: closing is the dismissal.
        close();
        then();
        return;
    }
    dismissViewControllerAnimated(true, std::move(then));
}

void PSDirectoryPickerController::cancelButtonTapped() {
    QPointer<PSDirectoryPickerController> self(this);
    PSDirectoryPickerDelegate* delegate = m_delegate;
    dismissThen([self, delegate] {
        if (self && delegate)
            delegate->directoryPickerControllerDidCancel(self);
    });
}

void PSDirectoryPickerController::doneButtonTapped() {
    QPointer<PSDirectoryPickerController> self(this);
    PSDirectoryPickerDelegate* delegate = m_delegate;
    auto* top = qobject_cast<PSDirectoryListViewController*>(topViewController());
    const QString path = top ? top->path() : QString();
    dismissThen([self, delegate, path] {
        if (self && delegate)
            delegate->directoryPickerControllerDidFinishPickingDirectoryAtPath(self, path);
    });
}

bool PSDirectoryPickerController::performKeyCommand(KeyCommand command) {
    if (NavigationController::performKeyCommand(command))
        return true;
    if (command != KeyCommand::Cancel)
        return false;
    cancelButtonTapped();
    return true;
}

} // namespace tolvane

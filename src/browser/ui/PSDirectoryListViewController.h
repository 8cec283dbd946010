#pragma once

#include "browser/DeleteFileActivity.h"
#include "browser/PSDirectoryPickerEntry.h"
#include "browser/PlayMediaActivity.h"
#include "browser/PreviewActivity.h"
#include "platform/ui/Screen.h"

#include <QList>
#include <QUrl>

#include <memory>

class QToolButton;

namespace tolvane {

class Activity;
class DirectoryListModel;
class PSDirectoryPickerController;
class PickerCell;
class PickerListView;
class OpenInActivity;

// One folder of the file browser. A folder row opens the next listing (a link to a folder
// opens its stored destination); a file row opens the file-action sheet. Rows are deleted by
// swiping (the Delete button) or, after a question, with the Delete key; the screen is the
// delegate of the delete, play and preview actions. On a desktop a removal goes to the Trash
// (for good, after asking again, only where no Trash can take it) and a word says which
// happened; the listing's order is chosen from a menu on the bar. The keyboard's current row
// stays on its entry when the folder is read again.
class PSDirectoryListViewController : public Screen,
                                      public DeleteFileActivityDelegate,
                                      public PlayMediaActivityDelegate,
                                      public PreviewActivityDelegate {
    Q_OBJECT
public:
    explicit PSDirectoryListViewController(const QString& path, QWidget* parent = nullptr);
    ~PSDirectoryListViewController() override;

    QString path() const { return m_path; }
    DirectoryListModel* model() const { return m_model; }
    PickerListView* tableView();
    QUrl previewURL() const { return m_previewURL; }
    // The action chosen last, while it runs.
    Activity* runningActivity() const { return m_runningActivity.get(); }

    void rebuildFileList();
    void tableViewDidSelectRow(int row);
    // Swipe-delete of a row; the list is read again once the removal is done.
    void tableViewCommitDelete(int row);
    // The Delete key on a row: asks, then removes as the Delete button does.
    void confirmDelete(int row);
    // The file-action sheet for a file.
    void presentActionSheetForPath(const QString& path);
    // Runs an action taken from the sheet after the sheet has gone.
    void performActivity(std::unique_ptr<Activity> activity);

    static int currentYear();

    void refreshPrompt();

    void DeleteFileActivityFinishedSuccessfully() override;
    void DeleteFileActivityMovedToTrash(const QString& path) override;
    void DeleteFileActivityCannotMoveToTrash(const QString& path, const Failure& why) override;
    void PlayMediaActivityFinishedSuccessfully(const QUrl& fileUrl) override;
    void previewActivityCanBeLaunched(const QUrl& fileUrl) override;

    // F5 reads the folder again.
    bool performKeyCommand(KeyCommand command) override;
    // The order menu's button on a desktop, else null.
    QToolButton* orderButton() const { return m_orderButton; }

Q_SIGNALS:
    // The listing was read again.
    void fileListRebuilt();

protected:
    void viewDidLoad() override;

private:
    PSDirectoryPickerController* picker() const;
    // Presents a screen once whatever this listing presents has gone.
    void presentAfterDismissal(Screen* screen);
    void showOpenInMenu(OpenInActivity* activity, const QList<struct OpenInApplication>& apps);
    void removeEntry(const PSDirectoryPickerEntry& entry);
    void askToDeletePermanently(const PSDirectoryPickerEntry& entry, const Failure& why);
    void deletePermanently(const PSDirectoryPickerEntry& entry, bool tell);
    void makeOrderButton();
    void rememberCurrentRow();
    void restoreCurrentRow();

    QString m_path;
    DirectoryListModel* m_model;
    PickerListView* m_tableView = nullptr;
    PickerCell* m_cell = nullptr;
    QToolButton* m_cancelButton = nullptr;
    QToolButton* m_orderButton = nullptr;
    // The current row's entry and the scroll position while the rows are read again.
    QString m_currentPath;
    int m_scrolledTo = 0;
    QUrl m_previewURL;
    std::unique_ptr<Activity> m_runningActivity;
};

} // namespace tolvane

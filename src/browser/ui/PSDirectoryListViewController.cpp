#include "PSDirectoryListViewController.h"

#include "browser/DirectoryListModel.h"
#include "browser/DirectoryListing.h"
#include "browser/ExportabilityCache.h"
#include "browser/FileActionSheet.h"
#include "browser/OpenInActivity.h"
#include "browser/ui/ActivityViewController.h"
#include "browser/ui/PSDirectoryPickerController.h"
#include "browser/ui/PickerCell.h"
#include "browser/ui/PickerListView.h"
#include "browser/ui/PreviewController.h"
#include "import/ui/PlayerWindow.h"
#include "platform/CurrentYear.h"
#include "platform/Device.h"
#include "platform/Localisation.h"
#include "platform/OffScreen.h"
#include "platform/PathString.h"
#include "platform/Paths.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/StatusToast.h"

#include <QActionGroup>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QPointer>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace tolvane {

PSDirectoryListViewController::PSDirectoryListViewController(const QString& path, QWidget* parent)
    : Screen(parent)
    , m_path(path)
    , m_model(new DirectoryListModel(path, ExportabilityCache::shared(), this)) {
    setTitle(PathString::lastPathComponent(path));
    QPalette ground = palette();
    ground.setColor(QPalette::Window, PickerListView::groundColor());
    setPalette(ground);
    connect(m_model, &DirectoryListModel::rebuilt, this,
            &PSDirectoryListViewController::fileListRebuilt);
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this,
            &PSDirectoryListViewController::rememberCurrentRow);
}

PSDirectoryListViewController::~PSDirectoryListViewController() = default;

PickerListView* PSDirectoryListViewController::tableView() {
    loadViewIfNeeded();
    return m_tableView;
}

PSDirectoryPickerController* PSDirectoryListViewController::picker() const {
    return qobject_cast<PSDirectoryPickerController*>(navigationController());
}

void PSDirectoryListViewController::viewDidLoad() {
    m_tableView = new PickerListView(this);
    m_cell = new PickerCell(m_tableView);
    m_tableView->setItemDelegate(m_cell);
    m_tableView->setModel(m_model);
    // After the view's own handling of the reset, which clears its current row.
    connect(m_model, &QAbstractItemModel::modelReset, this,
            &PSDirectoryListViewController::restoreCurrentRow);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_tableView);
    connect(m_tableView, &PickerListView::rowSelected, this,
            &PSDirectoryListViewController::tableViewDidSelectRow);
    connect(m_tableView, &PickerListView::deleteRequested, this,
            &PSDirectoryListViewController::tableViewCommitDelete);
    connect(m_tableView, &PickerListView::deleteKeyPressed, this,
            &PSDirectoryListViewController::confirmDelete);

    m_cancelButton = new QToolButton(this);
    m_cancelButton->setText(localized("Cancel"));
    m_cancelButton->setAutoRaise(true);
    m_cancelButton->setCursor(Qt::PointingHandCursor);
    connect(m_cancelButton, &QToolButton::clicked, this, [this] {
        if (PSDirectoryPickerController* owner = picker())
            owner->cancelButtonTapped();
    });
    m_cancelButton->hide();
    navigationItem()->setRightBarButton(m_cancelButton);
    if (Paths::isDesktopLayout())
        makeOrderButton();
    refreshPrompt();
    setFocusProxy(m_tableView);
}

void PSDirectoryListViewController::makeOrderButton() {
    m_orderButton = new QToolButton(this);
    m_orderButton->setObjectName(QStringLiteral("orderButton"));
    m_orderButton->setText(localized("Sort"));
    m_orderButton->setAccessibleName(localized("Sort"));
    m_orderButton->setAutoRaise(true);
    m_orderButton->setCursor(Qt::PointingHandCursor);
    m_orderButton->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(m_orderButton);
    auto* choices = new QActionGroup(menu);
    for (ListingOrder::Kind kind :
         {ListingOrder::Name, ListingOrder::DateAdded, ListingOrder::FileSystem}) {
        QAction* choice = menu->addAction(ListingOrder::title(kind));
        choice->setCheckable(true);
        choice->setChecked(m_model->order() == kind);
        choice->setData(ListingOrder::keyFor(kind));
        choices->addAction(choice);
        connect(choice, &QAction::triggered, this, [this, kind] {
            m_model->setOrder(kind);
            if (const Status saved = ListingOrder::setCurrent(kind); !saved)
                StatusToast::show(saved.errorText(), this);
        });
    }
    m_orderButton->setMenu(menu);
    navigationItem()->setRightBarButton(m_orderButton);
}

bool PSDirectoryListViewController::performKeyCommand(KeyCommand command) {
    if (command != KeyCommand::Refresh)
        return false;
    rebuildFileList();
    return true;
}

void PSDirectoryListViewController::rememberCurrentRow() {
    m_currentPath.clear();
    if (!m_tableView)
        return;
    m_currentPath = m_tableView->currentIndex().data(DirectoryListModel::PathRole).toString();
    m_scrolledTo = m_tableView->verticalScrollBar()->value();
}

void PSDirectoryListViewController::restoreCurrentRow() {
    if (!m_tableView)
        return;
    const int row = m_currentPath.isEmpty() ? -1 : m_model->rowOfPath(m_currentPath);
    if (row >= 0)
        m_tableView->setCurrentIndex(m_model->index(row));
    m_tableView->verticalScrollBar()->setValue(m_scrolledTo);
}

void PSDirectoryListViewController::refreshPrompt() {
    if (PSDirectoryPickerController* owner = picker())
        navigationItem()->setPrompt(owner->prompt());
}

int PSDirectoryListViewController::currentYear() {
    return tolvane::currentYear();
}

void PSDirectoryListViewController::rebuildFileList() {
    if (m_tableView)
        m_tableView->showDeleteButton(-1);
    if (m_cell)
        m_cell->clearImages();
    m_model->rebuildFileList();
}

void PSDirectoryListViewController::tableViewDidSelectRow(int row) {
    if (row < 0 || row >= m_model->rowCount())
        return;
    const PSDirectoryPickerEntry entry = m_model->entryAt(row);
    const QString path = QFile::decodeName(DirectoryListing::resolvedPath(entry.nativePath()));
    if (entry.isDir()) {
        if (NavigationController* navigation = navigationController())
            navigation->pushViewController(new PSDirectoryListViewController(path), true);
        return;
    }
    presentActionSheetForPath(entry.path());
    if (m_tableView)
        m_tableView->clearSelection();
}

void PSDirectoryListViewController::tableViewCommitDelete(int row) {
    if (row < 0 || row >= m_model->rowCount())
        return;
    removeEntry(m_model->entryAt(row));
}

void PSDirectoryListViewController::confirmDelete(int row) {
    if (row < 0 || row >= m_model->rowCount())
        return;
    const PSDirectoryPickerEntry entry = m_model->entryAt(row);
    const bool trash = Paths::isDesktopLayout();
    const QString title = trash ? localized("Move “%1” to the Trash?").arg(entry.name())
                                : localized("Delete “%1”?").arg(entry.name());
    const QString message = trash ? localized("You can put it back from the Trash.")
                                  : localized("This cannot be undone.");
    QPointer<PSDirectoryListViewController> self(this);
    AlertController::alert(
        title, message,
        {localized("Cancel"), trash ? localized("Move to Trash") : localized("Delete")}, this,
        [self, entry](int chosen) {
            if (self && chosen == 1)
                self->removeEntry(entry);
        });
}

void PSDirectoryListViewController::removeEntry(const PSDirectoryPickerEntry& entry) {
    if (!Paths::isDesktopLayout()) {
        deletePermanently(entry, false);
        return;
    }
    runOffScreen(
        this, [entry] { return DirectoryListing::moveEntryToTrash(entry); },
        [this, entry](const Status& trashed) {
            rebuildFileList();
            if (trashed)
                StatusToast::show(localized("Moved “%1” to the Trash").arg(entry.name()), this);
            else
                askToDeletePermanently(entry, trashed.failure());
        });
}

void PSDirectoryListViewController::askToDeletePermanently(const PSDirectoryPickerEntry& entry,
                                                           const Failure& why) {
    QPointer<PSDirectoryListViewController> self(this);
    AlertController::alert(
        localized("No Trash for “%1”").arg(entry.name()),
        localized("%1\n\nDelete it permanently? It cannot be put back.").arg(why.text()),
        {localized("Cancel"), localized("Delete Permanently")}, this, [self, entry](int chosen) {
            if (self && chosen == 1)
                self->deletePermanently(entry, true);
        });
}

void PSDirectoryListViewController::deletePermanently(const PSDirectoryPickerEntry& entry,
                                                      bool tell) {
    // A folder may hold many files: the removal runs off the main thread.
    runOffScreen(
        this,
        [entry, tell] {
            Status deleted = DirectoryListing::deleteEntry(entry);
            if (!tell) {
                ignoreFailure(deleted,
                              "a removal that fails leaves the row, which the new listing shows");
            }
            return deleted;
        },
        [this, entry, tell](const Status& deleted) {
            rebuildFileList();
            if (!tell)
                return;
            if (deleted) {
                StatusToast::show(localized("Deleted “%1” permanently").arg(entry.name()), this);
            } else {
                AlertController::alert(localized("Cannot Delete"), deleted.errorText(),
                                       {localized("OK")}, this);
            }
        });
}

void PSDirectoryListViewController::presentActionSheetForPath(const QString& path) {
    FileActionDelegates delegates;
    delegates.deleteFile = this;
    delegates.playMedia = this;
    delegates.preview = this;
    delegates.screen = this;
    auto* sheet = new ActivityViewController(FileActionSheet::compose(path, delegates));
    QPointer<PSDirectoryListViewController> self(this);
    sheet->setChosenHandler([self](std::unique_ptr<Activity> chosen) {
        if (self)
            self->performActivity(std::move(chosen));
    });
    presentViewController(sheet, true);
}

void PSDirectoryListViewController::performActivity(std::unique_ptr<Activity> activity) {
    if (!activity)
        return;
    m_runningActivity = std::move(activity);
    Activity* running = m_runningActivity.get();
    if (auto* openIn = qobject_cast<OpenInActivity*>(running)) {
        connect(openIn, &OpenInActivity::openInMenuRequested, this,
                [this, openIn](const QList<OpenInApplication>& applications) {
                    showOpenInMenu(openIn, applications);
                });
        connect(openIn, &OpenInActivity::noApplicationFound, this, [this] {
            AlertController::alert(OpenInActivity::noApplicationTitle(),
                                   OpenInActivity::noApplicationMessage(), {localized("OK")}, this);
        });
    }
    running->performActivity();
}

void PSDirectoryListViewController::showOpenInMenu(OpenInActivity* activity,
                                                   const QList<OpenInApplication>& applications) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setObjectName(QStringLiteral("openInMenu"));
    QPointer<OpenInActivity> guard(activity);
    for (const OpenInApplication& application : applications) {
        QAction* action = menu->addAction(QIcon::fromTheme(application.iconName), application.name);
        const QString id = application.id;
        const QString name = application.name;
        connect(action, &QAction::triggered, this, [this, guard, id, name] {
            if (!guard)
                return;
            if (const Status opened = guard->openWithApplication(id); !opened) {
                AlertController::alert(name, opened.failure().message(), {localized("OK")}, this);
            }
        });
    }
    // The menu's end comes after its choice has been handled.
    connect(menu, &QMenu::aboutToHide, this, [guard] {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [guard] {
                if (guard)
                    guard->documentInteractionControllerDidDismissOpenInMenu();
            },
            Qt::QueuedConnection);
    });
    menu->popup(mapToGlobal(QPoint(0, 0)));
}

void PSDirectoryListViewController::presentAfterDismissal(Screen* screen) {
    if (presentedViewController()) {
        QPointer<PSDirectoryListViewController> self(this);
        QPointer<Screen> guard(screen);
        dismissViewControllerAnimated(true, [self, guard] {
            if (self && guard)
                self->presentViewController(guard, true);
            else if (guard)
                guard->deleteLater();
        });
        return;
    }
    presentViewController(screen, true);
}

void PSDirectoryListViewController::DeleteFileActivityFinishedSuccessfully() {
    rebuildFileList();
}

void PSDirectoryListViewController::DeleteFileActivityMovedToTrash(const QString& path) {
    rebuildFileList();
    StatusToast::show(localized("Moved “%1” to the Trash").arg(PathString::lastPathComponent(path)),
                      this);
}

void PSDirectoryListViewController::DeleteFileActivityCannotMoveToTrash(const QString& path,
                                                                        const Failure& why) {
    // The sheet's item is the resolved path itself: no link to follow.
    const PSDirectoryPickerEntry entry(path, PathString::lastPathComponent(path),
                                       QFileInfo(path).isDir());
    askToDeletePermanently(entry, why);
}

void PSDirectoryListViewController::PlayMediaActivityFinishedSuccessfully(const QUrl& fileUrl) {
    auto* player = new PlayerWindow(fileUrl.toLocalFile());
    player->setShouldAutoplay(true);
    presentAfterDismissal(player);
}

void PSDirectoryListViewController::previewActivityCanBeLaunched(const QUrl& fileUrl) {
    m_previewURL = fileUrl;
    presentAfterDismissal(new PreviewController(m_previewURL));
}

} // namespace tolvane

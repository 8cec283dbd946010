#pragma once

#include "import/ImportRecord.h"
#include "import/ImportSubmission.h"
#include "platform/OffScreen.h"
#include "platform/ui/ImagePickerController.h"
#include "platform/ui/PopoverController.h"
#include "platform/ui/Screen.h"
#include "platform/ui/TableViewDataSource.h"
#include "search/ui/GoogleImagesSearchDelegate.h"

#include <QImage>
#include <QList>
#include <QMap>
#include <QPointer>
#include <QVariantMap>

#include <functional>

class QToolButton;

namespace tolvane {

class AlertController;
class GoogleImagesCollectionVC;
class EditableImportTableViewCell;
class GroupedTableView;
class ImportSelectCell;
class ImportTextField;
class ImportTumbnailCell;
class MBProgressHUD;
class TableViewCell;

// The screen on which the user checks a media file's tags, artwork and kind before importing
// it: a grouped table of the artwork, its sources, a preview row, the kind and the kind's
// fields, under "Cancel" and "Import". Every keystroke is committed to the record at once.
// The screen shows at once with the values its record was given; the file's tags and the
// artwork images are read away from the screen and fill in the fields the user has not
// touched yet. An Import tapped before they are read waits for them.
class ImportViewController : public Screen,
                             public TableViewDataSource,
                             public GoogleImagesSearchDelegate,
                             public ImagePickerControllerDelegate,
                             public PopoverControllerDelegate {
    Q_OBJECT
public:
    // The sheet of kinds is told apart from any other by this tag.
    static constexpr qint64 mediaKindPickerTag = 0xfeedcafe;

    // From a recorded download and the kind it was recorded as; the file's tags are read unless
    // the download is a video.
    ImportViewController(const QVariantMap& handoff, const QString& mediaKind);
    // From a record that is already whole (a file handed over by another application, the
    // file browser's import actions).
    explicit ImportViewController(const QVariantMap& record);
    ~ImportViewController() override;

    // Not owned: it must outlive the editor or be unset first.
    ImportViewControllerDelegate* delegate() const { return m_delegate; }
    void setDelegate(ImportViewControllerDelegate* delegate) { m_delegate = delegate; }

    // The record being edited, as a dictionary; empty once it has been submitted.
    QVariantMap importDict() const;
    const std::optional<ImportRecord>& record() const { return m_record; }
    // True until the file's tags and artwork have been read and filled in.
    bool isReadingRecord() const { return m_reading.has_value(); }
    // Kind to its editable rows, built once when the view loads; kinds named together share
    // one list, and "ringtone" has none. The rows belong to the table.
    const QMap<QString, QList<EditableImportTableViewCell*>>& cells() const { return m_cells; }
    // The input being edited, or null.
    ImportTextField* currentTextField() const;

    GroupedTableView* tableView() const { return m_tableView; }
    ImportTumbnailCell* thumbnailCell() const { return m_thumbnailCell; }
    QToolButton* cancelButton() const { return m_cancelButton; }
    // Escape is Cancel.
    bool performKeyCommand(KeyCommand command) override;
    QToolButton* importButton() const { return m_importButton; }

    void importButtonPressed();
    void cancelButtonPressed();
    // Commits the field being edited into the record and, with the flag, sizes the artwork.
    void saveNewMetadataAndImport(bool scaleArtwork);

    void showMediaKindPicker();
    // The sheet of kinds closes with a button.
    void actionSheet(AlertController* actionSheet, int buttonIndex);

    // The web search's pick: stored as PNG.
    void googleImagesDidFinishPickingImage(const QImage& image) override;
    // The photo library's pick: stored as JPEG at full quality.
    void imagePickerController(ImagePickerController* picker, const QVariantMap& info) override;
    void imagePickerControllerDidCancel(ImagePickerController* picker) override;
    void popoverControllerDidDismissPopover(PopoverController* popover) override;

    // What the web search is asked for: the artist and the title joined by a plus sign; a
    // missing value reads "(null)".
    static QString artworkSearchTerm(const Tags& metadata);

    // TableViewDataSource
    int numberOfSectionsInTableView() const override;
    int numberOfRowsInSection(int section) const override;
    TableViewCell* cellForRowAtIndexPath(TableIndexPath indexPath) override;
    QString titleForHeaderInSection(int section) const override;
    qreal heightForHeaderInSection(int section) const override;
    qreal heightForRowAtIndexPath(TableIndexPath indexPath) const override;
    void didSelectRowAtIndexPath(TableIndexPath indexPath) override;

protected:
    void viewDidLoad() override;
    void viewWillAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;

private:
    ImportViewController(ImportRecord shown, std::function<ImportRecord()> readRecord);
    void recordDidArrive(ImportRecord read);
    void showField(EditableImportTableViewCell* cell, const QString& kind);
    void submit(MBProgressHUD* hud, const std::optional<EditedField>& edited);
    void buildRows();
    EditableImportTableViewCell* makeRow(int fieldId, const QString& kind);
    QString mediaKind() const;
    void storeArtwork(const QByteArray& imageData);
    void reloadData();
    void observeTextFields(bool observe);
    void textFieldTextDidChange(ImportTextField* textField);
    void textFieldTextDidEndEditing(ImportTextField* textField);
    std::optional<EditedField> editedField() const;

    void openArtworkSearch();
    void openPhotoLibrary();
    void previewMedia();
    // The import's outcome, back on the screen's thread: on success the editor goes on as it
    // always has; on failure the overlay goes, an alert says why, and the editor keeps the
    // record as it was before Import, edits and all.
    void importDidFinish(const Result<LibraryItem>& outcome, ImportRecord submitted,
                         ImportRecord before, MBProgressHUD* overlay);

    std::optional<ImportRecord> m_record;
    // The read under way, until its record arrives.
    std::optional<OffScreenJob> m_reading;
    // An Import tapped while the record was read: run when it arrives.
    std::function<void()> m_submitWhenRead;
    // What the user changed before the file's values arrived, which they must not overwrite.
    QMap<int, QString> m_touchedFields; // field id to the text last typed
    bool m_kindChosen = false;
    bool m_artworkChosen = false;
    ImportViewControllerDelegate* m_delegate = nullptr;
    QMap<QString, QList<EditableImportTableViewCell*>> m_cells;
    QPointer<ImportTextField> m_currentTextField;
    bool m_observingText = false;
    // The Year field shows the file's own year; until the user types in it, that year is the
    // one the library gets.
    bool m_yearEdited = false;

    GroupedTableView* m_tableView = nullptr;
    ImportTumbnailCell* m_thumbnailCell = nullptr;
    ImportSelectCell* m_searchCell = nullptr;
    ImportSelectCell* m_libraryCell = nullptr;
    ImportSelectCell* m_previewCell = nullptr;
    TableViewCell* m_kindCell = nullptr;
    QToolButton* m_cancelButton = nullptr;
    QToolButton* m_importButton = nullptr;
    QPointer<PopoverController> m_popover;
    QPointer<GoogleImagesCollectionVC> m_artworkSearch;
};

} // namespace tolvane

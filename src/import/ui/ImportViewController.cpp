#include "ImportViewController.h"

#include "import/DateFinder.h"
#include "import/ImportEditorLayout.h"
#include "import/ImportRecord.h"
#include "import/MediaKinds.h"
#include "import/ui/EditableImportTableViewCell.h"
#include "import/ui/ImportSelectCell.h"
#include "import/ui/ImportTextField.h"
#include "import/ui/ImportTumbnailCell.h"
#include "import/ui/PlayerWindow.h"
#include "overlay/MBProgressHUD.h"
#include "platform/Device.h"
#include "platform/Inbox.h"
#include "platform/Localisation.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Appearance.h"
#include "platform/ui/BundleImages.h"
#include "platform/ui/GroupedTableView.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "search/GoogleImageLayout.h"
#include "search/ui/DetailView.h" // completes the results screen's inline accessors
#include "search/ui/GoogleImagesCollectionVC.h"

#include <QBuffer>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

#include <memory>

namespace tolvane {

namespace {

const QColor tableBackground(245, 245, 245);

QFont systemFont(qreal points) {
    QFont font;
    font.setPixelSize(qRound(points));
    return font;
}

// A stored value as text, as a format's "%@" prints it; nothing for no value. Values of a
// type the field does not expect (a number as text) show as they were given.
std::optional<QString> describe(const QVariant& value) {
    if (!value.isValid() || value.isNull())
        return std::nullopt;
    switch (value.typeId()) {
    case QMetaType::QVariantMap:
    case QMetaType::QVariantList:
    case QMetaType::QByteArray:
        return QString();
    default:
        return value.toString();
    }
}

std::optional<QString> describe(const TagValue<qlonglong>& tag) {
    return describe(tag.given().value_or(tag ? QVariant(*tag) : QVariant()));
}

// The text a field shows for the record's value.
QString fieldText(const Tags& metadata, int fieldId) {
    const auto text = [](const TagValue<QString>& tag) { return tag.value_or(QString()); };
    switch (fieldId) {
    case ImportField::Track:
        return describe(metadata.trackNumber).value_or(QString());
    case ImportField::Title:
        return text(metadata.title).remove(QStringLiteral(".mp4"));
    case ImportField::Artist:
        return text(metadata.artist);
    case ImportField::Album:
        return text(metadata.albumName);
    case ImportField::Genre:
        return text(metadata.genre);
    case ImportField::Year:
        return ImportSubmission::shownYear(metadata);
    case ImportField::PodcastName:
        return text(metadata.podcastName);
    case ImportField::Episode:
        return describe(metadata.episodeNumber).value_or(QString());
    case ImportField::Series:
        return text(metadata.seriesName);
    case ImportField::Season:
        return describe(metadata.seasonNumber).value_or(QString());
    default:
        return QString();
    }
}

QByteArray encoded(const QImage& image, const char* format, int quality) {
    QByteArray bytes;
    if (image.isNull())
        return bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, quality))
        bytes.clear();
    return bytes;
}

QToolButton* barButton(const QString& text, QWidget* owner) {
    auto* button = new QToolButton(owner);
    button->setText(text);
    button->setAutoRaise(true);
    button->setCursor(Qt::PointingHandCursor);
    button->setFont(systemFont(17));
    // Plain text in the tint colour, as the bar's own back button.
    button->setStyleSheet(QStringLiteral("QToolButton { color: %1; border: none; }")
                              .arg(Appearance::shared().tintColor.name()));
    button->hide();
    return button;
}

} // namespace

ImportViewController::ImportViewController(const QVariantMap& handoff, const QString& mediaKind)
    : ImportViewController(
          ImportRecord::fromHandoffRecord(handoff, mediaKind, std::nullopt, ImportRecord::noTags),
          [handoff, mediaKind, scale = Device::current().scale()] {
              return ImportRecord::fromHandoffRecord(handoff, mediaKind, scale);
          }) {}

ImportViewController::ImportViewController(const QVariantMap& record)
    : ImportViewController(ImportRecord::fromWholeRecord(record, ImportRecord::noTags),
                           [record] { return ImportRecord::fromWholeRecord(record); }) {}

ImportViewController::ImportViewController(ImportRecord shown,
                                           std::function<ImportRecord()> readRecord)
    : m_record(std::move(shown)) {
    m_reading = runOffScreen(this, std::move(readRecord),
                             [this](ImportRecord read) { recordDidArrive(std::move(read)); });
}

ImportViewController::~ImportViewController() {
    if (m_artworkSearch)
        m_artworkSearch->setDelegate(nullptr);
    if (m_popover) {
        m_popover->setDelegate(nullptr);
        if (auto* picker = qobject_cast<ImagePickerController*>(m_popover->content()))
            picker->setDelegate(nullptr);
        m_popover->dismissPopoverAnimated(false);
    }
}

ImportTextField* ImportViewController::currentTextField() const {
    return m_currentTextField;
}

QVariantMap ImportViewController::importDict() const {
    return m_record ? m_record->toDictionary() : QVariantMap();
}

QString ImportViewController::mediaKind() const {
    return m_record ? m_record->mediaKind.value_or(QString()) : QString();
}

void ImportViewController::recordDidArrive(ImportRecord read) {
    m_reading.reset();
    if (!m_record)
        return;
    // What the user did meanwhile wins over what the file says.
    for (auto it = m_touchedFields.cbegin(); it != m_touchedFields.cend(); ++it)
        ImportSubmission::writeField(read.metadata, it.key(), it.value());
    if (m_kindChosen)
        read.mediaKind = m_record->mediaKind;
    if (m_artworkChosen)
        read.metadata.artwork = m_record->metadata.artwork;
    m_record = std::move(read);

    if (m_tableView) {
        const QString kinds[] = {MediaKinds::song, MediaKinds::podcast, MediaKinds::tvEpisode,
                                 MediaKinds::featureMovie};
        for (const QString& kind : kinds) {
            for (EditableImportTableViewCell* cell : m_cells.value(kind))
                showField(cell, kind);
        }
        reloadData();
    }
    if (m_submitWhenRead)
        std::exchange(m_submitWhenRead, {})();
}

void ImportViewController::showField(EditableImportTableViewCell* cell, const QString& kind) {
    const int fieldId = cell->fieldId();
    // A row the user typed in keeps the text; so does the Genre row once a kind was chosen.
    if (m_touchedFields.contains(fieldId) || (fieldId == ImportField::Genre && m_kindChosen))
        return;
    ImportTextField* input = cell->textField();
    input->setPlaceholderText(MediaKinds::placeholder(fieldId, kind, m_record->metadata));
    input->setText(fieldText(m_record->metadata, fieldId));
}

void ImportViewController::viewDidLoad() {
    setTitle(localized("Import Media"));
    m_cancelButton = barButton(localized("Cancel"), this);
    m_importButton = barButton(localized("Import"), this);
    connect(m_cancelButton, &QToolButton::clicked, this,
            &ImportViewController::cancelButtonPressed);
    connect(m_importButton, &QToolButton::clicked, this,
            &ImportViewController::importButtonPressed);
    navigationItem()->setLeftBarButton(m_cancelButton);
    navigationItem()->setRightBarButton(m_importButton);

    QPalette background = palette();
    background.setColor(QPalette::Window, tableBackground);
    setPalette(background);
    m_tableView = new GroupedTableView(this);
    m_tableView->setPalette(background);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_tableView);

    m_thumbnailCell = new ImportTumbnailCell(m_tableView);
    // A dropped image is the artwork as a picked one is.
    connect(m_thumbnailCell, &ImportTumbnailCell::imageDropped, this, [this](const QImage& image) {
        storeArtwork(encoded(image, "JPEG", 100));
        reloadData();
    });
    connect(m_thumbnailCell, &ImportTumbnailCell::dropRefused, this, [this](const QString& why) {
        AlertController::alert(localized("Not an Image"), why, {localized("OK")}, this);
    });
    m_searchCell = new ImportSelectCell(m_tableView);
    m_searchCell->setTitle(localized("Search Google For Artwork"));
    m_searchCell->setImage(BundleImages::imageNamed(QStringLiteral("google.png")));
    m_libraryCell = new ImportSelectCell(m_tableView);
    m_libraryCell->setTitle(localized("Search Photo Library"));
    m_libraryCell->setImage(BundleImages::imageNamed(QStringLiteral("camera.png")));
    m_previewCell = new ImportSelectCell(m_tableView);
    m_previewCell->setTitle(localized("Preview Media"));
    m_previewCell->setImage(BundleImages::imageNamed(QStringLiteral("play.png")));

    m_kindCell =
        new TableViewCell(TableViewCell::Style::Value2, QStringLiteral("KindCell"), m_tableView);
    m_kindCell->setSelectionStyle(TableViewCell::SelectionStyle::Gray);
    m_kindCell->setAccessoryType(TableViewCell::AccessoryType::DisclosureIndicator);
    m_kindCell->textLabel()->setText(localized("Type"));
    m_kindCell->textLabel()->setFont(ImportSelectCell::titleFont());
    m_kindCell->detailTextLabel()->setFont(ImportSelectCell::titleFont());
    QPalette detail = m_kindCell->detailTextLabel()->palette();
    detail.setColor(QPalette::WindowText, ImportSelectCell::titleColour());
    m_kindCell->detailTextLabel()->setPalette(detail);
    for (TableViewCell* cell :
         {static_cast<TableViewCell*>(m_thumbnailCell), static_cast<TableViewCell*>(m_searchCell),
          static_cast<TableViewCell*>(m_libraryCell), static_cast<TableViewCell*>(m_previewCell),
          m_kindCell})
        cell->hide();

    buildRows();
    m_tableView->setDataSource(this);
    observeTextFields(true);
    reloadData();
}

void ImportViewController::buildRows() {
    // Kinds that share a field list share its rows, so a text typed for a song is still there
    // for a music video, and every list keeps its texts across kind switches.
    const QString kinds[] = {MediaKinds::song,      MediaKinds::musicVideo,
                             MediaKinds::podcast,   MediaKinds::videoPodcast,
                             MediaKinds::tvEpisode, MediaKinds::featureMovie};
    QList<std::pair<const QList<int>*, QString>> built;
    for (const QString& kind : kinds) {
        const QList<int>& fields = MediaKinds::fieldsForKind(kind);
        if (fields.isEmpty())
            continue;
        bool shared = false;
        for (const auto& [list, owner] : std::as_const(built)) {
            if (list == &fields) {
                m_cells.insert(kind, m_cells.value(owner));
                shared = true;
            }
        }
        if (shared)
            continue;
        QList<EditableImportTableViewCell*> rows;
        for (int fieldId : fields)
            rows.append(makeRow(fieldId, kind));
        m_cells.insert(kind, rows);
        built.append({&fields, kind});
    }
}

EditableImportTableViewCell* ImportViewController::makeRow(int fieldId, const QString& kind) {
    const ImportField& field = MediaKinds::field(fieldId);
    auto* cell = new EditableImportTableViewCell(m_tableView);
    cell->hide();
    cell->textLabel()->setText(localized(field.label));
    ImportTextField* input = cell->textField();
    input->setTag(fieldId);
    input->setNumberPad(field.input == FieldInput::NumberPad);
    showField(cell, kind);

    connect(cell, &EditableImportTableViewCell::textDidChange, this,
            &ImportViewController::textFieldTextDidChange);
    connect(cell, &EditableImportTableViewCell::textDidEndEditing, this,
            &ImportViewController::textFieldTextDidEndEditing);
    connect(input, &ImportTextField::didBeginEditing, this, [this, cell] {
        if (m_tableView)
            m_tableView->ensureWidgetVisible(cell, 0, 0);
    });
    return cell;
}

void ImportViewController::viewWillAppear(bool animated) {
    loadViewIfNeeded();
    Screen::viewWillAppear(animated);
    observeTextFields(true);
    if (const auto selected = m_tableView->indexPathForSelectedRow())
        m_tableView->deselectRowAtIndexPath(*selected, animated);
}

void ImportViewController::viewWillDisappear(bool animated) {
    Screen::viewWillDisappear(animated);
    observeTextFields(false);
}

void ImportViewController::observeTextFields(bool observe) {
    m_observingText = observe;
}

void ImportViewController::reloadData() {
    if (m_tableView)
        m_tableView->reloadData();
}

// --- table ---------------------------------------------------------------------------------

int ImportViewController::numberOfSectionsInTableView() const {
    return ImportEditorLayout::sectionCount;
}

int ImportViewController::numberOfRowsInSection(int section) const {
    switch (section) {
    case ImportEditorLayout::SourcesSection:
        return 2;
    case ImportEditorLayout::FieldsSection:
        return int(m_cells.value(mediaKind()).size());
    default:
        return 1;
    }
}

TableViewCell* ImportViewController::cellForRowAtIndexPath(TableIndexPath indexPath) {
    switch (indexPath.section) {
    case ImportEditorLayout::ArtworkSection:
        m_thumbnailCell->setArtwork(m_record ? m_record->metadata.artwork.value_or(QByteArray())
                                             : QByteArray());
        return m_thumbnailCell;
    case ImportEditorLayout::SourcesSection:
        return indexPath.row == 0 ? m_searchCell : m_libraryCell;
    case ImportEditorLayout::PreviewSection:
        return m_previewCell;
    case ImportEditorLayout::KindSection:
        m_kindCell->detailTextLabel()->setText(
            MediaKinds::displayName(mediaKind()).value_or(QString()));
        return m_kindCell;
    default:
        return m_cells.value(mediaKind()).value(indexPath.row);
    }
}

QString ImportViewController::titleForHeaderInSection(int section) const {
    switch (section) {
    case ImportEditorLayout::SourcesSection:
        return localized("Change Artwork");
    case ImportEditorLayout::KindSection:
        return localized("Change Media Type");
    default:
        return {};
    }
}

qreal ImportViewController::heightForHeaderInSection(int section) const {
    return ImportEditorLayout::headerHeight(section);
}

qreal ImportViewController::heightForRowAtIndexPath(TableIndexPath indexPath) const {
    return ImportEditorLayout::rowHeight(indexPath.section, Device::current().screenBounds());
}

void ImportViewController::didSelectRowAtIndexPath(TableIndexPath indexPath) {
    switch (indexPath.section) {
    case ImportEditorLayout::SourcesSection:
        if (indexPath.row == 0)
            openArtworkSearch();
        else
            openPhotoLibrary();
        break;
    case ImportEditorLayout::PreviewSection:
        previewMedia();
        break;
    case ImportEditorLayout::KindSection:
        m_tableView->deselectRowAtIndexPath(indexPath, true);
        showMediaKindPicker();
        break;
    default:
        break;
    }
}

// --- editing -------------------------------------------------------------------------------

void ImportViewController::textFieldTextDidChange(ImportTextField* textField) {
    if (!m_observingText)
        return;
    m_currentTextField = textField;
    if (textField && textField->tag() == ImportField::Year)
        m_yearEdited = true;
    if (EditableImportTableViewCell::cellForTextField(textField)) {
        if (textField->tag() >= 0 && textField->tag() < 10)
            m_touchedFields.insert(textField->tag(), textField->text());
        saveNewMetadataAndImport(false);
    }
}

void ImportViewController::textFieldTextDidEndEditing(ImportTextField* textField) {
    if (!m_observingText)
        return;
    m_currentTextField = textField;
    if (EditableImportTableViewCell::cellForTextField(textField))
        saveNewMetadataAndImport(false);
    m_currentTextField = nullptr;
}

std::optional<EditedField> ImportViewController::editedField() const {
    if (!m_currentTextField || m_currentTextField->tag() < 0 || m_currentTextField->tag() >= 10)
        return std::nullopt;
    return EditedField{m_currentTextField->tag(), m_currentTextField->text()};
}

void ImportViewController::saveNewMetadataAndImport(bool scaleArtwork) {
    if (m_record)
        ImportSubmission::saveNewMetadataAndImport(*m_record, scaleArtwork, editedField(),
                                                   Device::current().scale());
}

// --- media kind ----------------------------------------------------------------------------

void ImportViewController::showMediaKindPicker() {
    const QVariantMap kinds = MediaKinds::humanizedMediaKinds();
    QStringList titles;
    for (auto it = kinds.cbegin(); it != kinds.cend(); ++it)
        titles.append(it.value().toString());
    // Shown over the editor at once.
    AlertController* sheet = AlertController::actionSheet(QString(), titles, localized("Cancel"),
                                                          mediaKindPickerTag, this, {});
    QPointer<AlertController> guard(sheet);
    connect(sheet, &AlertController::willDismissWithButtonIndex, this, [this, guard](int index) {
        if (guard)
            actionSheet(guard, index);
    });
}

void ImportViewController::actionSheet(AlertController* sheet, int buttonIndex) {
    if (sheet && sheet->tag() == mediaKindPickerTag && buttonIndex != sheet->cancelButtonIndex() &&
        buttonIndex >= 0 && buttonIndex < sheet->numberOfButtons()) {
        const QString chosen = sheet->buttonTitleAtIndex(buttonIndex);
        const QVariantMap kinds = MediaKinds::humanizedMediaKinds();
        QString kind;
        for (auto it = kinds.cbegin(); it != kinds.cend(); ++it) {
            if (it.value().toString() == chosen)
                kind = it.key();
        }
        if (!kind.isEmpty() && m_record) {
            m_record->mediaKind = kind;
            m_kindChosen = true;
            // Only the row shows the kind's genre; the record keeps its own until the row is
            // edited.
            for (EditableImportTableViewCell* cell : m_cells.value(kind)) {
                if (cell->fieldId() == ImportField::Genre)
                    cell->textField()->setText(MediaKinds::defaultGenre(kind).value_or(QString()));
            }
        }
    }
    reloadData();
}

// --- artwork -------------------------------------------------------------------------------

QString ImportViewController::artworkSearchTerm(const Tags& metadata) {
    const QString nil = QStringLiteral("(null)");
    return QStringLiteral("%1+%2").arg(metadata.artist.value_or(nil), metadata.title.value_or(nil));
}

void ImportViewController::openArtworkSearch() {
    auto* search = new GoogleImagesCollectionVC(
        artworkSearchTerm(m_record ? m_record->metadata : Tags()), new GoogleImageLayout);
    search->setDelegate(this);
    // The kind decides the artwork services asked; the file's folder may hold its cover.
    search->setMediaKind(mediaKind());
    search->setMediaPath(m_record ? m_record->path.value_or(QString()) : QString());
    m_artworkSearch = search;
    // Presented by the editor's navigation controller; the row is deselected when the editor
    // shows again.
    presentViewController(new NavigationController(search), true);
}

void ImportViewController::storeArtwork(const QByteArray& imageData) {
    // A pick that cannot be encoded leaves the artwork as it was.
    if (imageData.isEmpty())
        return;
    if (!m_record)
        return;
    m_record->metadata.artwork = imageData;
    m_artworkChosen = true;
}

void ImportViewController::googleImagesDidFinishPickingImage(const QImage& image) {
    storeArtwork(encoded(image, "PNG", -1));
    reloadData();
}

void ImportViewController::openPhotoLibrary() {
    auto* picker = new ImagePickerController;
    picker->setDelegate(this);
    if (Device::current().isPad()) {
        m_popover = new PopoverController(picker);
        m_popover->setDelegate(this);
        m_popover->presentPopoverFromRect(
            m_tableView->rectForRowAtIndexPath({ImportEditorLayout::SourcesSection, 1}),
            m_tableView->widget(), true);
        return;
    }
    presentViewController(picker, true);
}

void ImportViewController::imagePickerController(ImagePickerController* picker,
                                                 const QVariantMap& info) {
    storeArtwork(
        encoded(info.value(ImagePickerController::originalImageKey).value<QImage>(), "JPEG", 100));
    imagePickerControllerDidCancel(picker);
    reloadData();
}

void ImportViewController::imagePickerControllerDidCancel(ImagePickerController* picker) {
    if (m_popover && m_popover->content() == picker) {
        m_popover->dismissPopoverAnimated(true);
        m_popover = nullptr;
    } else if (picker) {
        picker->dismissViewControllerAnimated(true);
    }
    if (const auto selected = m_tableView->indexPathForSelectedRow())
        m_tableView->deselectRowAtIndexPath(*selected, true);
}

void ImportViewController::popoverControllerDidDismissPopover(PopoverController* popover) {
    Q_UNUSED(popover);
    m_popover = nullptr;
    if (const auto selected = m_tableView->indexPathForSelectedRow())
        m_tableView->deselectRowAtIndexPath(*selected, true);
}

// --- preview -------------------------------------------------------------------------------

void ImportViewController::previewMedia() {
    // Full screen, playing at once; the row is deselected when the editor shows again.
    presentViewController(
        new PlayerWindow(m_record ? m_record->path.value_or(QString()) : QString()), true);
}

// --- import and cancel ---------------------------------------------------------------------

void ImportViewController::importButtonPressed() {
    if (!m_record || m_submitWhenRead)
        return;
    QWidget* over = navigationController();
    if (!over)
        over = this;
    auto* hud = new MBProgressHUD(over);
    hud->setColor(Qt::transparent);
    hud->setBlurBackground(true);
    // White text over a light frosted copy of the editor: a dark tint under the box keeps it
    // readable (at least 4.5:1 over white), the frosting itself unchanged.
    hud->setLegibilityTint(QColor(0, 0, 0, 153));
    hud->setLabelText(localized("Media Import Started"));
    hud->setDetailsLabelText(localized("Import is now progressing"));
    hud->setDetailsLabelFont(systemFont(14));
    hud->setMinShowTime(4.0);
    hud->setMode(MBProgressHUDMode::CustomView);
    auto* checkmark = new QLabel;
    checkmark->setGeometry(0, 0, 35, 41);
    checkmark->setPixmap(BundleImages::imageNamed(QStringLiteral("checkmark.png")));
    checkmark->setScaledContents(true);
    hud->setCustomView(checkmark);
    hud->setRemoveFromSuperViewOnHide(true);

    // The field being edited is read here, on the main thread, as is the screen's scale. The
    // overlay keeps the screen from being used; a record still being read is submitted when
    // it arrives.
    const std::optional<EditedField> edited = editedField();
    observeTextFields(false);
    hud->show(true);
    if (m_reading) {
        QPointer<MBProgressHUD> overlay(hud);
        m_submitWhenRead = [this, overlay, edited] { submit(overlay, edited); };
        return;
    }
    submit(hud, edited);
}

void ImportViewController::submit(MBProgressHUD* hud, const std::optional<EditedField>& edited) {
    if (!m_record)
        return;
    // The worker gets a copy of the record; the editor keeps its own until the outcome is
    // known, so that a failed import leaves everything as the user left it.
    ImportRecord before = *m_record;
    ImportRecord submitted = *std::exchange(m_record, std::nullopt);
    if (!m_yearEdited && !(edited && edited->fieldId == ImportField::Year))
        ImportSubmission::writeShownYear(submitted.metadata);

    struct Submitted {
        Result<LibraryItem> outcome;
        ImportRecord record;
    };
    QPointer<MBProgressHUD> overlay(hud);
    runOffScreen(
        this,
        [edited, submitted = std::move(submitted), scale = Device::current().scale()]() mutable {
            Result<LibraryItem> outcome = ImportSubmission::submit(submitted, edited, scale);
            return Submitted{std::move(outcome), std::move(submitted)};
        },
        [this, overlay, before = std::move(before)](Submitted done) mutable {
            importDidFinish(done.outcome, std::move(done.record), std::move(before), overlay);
        });
}

void ImportViewController::importDidFinish(const Result<LibraryItem>& outcome,
                                           ImportRecord submitted, ImportRecord before,
                                           MBProgressHUD* overlay) {
    if (m_delegate)
        m_delegate->ImportViewControllerDidImport(submitted.toDictionary(), outcome);
    if (!outcome) {
        m_record = std::move(before);
        observeTextFields(true);
        if (overlay) {
            overlay->setMinShowTime(0);
            overlay->hide(true);
        }
        AlertController::alert(localized("Import Failed"),
                               ImportSubmission::failureText(outcome.failure(), *m_record),
                               {localized("OK")}, this);
        return;
    }
    // The Inbox entry an open-in import worked on is the application's own; once the library
    // holds its copy it goes, as a Cancel would have taken it.
    const QString handedOver = ImportSubmission::cancelPath(submitted);
    if (!handedOver.isEmpty() && Inbox().holds(handedOver))
        ignoreFailure(Inbox().remove(handedOver), "an Inbox entry left over harms nobody");

    m_record = std::move(submitted);
    QPointer<ImportViewController> self(this);
    const auto goOn = [self] {
        if (!self)
            return;
        QPointer<QWidget> window = self->window();
        ImportSubmission::finish(self->m_record, self->m_delegate, [window] {
            if (window)
                window->showMinimized();
        });
    };
    if (!overlay) {
        goOn();
        return;
    }
    if (!outcome->tagged)
        overlay->setDetailsLabelText(
            localized("Its tags are kept in the library's catalogue only"));
    overlay->setCompletionBlock(goOn);
    overlay->hide(true);
}

void ImportViewController::cancelButtonPressed() {
    if (m_delegate)
        m_delegate->ImportViewControllerDidCancel(m_record ? ImportSubmission::cancelPath(*m_record)
                                                           : QString());
}

bool ImportViewController::performKeyCommand(KeyCommand command) {
    if (command != KeyCommand::Cancel || !m_cancelButton || !m_cancelButton->isEnabled())
        return false;
    m_cancelButton->click();
    return true;
}

} // namespace tolvane

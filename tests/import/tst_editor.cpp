#include "HttpTestServer.h"
#include "ScopedMount.h"
#include "TestSupport.h"
#include "import/ImportEditorLayout.h"
#include "import/ImportSubmission.h"
#include "import/MediaKinds.h"
#include "import/MediaLibraryImportService.h"
#include "import/PlaybackSupport.h"
#include "import/library/MediaLibrary.h"
#include "import/ui/EditableImportTableViewCell.h"
#include "import/ui/ImportSelectCell.h"
#include "import/ui/ImportTextField.h"
#include "import/ui/ImportTumbnailCell.h"
#include "import/ui/ImportViewController.h"
#include "import/ui/PlayerWindow.h"
#include "overlay/MBProgressHUD.h"
#include "platform/Device.h"
#include "platform/Paths.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/GroupedTableView.h"
#include "platform/ui/ImagePickerController.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/PopoverController.h"
#include "search/ui/CollectionView.h"
#include "search/ui/CollectionViewCell.h"
#include "search/ui/DetailView.h"
#include "search/ui/GoogleImagesCollectionVC.h"

#include <QAbstractButton>
#include <QApplication>
#include <QBuffer>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QMutex>
#include <QPointer>
#include <QPushButton>
#include <QSemaphore>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QThreadPool>
#include <QToolButton>

#include <memory>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// Takes the records the editor submits, as the media library would, and keeps them.
class RecordingImporter : public MediaLibraryImporter {
public:
    Result<LibraryItem> importFile(const ImportRecord& record) override {
        QMutexLocker lock(&m_mutex);
        m_records.append(record.toDictionary());
        m_offMainThread = QThread::currentThread() != QCoreApplication::instance()->thread();
        return LibraryItem{record.path.value_or(QString()), 1, true};
    }
    QList<QVariantMap> records() {
        QMutexLocker lock(&m_mutex);
        return m_records;
    }
    bool offMainThread() {
        QMutexLocker lock(&m_mutex);
        return m_offMainThread;
    }

private:
    QMutex m_mutex;
    QList<QVariantMap> m_records;
    bool m_offMainThread = false;
};

class RecordingDelegate : public ImportViewControllerDelegate {
public:
    void ImportViewControllerDidCancel(const QString& path) override {
        calls.append(path.isNull() ? s("cancel") : s("cancel ") + path);
    }
    void ImportViewControllerDidStart() override { calls.append(s("start")); }
    QStringList calls;
};

// The editor as the main screen shows it: in a navigation controller presented over a window.
struct OpenEditor {
    std::unique_ptr<MainWindow> window;
    QPointer<NavigationController> navigation;
    QPointer<ImportViewController> editor;
};

// Unless told not to, it waits for the file's tags to be read and shown.
std::unique_ptr<OpenEditor> present(ImportViewController* editor, QSize size,
                                    bool untilRecordRead = true) {
    auto open = std::make_unique<OpenEditor>();
    open->window = std::make_unique<MainWindow>();
    auto* root = new Screen;
    open->window->setRootViewController(root);
    open->window->resize(size);
    open->window->show();
    if (!QTest::qWaitForWindowActive(open->window.get()))
        return nullptr;
    open->editor = editor;
    open->navigation = new NavigationController(editor);
    if (!root->presentViewController(open->navigation, false))
        return nullptr;
    QCoreApplication::processEvents();
    if (untilRecordRead && !QTest::qWaitFor([editor] { return !editor->isReadingRecord(); }))
        return nullptr;
    return open;
}

QVariantMap metadataOf(const ImportViewController* editor) {
    return editor->importDict().value(s("metadata")).toMap();
}

// An editor for a record given whole, or for a hand-off when a kind is given.
ImportViewController* makeEditor(const QVariantMap& record, const QString& handoffKind) {
    return handoffKind.isEmpty() ? new ImportViewController(record)
                                 : new ImportViewController(record, handoffKind);
}

EditableImportTableViewCell* fieldRow(const ImportViewController* editor, int row) {
    return qobject_cast<EditableImportTableViewCell*>(
        editor->tableView()->cellForRowAtIndexPath({ImportEditorLayout::FieldsSection, row}));
}

// "Label=text|placeholder" for every field row on screen.
QStringList shownRows(const ImportViewController* editor) {
    QStringList rows;
    const GroupedTableView* table = editor->tableView();
    for (int row = 0; row < table->numberOfRowsInSection(ImportEditorLayout::FieldsSection);
         ++row) {
        const EditableImportTableViewCell* cell = fieldRow(editor, row);
        if (!cell || !cell->isVisible())
            return {s("row %1 not shown").arg(row)};
        rows.append(cell->textLabel()->text() + QLatin1Char('=') + cell->textField()->text() +
                    QLatin1Char('|') + cell->textField()->placeholderText());
    }
    return rows;
}

QString thisYear() {
    return QString::number(QDate::currentDate().year());
}

void click(QWidget* widget) {
    QTest::mouseClick(widget, Qt::LeftButton, {}, widget->rect().center());
}

TableViewCell* rowCell(const ImportViewController* editor, int section, int row) {
    return editor->tableView()->cellForRowAtIndexPath({section, row});
}

// Opens the sheet of kinds from the kind row and taps the button with the title.
bool chooseKind(OpenEditor& open, const QString& title) {
    click(rowCell(open.editor, ImportEditorLayout::KindSection, 0));
    auto* sheet = open.window->findChild<AlertController*>();
    if (!sheet || sheet->tag() != ImportViewController::mediaKindPickerTag)
        return false;
    for (int index = 0; index < sheet->numberOfButtons(); ++index) {
        if (sheet->buttonTitleAtIndex(index) == title) {
            click(sheet->buttonAtIndex(index));
            return QTest::qWaitFor([&] { return !open.window->findChild<AlertController*>(); });
        }
    }
    return false;
}

} // namespace

class TestEditor : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void rowsOfKind_data();
    void rowsOfKind();
    void typingCommitsEachKeystroke_data();
    void typingCommitsEachKeystroke();
    void kindSwitchKeepsTexts();
    void tagsArrivingKeepTypedFields();
    void importSubmits_data();
    void importSubmits();
    void importFailureIsTold_data();
    void importFailureIsTold();
    void untaggableFormatIsSaid();
    void cancel_data();
    void cancel();
    void artworkSearchTerm_data();
    void artworkSearchTerm();
    void artworkFromWebSearch_data();
    void artworkFromWebSearch();
    void previewMedia();
    void photoLibrary_data();
    void photoLibrary();
    void layoutAndLook_data();
    void layoutAndLook();

private:
    QTemporaryDir m_device;
    QString m_song;  // tagged, with a cover
    QString m_plain; // tagged, without a cover
    QString m_missing;
    QString m_thumbnail; // a video download's still
    std::shared_ptr<RecordingImporter> m_importer;
};

void TestEditor::initTestCase() {
    QVERIFY(m_device.isValid());
    Paths::setDeviceRoot(m_device.path());
    const QString downloads = Paths::defaultDestinationFolder();
    QVERIFY(QDir().mkpath(downloads));
    m_song = downloads + s("/Harbour Song.mp3");
    m_plain = downloads + s("/Old Tag.mp3");
    m_missing = downloads + s("/Pilot.mp4.m4v");
    m_thumbnail = downloads + s("/.thumbnails/Tide Talk.png");
    QVERIFY(writePng(m_thumbnail, QSize(160, 90), Qt::darkCyan));
    QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), m_song));
    QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v23.mp3"), m_plain));
    m_importer = std::make_shared<RecordingImporter>();
    MediaLibraryImportService::setImporter(m_importer);
}

void TestEditor::cleanup() {
    m_importer = std::make_shared<RecordingImporter>();
    MediaLibraryImportService::setImporter(m_importer);
}

void TestEditor::rowsOfKind_data() {
    QTest::addColumn<QVariantMap>("record");
    QTest::addColumn<QString>("handoffKind"); // empty: the record is given whole
    QTest::addColumn<QString>("kindName");
    QTest::addColumn<QStringList>("rows");
    QTest::addColumn<bool>("artwork");

    const QString year = thisYear();
    QTest::newRow("song from a download: the file's tags")
        << QVariantMap{{s("name"), s("Harbour Song.mp3")}, {s("filePath"), m_song}} << s("song")
        << s("Song")
        << QStringList{s("Track=3|Track Number"),
                       s("Title=Harbour Song|Media Title"),
                       s("Artist=The Pilots|Artist Name"),
                       s("Album=Tide Tables|Album Name"),
                       s("Genre=Folk|Genre"),
                       s("Year=2011|") + year}
        << true;
    QTest::newRow("podcast video download: artist split off, .mp4 hidden")
        << QVariantMap{{s("name"), s("Harbour Radio - Tide.mp4 Talk.mp4")},
                       {s("isVideo"), 1},
                       {s("iconData"), m_thumbnail},
                       {s("year"), 2019},
                       {s("filePath"), m_song}}
        << s("podcast") << s("Podcast")
        << QStringList{s("Title=Tide Talk|Media Title"), s("Name=|Podcast Name"), s("Episode=|1"),
                       s("Genre=Podcast|Genre"), s("Year=") + year + s("|") + year}
        << true;
    QTest::newRow("TV episode, whole record, file missing")
        << QVariantMap{{s("mediaKind"), s("tv-episode")},
                       {s("path"), m_missing},
                       {s("metadata"),
                        QVariantMap{{s("seriesName"), s("Harbour")},
                                    {s("seasonNumber"), 2},
                                    {s("episodeNumber"), 5},
                                    {s("creationDate"), s("Aired on March 5th, 2009 at 9 pm")}}}}
        << QString() << s("TV Episode")
        << QStringList{s("Title=Pilot|Episode Name"), s("Series=Harbour|Series Name"),
                       s("Season=2|2"), s("Episode=5|5"), s("Year=2009|") + year}
        << false;
    QTest::newRow("numbers where text is expected, artwork that is no image")
        << QVariantMap{{s("path"), m_missing},
                       {s("metadata"), QVariantMap{{s("artist"), 42},
                                                   {s("albumName"), 7.5},
                                                   {s("creationDate"), 1999},
                                                   {s("imageData"), QByteArray("not an image")}}}}
        << QString() << s("Song")
        << QStringList{s("Track=|Track Number"),   s("Title=Pilot|Media Title"),
                       s("Artist=42|Artist Name"), s("Album=7.5|Album Name"),
                       s("Genre=Music|Genre"),     s("Year=1999|") + year}
        << false;
    QTest::newRow("movie without metadata: the file is not read")
        << QVariantMap{{s("mediaKind"), s("feature-movie")}, {s("path"), m_song}} << QString()
        << s("Movie") << QStringList{s("Title=|Movie Name"), s("Year=") + year + s("|") + year}
        << false;
    QTest::newRow("ringtone: no fields")
        << QVariantMap{{s("name"), s("Bell.m4r")}, {s("filePath"), m_song}} << s("ringtone")
        << s("Ringtone") << QStringList() << true;
    QTest::newRow("video podcast: podcast rows, no genre, no name")
        << QVariantMap{{s("mediaKind"), s("videoPodcast")},
                       {s("path"), m_missing},
                       {s("metadata"), QVariantMap{{s("episodeNumber"), 3}}}}
        << QString() << QString()
        << QStringList{s("Title=Pilot|Media Title"), s("Name=|Podcast Name"), s("Episode=3|1"),
                       s("Genre=|Genre"), s("Year=") + year + s("|") + year}
        << false;
}

void TestEditor::rowsOfKind() {
    QFETCH(QVariantMap, record);
    QFETCH(QString, handoffKind);
    QFETCH(QString, kindName);
    QFETCH(QStringList, rows);
    QFETCH(bool, artwork);

    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    auto* editor = makeEditor(record, handoffKind);
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());

    QCOMPARE(open->navigation->navigationBar()->titleText(), s("Import Media"));
    QCOMPARE(editor->cancelButton()->text(), s("Cancel"));
    QCOMPARE(editor->importButton()->text(), s("Import"));
    QVERIFY(editor->cancelButton()->isVisible() && editor->importButton()->isVisible());

    const GroupedTableView* table = editor->tableView();
    QCOMPARE(table->numberOfSections(), 5);
    QCOMPARE(table->headerLabelInSection(1)->text(), s("Change Artwork"));
    QCOMPARE(table->headerLabelInSection(3)->text(), s("Change Media Type"));
    QStringList sources;
    for (const TableIndexPath path : {TableIndexPath{1, 0}, {1, 1}, {2, 0}})
        sources.append(
            qobject_cast<ImportSelectCell*>(table->cellForRowAtIndexPath(path))->title()->text());
    QCOMPARE(sources, (QStringList{s("Search Google For Artwork"), s("Search Photo Library"),
                                   s("Preview Media")}));
    const TableViewCell* kindRow = rowCell(editor, 3, 0);
    QCOMPARE(kindRow->textLabel()->text(), s("Type"));
    QCOMPARE(kindRow->detailTextLabel()->text(), kindName);

    QCOMPARE(shownRows(editor), rows);
    // No field is being edited until the user picks one.
    QVERIFY(!qobject_cast<ImportTextField*>(QApplication::focusWidget()));
    QVERIFY(!editor->currentTextField());
    const auto* thumbnail = qobject_cast<ImportTumbnailCell*>(rowCell(editor, 0, 0));
    QTRY_VERIFY(!thumbnail->isLoadingArtwork());
    QCOMPARE(!thumbnail->imgView()->image().isNull(), artwork);
    // Showing the rows changes nothing in the record.
    QCOMPARE(editor->importDict().value(s("mediaKind")).toString().isEmpty(), false);
}

void TestEditor::typingCommitsEachKeystroke_data() {
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QVariantList>("stored"); // after each key

    QTest::newRow("title: text, written even when empty")
        << 1 << s("title") << s("Ab") << QVariantList{s("A"), s("Ab")};
    QTest::newRow("year: the typed text, not a number")
        << 5 << s("year") << s("19") << QVariantList{s("1"), s("19")};
    QTest::newRow("track: digits only, as a number")
        << 0 << s("trackNumber") << s("4x2") << QVariantList{4LL, 4LL, 42LL};
}

void TestEditor::typingCommitsEachKeystroke() {
    QFETCH(int, row);
    QFETCH(QString, key);
    QFETCH(QString, keys);
    QFETCH(QVariantList, stored);

    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    auto* editor = new ImportViewController(
        QVariantMap{{s("name"), s("Harbour Song.mp3")}, {s("filePath"), m_song}}, s("song"));
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());

    ImportTextField* field = fieldRow(editor, row)->textField();
    field->setFocus();
    QTRY_VERIFY(field->hasFocus());
    QVERIFY(field->isClearButtonEnabled());
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace);
    for (int i = 0; i < keys.size(); ++i) {
        QTest::keyClick(field, keys.at(i).toLatin1());
        QCOMPARE(editor->currentTextField(), field);
        const QVariant value = metadataOf(editor).value(key);
        QCOMPARE(value, stored.at(i));
        QCOMPARE(value.typeId(), stored.at(i).typeId());
    }
    // Leaving the field commits it once more and ends the editing.
    fieldRow(editor, row == 1 ? 2 : 1)->textField()->setFocus();
    QTRY_VERIFY(!field->hasFocus());
    QVERIFY(!field->isClearButtonEnabled());
    QCOMPARE(metadataOf(editor).value(key), stored.constLast());
    QVERIFY(editor->currentTextField() != field);
}

void TestEditor::tagsArrivingKeepTypedFields() {
    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    // Every worker busy: the file's tags cannot arrive before the user has typed.
    QThreadPool* pool = QThreadPool::globalInstance();
    QSemaphore release;
    for (int i = 0; i < pool->maxThreadCount(); ++i)
        pool->start([&release] { release.acquire(); });
    auto* editor = new ImportViewController(
        QVariantMap{{s("path"), m_song}, {s("metadata"), QVariantMap{{s("title"), s("x.mp3")}}}});
    const auto open = present(editor, QSize(390, 760), false);
    if (!open)
        release.release(pool->maxThreadCount());
    QVERIFY(open);
    QVERIFY(editor->isReadingRecord());
    QCOMPARE(fieldRow(editor, 1)->textField()->text(), s("x.mp3"));
    QCOMPARE(fieldRow(editor, 4)->textField()->text(), s("Music"));

    ImportTextField* title = fieldRow(editor, 1)->textField();
    title->setFocus();
    title->selectAll();
    QTest::keyClicks(title, s("Typed"));
    release.release(pool->maxThreadCount());
    QTRY_VERIFY(!editor->isReadingRecord());

    // The typed title stays, on the screen and in the record; the genre the user did not touch
    // is the file's.
    QCOMPARE(fieldRow(editor, 1)->textField()->text(), s("Typed"));
    QCOMPARE(metadataOf(editor).value(s("title")), QVariant(s("Typed")));
    QCOMPARE(fieldRow(editor, 4)->textField()->text(), s("Folk"));
    QCOMPARE(metadataOf(editor).value(s("type")), QVariant(s("Folk")));
    QVERIFY(metadataOf(editor).contains(s("imageData")));
}

void TestEditor::kindSwitchKeepsTexts() {
    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    auto* editor = new ImportViewController(
        QVariantMap{{s("name"), s("Harbour Song.mp3")}, {s("filePath"), m_song}}, s("song"));
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());

    ImportTextField* title = fieldRow(editor, 1)->textField();
    title->setFocus();
    title->selectAll();
    QTest::keyClicks(title, s("Typed"));

    // The sheet lists the six kinds in the table's order, then Cancel.
    click(rowCell(editor, 3, 0));
    auto* sheet = open->window->findChild<AlertController*>();
    QVERIFY(sheet);
    QCOMPARE(sheet->tag(), qint64(0xfeedcafe));
    QStringList titles;
    for (int i = 0; i < sheet->numberOfButtons(); ++i)
        titles.append(sheet->buttonTitleAtIndex(i));
    const QVariantMap kinds = MediaKinds::humanizedMediaKinds();
    QStringList expected;
    for (const QVariant& name : kinds)
        expected.append(name.toString());
    QCOMPARE(titles, expected + QStringList{s("Cancel")});
    QCOMPARE(sheet->cancelButtonIndex(), 6);
    QVERIFY(open->window->grab().save(
        QCoreApplication::applicationDirPath() + s("/editor-kind-picker.png"), "PNG"));
    click(sheet->buttonAtIndex(sheet->cancelButtonIndex()));
    QTRY_VERIFY(!open->window->findChild<AlertController*>());
    QCOMPARE(editor->importDict().value(s("mediaKind")), QVariant(s("song")));

    QVERIFY(chooseKind(*open, s("Podcast")));
    QCOMPARE(editor->importDict().value(s("mediaKind")), QVariant(s("podcast")));
    QCOMPARE(rowCell(editor, 3, 0)->detailTextLabel()->text(), s("Podcast"));
    QCOMPARE(shownRows(editor).at(3), s("Genre=Podcast|Genre"));
    // The shown title is the podcast list's own row, not the song's.
    QCOMPARE(shownRows(editor).at(0), s("Title=Harbour Song|Media Title"));

    QVERIFY(chooseKind(*open, s("Ringtone")));
    QCOMPARE(editor->tableView()->numberOfRowsInSection(4), 0);
    QVERIFY(!title->isVisible());

    QVERIFY(chooseKind(*open, s("Song")));
    QCOMPARE(shownRows(editor).at(1), s("Title=Typed|Media Title"));
    QCOMPARE(shownRows(editor).at(4), s("Genre=Music|Genre"));
    const QVariantMap metadata = metadataOf(editor);
    QCOMPARE(metadata.value(s("title")), QVariant(s("Typed")));
    QCOMPARE(metadata.value(s("type")), QVariant(s("Folk")));
}

void TestEditor::importSubmits_data() {
    QTest::addColumn<QVariantMap>("record");
    QTest::addColumn<QString>("handoffKind");
    // Pixels of the submitted JPEG at the screen's scale of 2 (500 and 300 x 170.2 points);
    // empty for none.
    QTest::addColumn<QSize>("artwork");
    QTest::addColumn<QStringList>("calls");

    QTest::newRow("recorded download without artwork")
        << QVariantMap{{s("name"), s("Old Tag.mp3")}, {s("filePath"), m_plain}} << s("song")
        << QSize() << QStringList{s("cancel")};
    QTest::newRow("whole record, song cover cut square")
        << QVariantMap{{s("path"), m_plain},
                       {s("mediaKind"), s("song")},
                       {s("metadata"),
                        QVariantMap{{s("imageData"), pngBytes({1000, 600}, Qt::red)}}}}
        << QString() << QSize(1000, 1000) << QStringList{s("start"), s("cancel")};
    QTest::newRow("whole record, music video frame")
        << QVariantMap{{s("path"), m_plain},
                       {s("mediaKind"), s("music-video")},
                       {s("extra"), s("kept")},
                       {s("metadata"),
                        QVariantMap{{s("imageData"), pngBytes({1000, 600}, Qt::blue)}}}}
        << QString() << QSize(600, 341) << QStringList{s("start"), s("cancel")};
}

void TestEditor::importSubmits() {
    QFETCH(QVariantMap, record);
    QFETCH(QString, handoffKind);
    QFETCH(QSize, artwork);
    QFETCH(QStringList, calls);

    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    auto* editor = makeEditor(record, handoffKind);
    RecordingDelegate delegate;
    editor->setDelegate(&delegate);
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());
    const QString kind = editor->importDict().value(s("mediaKind")).toString();

    // A year typed and not left: Import takes it as it stands.
    ImportTextField* year = fieldRow(editor, 5)->textField();
    year->setFocus();
    year->selectAll();
    QTest::keyClicks(year, s("2024"));

    QElapsedTimer timer;
    timer.start();
    click(editor->importButton());
    auto* hud = open->navigation->findChild<MBProgressHUD*>();
    QVERIFY(hud && hud->isVisible());
    QCOMPARE(hud->labelText(), s("Media Import Started"));
    QCOMPARE(hud->detailsLabelText(), s("Import is now progressing"));
    QCOMPARE(hud->detailsLabelFont().pixelSize(), 14);
    QCOMPARE(hud->minShowTime(), 4.0);
    QCOMPARE(hud->color().alpha(), 0);
    QVERIFY(hud->blurBackground());
    QCOMPARE(hud->mode(), MBProgressHUDMode::CustomView);
    QCOMPARE(hud->customView()->size(), QSize(35, 41));
    QTest::qWait(MBProgressHUD::fadeDurationMs + 50);
    QVERIFY(open->window->grab().save(
        QCoreApplication::applicationDirPath() + s("/editor-importing.png"), "PNG"));

    QTRY_COMPARE_WITH_TIMEOUT(delegate.calls, calls, 8000);
    QVERIFY2(timer.elapsed() >= 4000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(editor->importDict().isEmpty());
    QVERIFY(open->window->windowState() & Qt::WindowMinimized);
    QTRY_VERIFY(!open->navigation->findChild<MBProgressHUD*>());

    const QList<QVariantMap> records = m_importer->records();
    QCOMPARE(records.size(), 1);
    QVERIFY(m_importer->offMainThread());
    const QVariantMap submitted = records.first();
    QCOMPARE(submitted.value(s("path")).toString(), m_plain);
    QCOMPARE(submitted.value(s("mediaKind")).toString(), kind);
    QCOMPARE(submitted.contains(s("isNotOpenIn")), !handoffKind.isEmpty());
    for (auto it = record.cbegin(); it != record.cend(); ++it) {
        if (it.key() != s("metadata") && handoffKind.isEmpty())
            QCOMPARE(submitted.value(it.key()), it.value());
    }
    const QVariantMap metadata = submitted.value(s("metadata")).toMap();
    QCOMPARE(metadata.value(s("year")), QVariant(s("2024")));
    QCOMPARE(metadata.value(s("title")), QVariant(s("Old Tag")));
    QCOMPARE(metadata.contains(s("imageData")), artwork.isValid());
    if (artwork.isValid()) {
        const QByteArray bytes = metadata.value(s("imageData")).toByteArray();
        QVERIFY(bytes.startsWith("\xFF\xD8"));
        QCOMPARE(QImage::fromData(bytes).size(), artwork);
    }
}

void TestEditor::importFailureIsTold_data() {
    QTest::addColumn<QString>("library"); // "read-only", "full" or "vanished"
    QTest::addColumn<QString>("alert");
    QTest::newRow("read-only library")
        << s("read-only") << s("The library folder cannot be made: Read-only");
    QTest::newRow("full library") << s("full") << s("Not enough space for \u201cBig.mp3\u201d");
    QTest::newRow("file removed")
        << s("vanished") << s("\u201cBig.mp3\u201d was removed before it could be imported");
}

void TestEditor::importFailureIsTold() {
    QFETCH(QString, library);
    QFETCH(QString, alert);
    const ScopedMount mount(1024 * 1024, library == s("read-only")
                                             ? ScopedMount::Access::ReadOnly
                                             : ScopedMount::Access::ReadWrite);
    if (!mount.isMounted())
        QSKIP("a read-only or full library is a file system of its own; mounting needs the right "
              "to mount");
    const auto libraryAt = std::make_shared<MediaLibrary>(mount.filePath(s("Library")));
    MediaLibraryImportService::setImporter(libraryAt);
    if (library == s("full")) {
        // A library that has its catalogue, on a disk with 24 KB left: the next song's copy
        // does not fit.
        QTemporaryDir first;
        const QString small = first.filePath(s("small.mp3"));
        QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v23.mp3"), small));
        QVERIFY(libraryAt
                    ->importFile(ImportRecord::fromDictionary(
                        {{s("path"), small},
                         {s("mediaKind"), s("song")},
                         {s("metadata"), QVariantMap{{s("title"), s("Small")}}}}))
                    .ok());
        QFile filler(mount.filePath(s("filler")));
        QVERIFY(filler.open(QIODevice::WriteOnly));
        const QByteArray block(4096, 'f');
        while (filler.write(block) == block.size() && filler.flush()) {
        }
        filler.close();
        QVERIFY(filler.resize(qMax<qint64>(0, filler.size() - 24 * 1024)));
    }

    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    QTemporaryDir dir;
    const QString source = dir.filePath(s("Big.mp3"));
    QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/big-cover.mp3"), source));
    const QByteArray before = contents(source);
    auto* editor = makeEditor(QVariantMap{{s("path"), source},
                                          {s("mediaKind"), s("song")},
                                          {s("metadata"), QVariantMap{{s("title"), s("Big")}}}},
                              QString());
    RecordingDelegate delegate;
    editor->setDelegate(&delegate);
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());

    ImportTextField* title = fieldRow(editor, 1)->textField();
    title->setFocus();
    title->selectAll();
    QTest::keyClicks(title, s("Edited Title"));
    if (library == s("vanished"))
        QVERIFY(QFile::remove(source));
    click(editor->importButton());

    AlertController* shown = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT((shown = open->window->findChild<AlertController*>()) != nullptr,
                             8000);
    QVERIFY2(shown->message().startsWith(alert), qPrintable(shown->message()));
    QVERIFY(!shown->message().contains(u'\n'));
    if (library == s("read-only")) {
        QTest::qWait(400); // the alert has faded in
        QVERIFY(open->window->grab().save(
            QCoreApplication::applicationDirPath() + s("/editor-import-failed.png"), "PNG"));
    }
    // The overlay is gone at once, the editor stays with the user's edits, nobody was told to
    // delete anything, and the window stays where it is.
    QTRY_VERIFY(!open->navigation->findChild<MBProgressHUD*>());
    QVERIFY(editor->isVisible());
    QCOMPARE(delegate.calls, QStringList());
    QCOMPARE(title->text(), s("Edited Title"));
    QCOMPARE(metadataOf(editor).value(s("title")), QVariant(s("Edited Title")));
    QVERIFY(!(open->window->windowState() & Qt::WindowMinimized));
    if (library != s("vanished"))
        QCOMPARE(contents(source), before);
    // No copy of the song, and no half of one.
    QDirIterator left(mount.filePath(s("Library")), QDir::Files | QDir::Hidden,
                      QDirIterator::Subdirectories);
    while (left.hasNext()) {
        const QString name = QFileInfo(left.next()).fileName();
        QVERIFY2(!name.contains(s("Big")) && !name.endsWith(s(".part")), qPrintable(name));
    }
}

void TestEditor::untaggableFormatIsSaid() {
    // A format the tag library cannot write is filed as it is; its values are in the catalogue.
    QTemporaryDir dir;
    const auto library = std::make_shared<MediaLibrary>(dir.filePath(s("Library")));
    MediaLibraryImportService::setImporter(library);
    const QString source = dir.filePath(s("Voice Memo.aac"));
    QVERIFY(writeFile(source, QByteArray(4096, '\x5a')));
    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    auto* editor = makeEditor(QVariantMap{{s("path"), source},
                                          {s("mediaKind"), s("song")},
                                          {s("metadata"), QVariantMap{{s("title"), s("Memo")}}}},
                              QString());
    RecordingDelegate delegate;
    editor->setDelegate(&delegate);
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());
    click(editor->importButton());
    QTRY_VERIFY(open->navigation->findChild<MBProgressHUD*>());
    QTRY_COMPARE(open->navigation->findChild<MBProgressHUD*>()->detailsLabelText(),
                 s("Its tags are kept in the library's catalogue only"));
    QTRY_COMPARE_WITH_TIMEOUT(delegate.calls, (QStringList{s("start"), s("cancel")}), 8000);
    const Result<QList<QVariantMap>> items = library->items();
    QVERIFY(items.ok());
    QCOMPARE(items->size(), 1);
    // The file has no tags to read; its name stands in as the title, as for every import.
    QCOMPARE(items->first().value(s("title")).toString(), s("Voice Memo"));
}

void TestEditor::cancel_data() {
    QTest::addColumn<QVariantMap>("record");
    QTest::addColumn<QString>("handoffKind");
    QTest::addColumn<QStringList>("calls");

    QTest::newRow("recorded download: its file is kept")
        << QVariantMap{{s("name"), s("Old Tag.mp3")}, {s("filePath"), m_plain}} << s("song")
        << QStringList{s("cancel")};
    QTest::newRow("handed over: its path is passed")
        << QVariantMap{{s("path"), m_plain}} << QString() << QStringList{s("cancel ") + m_plain};
}

void TestEditor::cancel() {
    QFETCH(QVariantMap, record);
    QFETCH(QString, handoffKind);
    QFETCH(QStringList, calls);

    auto* editor = makeEditor(record, handoffKind);
    RecordingDelegate delegate;
    editor->setDelegate(&delegate);
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());
    click(editor->cancelButton());
    QCOMPARE(delegate.calls, calls);
    QVERIFY(m_importer->records().isEmpty());
    QVERIFY(!editor->importDict().isEmpty());
}

void TestEditor::artworkSearchTerm_data() {
    QTest::addColumn<QVariantMap>("metadata");
    QTest::addColumn<QString>("term");

    QTest::newRow("artist and title")
        << QVariantMap{{s("artist"), s("The Pilots")}, {s("title"), s("Harbour Song")}}
        << s("The Pilots+Harbour Song");
    QTest::newRow("empty artist") << QVariantMap{{s("artist"), s("")}, {s("title"), s("Clip")}}
                                  << s("+Clip");
    QTest::newRow("no artist, numeric title")
        << QVariantMap{{s("title"), 1984}} << s("(null)+1984");
    QTest::newRow("nothing") << QVariantMap{} << s("(null)+(null)");
}

void TestEditor::artworkSearchTerm() {
    QFETCH(QVariantMap, metadata);
    QFETCH(QString, term);
    QCOMPARE(ImportViewController::artworkSearchTerm(Tags::fromDictionary(metadata)), term);
}

void TestEditor::artworkFromWebSearch_data() {
    QTest::addColumn<bool>("pick");
    QTest::newRow("picked") << true;
    QTest::newRow("cancelled") << false;
}

void TestEditor::artworkFromWebSearch() {
    QFETCH(bool, pick);

    // The search service on 127.0.0.1 with one result: a 100 x 100 thumbnail, a 60 x 40 image.
    HttpTestServer server;
    QVERIFY(server.listen());
    qputenv("TOLVANE_SEARCH_URL", server.base().toUtf8());
    const QByteArray base = server.base().toUtf8();
    server.route("/search",
                 HttpTestServer::ok("<div class=\"rg_di rg_bx\"><a href=\"/imgres?imgurl=" + base +
                                    "/full.png&amp;imgrefurl=" + base +
                                    "/page&amp;h=40\"></a><div class=\"rg_meta\">"
                                    "{\"id\":\"r0\",\"tu\":\"" +
                                    base + "/thumb.png\",\"th\":100}</div></div>"));
    server.route("/thumb.png", HttpTestServer::ok(pngBytes({100, 100}, Qt::yellow), "image/png"));
    server.route("/full.png", HttpTestServer::ok(pngBytes({60, 40}, Qt::darkBlue), "image/png"));

    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    auto* editor = new ImportViewController(
        QVariantMap{{s("name"), s("Harbour Song.mp3")}, {s("filePath"), m_song}}, s("song"));
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());
    const QByteArray before = metadataOf(editor).value(s("imageData")).toByteArray();

    click(rowCell(editor, 1, 0));
    auto* navigation =
        qobject_cast<NavigationController*>(open->navigation->presentedViewController());
    QVERIFY(navigation);
    QPointer<GoogleImagesCollectionVC> search =
        qobject_cast<GoogleImagesCollectionVC*>(navigation->topViewController());
    QVERIFY(search);
    QCOMPARE(search->searchTerm(), s("The Pilots+Harbour Song"));
    QCOMPARE(search->delegate(), static_cast<GoogleImagesSearchDelegate*>(editor));

    if (pick) {
        QTRY_VERIFY(search->collectionView()->cellForItemAtIndexPath({0, 0}));
        const QRect cell = search->collectionView()->cellForItemAtIndexPath({0, 0})->geometry();
        QTest::mouseClick(search->collectionView()->viewport(), Qt::LeftButton, {}, cell.center());
        QVERIFY(search->detailView());
        QTRY_VERIFY(search->detailView()->selectButton()->isVisible());
        click(search->detailView()->selectButton());
    } else {
        click(search->navigationItem()->leftBarButton());
    }
    QTRY_VERIFY(search.isNull());
    QTRY_VERIFY(!open->navigation->presentedViewController());
    qunsetenv("TOLVANE_SEARCH_URL");

    const QByteArray after = metadataOf(editor).value(s("imageData")).toByteArray();
    if (pick) {
        QVERIFY(after.startsWith("\x89PNG"));
        const QImage stored = QImage::fromData(after);
        QCOMPARE(stored.size(), QSize(60, 40));
        QCOMPARE(stored.pixelColor(30, 20).rgb(), QColor(Qt::darkBlue).rgb());
    } else {
        QCOMPARE(after, before);
    }
}

void TestEditor::previewMedia() {
    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    auto* editor = new ImportViewController(QVariantMap{{s("path"), m_plain}});
    const auto open = present(editor, QSize(390, 760));
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());

    click(rowCell(editor, 2, 0));
    auto* player = qobject_cast<PlayerWindow*>(open->navigation->presentedViewController());
    QVERIFY(player);
    QCOMPARE(player->path(), m_plain);
    QVERIFY(player->shouldAutoplay());
    QTRY_VERIFY(player->isVisible());
    QCOMPARE(player->player() != nullptr, PlaybackSupport::isAvailable());
    QVERIFY(rowCell(editor, 2, 0)->isSelected());

    player->closePlayer();
    QTRY_VERIFY(!open->navigation->presentedViewController());
    QVERIFY(!rowCell(editor, 2, 0)->isSelected());
}

void TestEditor::photoLibrary_data() {
    QTest::addColumn<bool>("pad");
    QTest::addColumn<QString>("file"); // in the photo library; empty: cancelled
    QTest::addColumn<bool>("replaced");

    QTest::newRow("phone, picked") << false << s("cover.png") << true;
    QTest::newRow("phone, cancelled") << false << QString() << false;
    QTest::newRow("phone, not an image") << false << s("notes.png") << false;
    QTest::newRow("pad, picked") << true << s("cover.png") << true;
    QTest::newRow("pad, cancelled") << true << QString() << false;
}

void TestEditor::photoLibrary() {
    QFETCH(bool, pad);
    QFETCH(QString, file);
    QFETCH(bool, replaced);

    const QString library = Paths::photoLibraryFolder();
    QVERIFY(writePng(library + s("/cover.png"), QSize(900, 700), Qt::green));
    QVERIFY(writeFile(library + s("/notes.png"), "plain text"));

    const QSize window = pad ? QSize(1024, 768) : QSize(390, 760);
    ScopedDevice device(pad ? Idiom::Pad : Idiom::Phone, QSizeF(window), 2);
    auto* editor = new ImportViewController(
        QVariantMap{{s("name"), s("Harbour Song.mp3")}, {s("filePath"), m_song}}, s("song"));
    const auto open = present(editor, window);
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());
    const QByteArray before = metadataOf(editor).value(s("imageData")).toByteArray();
    const auto* thumbnail = qobject_cast<ImportTumbnailCell*>(rowCell(editor, 0, 0));
    QTRY_VERIFY(!thumbnail->isLoadingArtwork());
    const QImage shownBefore =
        qobject_cast<ImportTumbnailCell*>(rowCell(editor, 0, 0))->imgView()->image();

    click(rowCell(editor, 1, 1));
    ImagePickerController* picker = nullptr;
    if (pad) {
        auto* popover = open->window->findChild<PopoverController*>();
        QVERIFY(popover && popover->isPopoverVisible());
        const QRect row(rowCell(editor, 1, 1)->mapTo(open->window.get(), QPoint(0, 0)),
                        rowCell(editor, 1, 1)->size());
        QVERIFY(popover->panelFrame().top() > row.bottom() ||
                popover->panelFrame().bottom() < row.top());
        picker = qobject_cast<ImagePickerController*>(popover->content());
    } else {
        QTRY_VERIFY(open->navigation->presentedViewController());
        picker = qobject_cast<ImagePickerController*>(open->navigation->presentedViewController());
    }
    QVERIFY(picker);
    QPointer<ImagePickerController> guard(picker);
    QCOMPARE(picker->fileDialog()->directory().absolutePath(), QDir(library).absolutePath());
    if (file.isEmpty()) {
        picker->fileDialog()->reject();
    } else {
        picker->fileDialog()->selectFile(library + QLatin1Char('/') + file);
        QVERIFY(QMetaObject::invokeMethod(picker->fileDialog(), "accept"));
    }
    QTRY_VERIFY(guard.isNull());
    QVERIFY(!open->navigation->presentedViewController());
    QVERIFY(!editor->tableView()->indexPathForSelectedRow());

    const QByteArray after = metadataOf(editor).value(s("imageData")).toByteArray();
    QTRY_VERIFY(!thumbnail->isLoadingArtwork());
    const QImage shown =
        qobject_cast<ImportTumbnailCell*>(rowCell(editor, 0, 0))->imgView()->image();
    if (replaced) {
        // Kept at full size as JPEG; sized only when it is submitted.
        QVERIFY(after.startsWith("\xFF\xD8"));
        QCOMPARE(QImage::fromData(after).size(), QSize(900, 700));
        QVERIFY(shown.cacheKey() != shownBefore.cacheKey());
        QCOMPARE(shown.pixelColor(shown.width() / 2, shown.height() / 2).green(), 255);
    } else {
        QCOMPARE(after, before);
    }
}

void TestEditor::layoutAndLook_data() {
    QTest::addColumn<QVariantMap>("record");
    QTest::addColumn<int>("idiom");
    QTest::addColumn<QSize>("screen");
    QTest::addColumn<int>("artworkRow");
    QTest::addColumn<int>("fontSize");

    const auto record = [this](const char* kind, const QVariantMap& metadata) {
        return QVariantMap{
            {s("path"), m_song}, {s("mediaKind"), s(kind)}, {s("metadata"), metadata}};
    };
    const QVariantMap song = record("song", {});
    const QVariantMap episode =
        record("tv-episode", {{s("seriesName"), s("Harbour")}, {s("seasonNumber"), 2}});
    const QVariantMap ringtone = record("ringtone", {});
    for (const auto& [name, value] :
         {std::pair{"song", song}, std::pair{"tv", episode}, std::pair{"ringtone", ringtone}}) {
        QTest::newRow(qPrintable(s("%1-phone-portrait").arg(QLatin1String(name))))
            << value << int(Idiom::Phone) << QSize(375, 667) << 375 << 16;
        QTest::newRow(qPrintable(s("%1-pad-landscape").arg(QLatin1String(name))))
            << value << int(Idiom::Pad) << QSize(1024, 768) << 414 << 18;
    }
}

void TestEditor::layoutAndLook() {
    QFETCH(QVariantMap, record);
    QFETCH(int, idiom);
    QFETCH(QSize, screen);
    QFETCH(int, artworkRow);
    QFETCH(int, fontSize);

    ScopedDevice device(Idiom(idiom), QSizeF(screen), 2);
    auto* editor = new ImportViewController(record);
    const auto open = present(editor, screen);
    QVERIFY(open);
    QTRY_VERIFY(editor->isVisible());
    const GroupedTableView* table = editor->tableView();

    QCOMPARE(table->rectForHeaderInSection(0).height(), 0);
    for (int section = 1; section < 5; ++section)
        QCOMPARE(table->rectForHeaderInSection(section).height(), 20);
    QCOMPARE(table->rectForRowAtIndexPath({0, 0}).height(), artworkRow);
    QCOMPARE(table->rectForRowAtIndexPath({1, 1}).height(), 50);
    QCOMPARE(table->rectForRowAtIndexPath({3, 0}).height(), 46);
    QCOMPARE(table->rectForRowAtIndexPath({1, 0}).top(), artworkRow + 20);
    QCOMPARE(table->palette().color(QPalette::Window), QColor(245, 245, 245));

    const auto* thumbnail = qobject_cast<ImportTumbnailCell*>(rowCell(editor, 0, 0));
    const int side = artworkRow - 20;
    QCOMPARE(thumbnail->imgContainer()->geometry(),
             QRect((thumbnail->width() - side) / 2, 10, side, side));
    const auto* search = qobject_cast<ImportSelectCell*>(rowCell(editor, 1, 0));
    QCOMPARE(search->imgView()->geometry(), QRect(10, 8, 34, 34));
    QCOMPARE(search->title()->geometry().left(), 54);
    QCOMPARE(search->title()->font().pixelSize(), fontSize);
    QVERIFY(search->title()->font().bold());
    QCOMPARE(search->accessoryType(), TableViewCell::AccessoryType::DisclosureIndicator);
    for (int row = 0; row < table->numberOfRowsInSection(4); ++row) {
        const EditableImportTableViewCell* cell = fieldRow(editor, row);
        QCOMPARE(cell->textField()->geometry().right() + 1, cell->contentView()->width() - 15);
        QCOMPARE(cell->textLabel()->font().pixelSize(), 14);
    }

    QTRY_VERIFY(!thumbnail->isLoadingArtwork());
    QVERIFY(!thumbnail->imgView()->image().isNull());
    const QString shot =
        QCoreApplication::applicationDirPath() + s("/editor-") + s(QTest::currentDataTag());
    QVERIFY(open->window->grab().save(shot + s(".png"), "PNG"));
    // The whole table, for the rows below the window's edge.
    QVERIFY(table->widget()->grab().save(shot + s("-table.png"), "PNG"));
}

QTEST_MAIN(TestEditor)
#include "tst_editor.moc"

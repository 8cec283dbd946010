// The whole application, driven as a user would: hand-off URLs and files arrive, the screens
// they open are worked through their widgets, and each road ends with the files on disk — the
// library item read back with the project's own reader, the source kept or deleted.

#include "HttpTestServer.h"
#include "ScopedMount.h"
#include "TestSupport.h"
#include "app/DemoDevice.h"
#include "app/ScreensShown.h"
#include "app/ui/TolvaneApplication.h"
#include "app/ui/ViewController.h"
#include "browser/DirectoryListModel.h"
#include "browser/ui/ActivityViewController.h"
#include "browser/ui/PSDirectoryListViewController.h"
#include "browser/ui/PSDirectoryPickerController.h"
#include "import/MetadataReader.h"
#include "import/library/MediaLibrary.h"
#include "import/ui/EditableImportTableViewCell.h"
#include "import/ui/ImportTextField.h"
#include "import/ui/ImportViewController.h"
#include "overlay/MBProgressHUD.h"
#include "platform/Paths.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/GroupedTableView.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/TableViewCell.h"
#include "search/ui/CollectionView.h"
#include "search/ui/CollectionViewCell.h"
#include "search/ui/DetailView.h"
#include "search/ui/GoogleImagesCollectionVC.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace tolvane;
using namespace tolvane::test;

namespace {

EditableImportTableViewCell* fieldRow(ImportViewController* editor, const QString& label) {
    const auto rows = editor->findChildren<EditableImportTableViewCell*>();
    for (EditableImportTableViewCell* row : rows) {
        if (row->isVisible() && row->textLabel()->text() == label)
            return row;
    }
    return nullptr;
}

// A picture of the whole window, for the user's guide: written into the build's tests
// folder (scripts/screenshots.sh copies them to docs/screenshots).
void snapshot(const char* name) {
    QCoreApplication::processEvents();
    QDir().mkpath(s(TOLVANE_SCREENSHOT_DIR));
    TolvaneApplication::instance()->window()->grab().save(
        s(TOLVANE_SCREENSHOT_DIR "/%1.png").arg(QLatin1String(name)));
}

QList<QVariantMap> libraryItems() {
    return MediaLibrary(MediaLibrary::defaultFolder()).items().valueOr({});
}

} // namespace

class TestEndToEnd : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void recordedDownloadWithSearchedArtwork();
    void recordedVideoFromTracksStore();
    void openWithWorksOnTheInboxEntry_data();
    void openWithWorksOnTheInboxEntry();
    void handedOverFilesThatCannotBeEntered();
    void browseThenHandOffTakesThePickerDown();
    void browsedFileImportedToVideos();

private:
    bool handOver(const QString& url);
    // Presses Import and waits for the overlay, the editor and the window's return to the
    // background.
    void importAndWait(ImportViewController* editor, const char* snapshotName = nullptr);
    void importAndWaitOver(ImportViewController* editor, Screen* presenter,
                           const char* snapshotName = nullptr);

    QTemporaryDir m_folder;
    QString m_device;
    QString m_downloads;
    HttpTestServer m_server;
};

void TestEndToEnd::initTestCase() {
    QVERIFY(m_folder.isValid());
    m_device = m_folder.filePath(s("device"));
    const Status made = DemoDevice::create(m_device, s(TOLVANE_BUILD_SYSTEM_DATA));
    QVERIFY2(made.ok(), qPrintable(made.errorText()));
    Paths::setDeviceRoot(m_device);
    m_downloads = Paths::userRoot() + s("/Downloads");

    // The image search answers from here: one result, a thumbnail and its full image.
    QVERIFY(m_server.listen());
    qputenv("TOLVANE_SEARCH_URL", m_server.base().toUtf8());
    const QByteArray base = m_server.base().toUtf8();
    m_server.route("/search",
                   HttpTestServer::ok("<div class=\"rg_di rg_bx\"><a href=\"/imgres?imgurl=" +
                                      base + "/full.png&amp;imgrefurl=" + base +
                                      "/page&amp;h=40\"></a><div class=\"rg_meta\">"
                                      "{\"id\":\"r0\",\"tu\":\"" +
                                      base + "/thumb.png\",\"th\":100}</div></div>"));
    m_server.route("/thumb.png", HttpTestServer::ok(pngBytes({100, 100}, Qt::yellow), "image/png"));
    m_server.route("/full.png", HttpTestServer::ok(pngBytes({800, 800}, Qt::darkRed), "image/png"));

    TolvaneApplication* app = TolvaneApplication::instance();
    app->setLaunchPauseEnabled(false);
    QVERIFY(app->application(app, QVariantMap()));
    QVERIFY(QTest::qWaitForWindowExposed(app->window()));
    app->window()->resize(390, 760);
    QTest::qWait(1000); // the hint line fades in
    snapshot("main-screen");
}

void TestEndToEnd::init() {
    MainWindow* window = TolvaneApplication::instance()->window();
    window->showNormal();
    QTRY_VERIFY(!presentedOverMain());
}

bool TestEndToEnd::handOver(const QString& url) {
    TolvaneApplication* app = TolvaneApplication::instance();
    return app->application(app, url, QString(), QVariant());
}

void TestEndToEnd::importAndWait(ImportViewController* editor, const char* snapshotName) {
    importAndWaitOver(editor,
                      TolvaneApplication::instance()->viewController()->navigationController(),
                      snapshotName);
}

void TestEndToEnd::importAndWaitOver(ImportViewController* editor, Screen* presenter,
                                     const char* snapshotName) {
    QPointer<ImportViewController> guard(editor);
    click(editor->navigationItem()->rightBarButton());
    if (snapshotName) {
        QTest::qWait(800); // the overlay has faded in
        snapshot(snapshotName);
    }
    MainWindow* window = TolvaneApplication::instance()->window();
    // The overlay stays at least four seconds, then the editor goes and the window with it.
    QTRY_VERIFY_WITH_TIMEOUT(window->windowState() & Qt::WindowMinimized, 15000);
    QTRY_VERIFY(!presenter->presentedViewController());
    QTRY_VERIFY(guard.isNull());
}

void TestEndToEnd::recordedDownloadWithSearchedArtwork() {
    const QString source = m_downloads + s("/Evening Tide.mp3");
    const QByteArray before = contents(source);
    QVERIFY(handOver(s("tolvane://x?a=song&b=downloads&c=evening-tide")));
    QTRY_VERIFY(shownEditor());
    ImportViewController* editor = shownEditor();
    QCOMPARE(editor->importDict().value(s("mediaKind")).toString(), s("song"));
    QVERIFY(editor->importDict().contains(s("isNotOpenIn")));

    // Artwork from the web search, picked in its detail panel.
    click(editor->tableView()->cellForRowAtIndexPath({1, 0}));
    QPointer<GoogleImagesCollectionVC> search;
    QTRY_VERIFY((search = qobject_cast<GoogleImagesCollectionVC*>(
                     qobject_cast<NavigationController*>(
                         editor->navigationController()->presentedViewController())
                         ->topViewController())));
    QTRY_VERIFY(search->collectionView()->cellForItemAtIndexPath({0, 0}));
    QTest::mouseClick(
        search->collectionView()->viewport(), Qt::LeftButton, {},
        search->collectionView()->cellForItemAtIndexPath({0, 0})->geometry().center());
    QTRY_VERIFY(search->detailView() && search->detailView()->selectButton()->isVisible());
    QTest::qWait(600); // the panel's image arrives
    snapshot("search-results");
    click(search->detailView()->selectButton());
    QTRY_VERIFY(search.isNull());

    // A year typed and left in its field is what the library gets.
    ImportTextField* year = fieldRow(editor, s("Year"))->textField();
    year->setFocus();
    year->selectAll();
    QTest::keyClicks(year, s("1999"));
    QTest::qWait(300);
    snapshot("import-editor");
    importAndWait(editor, "import-overlay");

    const QList<QVariantMap> items = libraryItems();
    QCOMPARE(items.size(), 1);
    QCOMPARE(items.first().value(s("year")).toString(), s("1999"));
    QCOMPARE(items.first().value(s("artwork_width")).toInt(),
             items.first().value(s("artwork_height")).toInt());
    const QString imported = MediaLibrary::defaultFolder() + QLatin1Char('/') +
                             items.first().value(s("path")).toString();
    const QVariantMap tags = MetadataReader::metadataForFile(imported).valueOr({});
    QCOMPARE(tags.value(s("type")).toString(), s("Ambient"));
    const QImage artwork = QImage::fromData(tags.value(s("imageData")).toByteArray());
    QVERIFY(!artwork.isNull());
    QCOMPARE(artwork.pixelColor(artwork.rect().center()).red(), QColor(Qt::darkRed).red());
    // A recorded download keeps its file.
    QCOMPARE(contents(source), before);
}

void TestEndToEnd::recordedVideoFromTracksStore() {
    const QString url = s("tolvane://x?a=music-video&b=tracks&c=harbour&d=tracks.plist&e=%1/"
                          "harbour.mp4&f=%1/harbour.jpg")
                            .arg(m_downloads);
    QVERIFY(handOver(url));
    QTRY_VERIFY(shownEditor());
    ImportViewController* editor = shownEditor();
    QCOMPARE(editor->importDict().value(s("mediaKind")).toString(), s("music-video"));
    const qsizetype before = libraryItems().size();
    importAndWait(editor);

    const QList<QVariantMap> items = libraryItems();
    QCOMPARE(items.size(), before + 1);
    QCOMPARE(items.last().value(s("kind")).toString(), s("music-video"));
    QVERIFY(items.last().value(s("path")).toString().startsWith(s("Music Videos/")));
    QVERIFY(QFileInfo::exists(m_downloads + s("/harbour.mp4")));
}

void TestEndToEnd::openWithWorksOnTheInboxEntry_data() {
    QTest::addColumn<bool>("otherFileSystem");
    QTest::addColumn<bool>("import");
    QTest::newRow("cancelled") << false << false;
    QTest::newRow("imported") << false << true;
    QTest::newRow("another file system, cancelled") << true << false;
    QTest::newRow("another file system, imported") << true << true;
}

void TestEndToEnd::openWithWorksOnTheInboxEntry() {
    // "Open With" from a file manager: the user's own file, outside the application's Inbox.
    QFETCH(bool, otherFileSystem);
    QFETCH(bool, import);
    const ScopedMount mount(8 * 1024 * 1024);
    if (otherFileSystem && !mount.isMounted())
        QSKIP("another file system is a small one mounted for the test; that needs the right to "
              "mount");
    QTemporaryDir home;
    const QString music = otherFileSystem ? mount.path() : home.filePath(s("Music"));
    const QString mine = music + s("/Keep Me.m4a");
    QVERIFY(writeFile(mine, contents(m_downloads + s("/Morning Run.m4a"))));
    const QByteArray before = QCryptographicHash::hash(contents(mine), QCryptographicHash::Sha256);
    const QString inbox = Paths::inboxFolder();
    const auto libraryItems = [] {
        return MediaLibrary(MediaLibrary::defaultFolder()).items().valueOr({}).size();
    };
    const qsizetype itemsBefore = libraryItems();

    TolvaneApplication::instance()->receive({QUrl::fromLocalFile(mine).toString()});
    QTRY_VERIFY(shownEditor());
    ImportViewController* editor = shownEditor();
    const QString entry = editor->importDict().value(s("path")).toString();
    QCOMPARE(QFileInfo(entry).absolutePath(), inbox);
    QCOMPARE(QFileInfo(entry).fileName(), s("Keep Me.m4a"));

    if (import) {
        importAndWait(editor);
        QCOMPARE(libraryItems(), itemsBefore + 1);
    } else {
        click(editor->navigationItem()->leftBarButton());
        QTRY_VERIFY(!presentedOverMain());
    }
    // The entry goes after both; the user's file stays as it was.
    QTRY_VERIFY(!QFileInfo::exists(entry));
    QVERIFY(QDir(inbox).isEmpty());
    QCOMPARE(QCryptographicHash::hash(contents(mine), QCryptographicHash::Sha256), before);
}

void TestEndToEnd::handedOverFilesThatCannotBeEntered() {
    // A folder, a file gone before it could be entered: an alert says so, no editor opens, and
    // nothing is deleted.
    QTemporaryDir home;
    QVERIFY(writeFile(home.filePath(s("Folder/inside.mp3")), "x"));
    MainWindow* window = TolvaneApplication::instance()->window();
    for (const QString& path : {home.filePath(s("Folder")), home.filePath(s("gone.mp3"))}) {
        TolvaneApplication::instance()->receive({QUrl::fromLocalFile(path).toString()});
        AlertController* alert = nullptr;
        QTRY_VERIFY((alert = window->findChild<AlertController*>()) != nullptr);
        QVERIFY2(alert->message().startsWith(path + s(": ")), qPrintable(alert->message()));
        QVERIFY(!shownEditor());
        alert->dismissWithClickedButtonIndex(0);
        QTRY_VERIFY(!window->findChild<AlertController*>());
    }
    QVERIFY(QFileInfo::exists(home.filePath(s("Folder/inside.mp3"))));

    // A path handed straight to the hand-off, past the Inbox, is never deleted by a Cancel.
    const QString outside = home.filePath(s("Outside.m4a"));
    QVERIFY(QFile::copy(m_downloads + s("/Morning Run.m4a"), outside));
    QVERIFY(handOver(QUrl::fromLocalFile(outside).toString()));
    QTRY_VERIFY(shownEditor());
    click(shownEditor()->navigationItem()->leftBarButton());
    QTRY_VERIFY(!presentedOverMain());
    QTest::qWait(100);
    QVERIFY(QFileInfo::exists(outside));
}

void TestEndToEnd::browseThenHandOffTakesThePickerDown() {
    ViewController* main = TolvaneApplication::instance()->viewController();
    QVERIFY(handOver(s("tolvane://x?path=%1/Evening%20Tide.mp3").arg(m_downloads)));
    QPointer<PSDirectoryPickerController> picker;
    QTRY_VERIFY((picker = qobject_cast<PSDirectoryPickerController*>(presentedOverMain())));
    QVERIFY(main->directoryPickerIsOn());
    auto* listing = qobject_cast<PSDirectoryListViewController*>(picker->topViewController());
    QVERIFY(listing);
    QCOMPARE(QDir(listing->path()).canonicalPath(), QDir(m_downloads).canonicalPath());
    QTest::qWait(1500); // rows turn from grey as their files are found importable
    snapshot("directory-picker");

    // A recorded download arriving now takes the picker down first and opens the editor.
    QVERIFY(handOver(s("tolvane://x?a=song&b=downloads&c=morning-run")));
    QTRY_VERIFY(picker.isNull());
    QTRY_VERIFY(shownEditor());
    QCOMPARE(QFileInfo(shownEditor()->importDict().value(s("path")).toString()).fileName(),
             s("Morning Run.m4a"));
    click(shownEditor()->navigationItem()->leftBarButton());
    QTRY_VERIFY(!presentedOverMain());
    // A recorded download is never deleted on cancel; the flag stays as the picker left it.
    QVERIFY(QFileInfo::exists(m_downloads + s("/Morning Run.m4a")));
    QVERIFY(main->directoryPickerIsOn());

    // The Browse button opens the picker on the destination folder; its Cancel clears the flag.
    click(main->browseButton());
    QTRY_VERIFY((picker = qobject_cast<PSDirectoryPickerController*>(presentedOverMain())));
    picker->cancelButtonTapped();
    QTRY_VERIFY(!presentedOverMain());
    QTRY_VERIFY(!main->directoryPickerIsOn());
}

void TestEndToEnd::browsedFileImportedToVideos() {
    const qsizetype before = libraryItems().size();
    QVERIFY(handOver(s("tolvane://x?path=%1/harbour.mp4").arg(m_downloads)));
    QPointer<PSDirectoryPickerController> picker;
    QTRY_VERIFY((picker = qobject_cast<PSDirectoryPickerController*>(presentedOverMain())));
    auto* listing = qobject_cast<PSDirectoryListViewController*>(picker->topViewController());
    QVERIFY(listing);
    const auto rowNamed = [listing](const QString& name) {
        for (int row = 0; row < listing->model()->rowCount(); ++row) {
            if (listing->model()->index(row).data().toString() == name)
                return row;
        }
        return -1;
    };
    QTRY_VERIFY(rowNamed(s("Harbour Timelapse.mp4")) >= 0);
    listing->tableViewDidSelectRow(rowNamed(s("Harbour Timelapse.mp4")));

    ActivityViewController* sheet = nullptr;
    QTRY_VERIFY((sheet = qobject_cast<ActivityViewController*>(picker->presentedViewController())));
    QTest::qWait(500);
    snapshot("file-actions");
    click(sheet->buttonForActivityType(s("ImportiTunesVideoActivity")));
    ImportViewController* editor = nullptr;
    QTRY_VERIFY((editor = qobject_cast<ImportViewController*>(
                     qobject_cast<NavigationController*>(picker->presentedViewController())
                         ? qobject_cast<NavigationController*>(picker->presentedViewController())
                               ->topViewController()
                         : nullptr)));
    QCOMPARE(editor->importDict().value(s("mediaKind")).toString(), s("music-video"));
    QVERIFY(!editor->importDict().contains(s("isNotOpenIn")));
    QTRY_VERIFY(editor->isVisible());
    importAndWaitOver(editor, picker);

    const QList<QVariantMap> items = libraryItems();
    QCOMPARE(items.size(), before + 1);
    QCOMPARE(items.last().value(s("kind")).toString(), s("music-video"));
    // The browser's file stays where it was.
    QVERIFY(QFileInfo::exists(m_downloads + s("/Harbour Timelapse.mp4")));
    picker->cancelButtonTapped();
    QTRY_VERIFY(!presentedOverMain());
}

int main(int argc, char** argv) {
    TolvaneApplication app(argc, argv);
    TestEndToEnd test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_endtoend.moc"

#include "TestSupport.h"
#include "browser/DirectoryListModel.h"
#include "browser/DirectoryPickerStack.h"
#include "browser/SaveToVideosActivity.h"
#include "browser/ui/ActivityViewController.h"
#include "browser/ui/PSDirectoryListViewController.h"
#include "browser/ui/PSDirectoryPickerController.h"
#include "browser/ui/PickerCell.h"
#include "browser/ui/PickerListView.h"
#include "browser/ui/PreviewController.h"
#include "import/PlaybackSupport.h"
#include "import/ui/PlayerWindow.h"
#include "platform/Device.h"
#include "platform/Paths.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/NavigationItem.h"

#include <QAbstractButton>
#include <QMediaPlayer>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <memory>

using namespace tolvane;
using namespace tolvane::test;

namespace {

struct CancelRecorder : PSDirectoryPickerDelegate {
    QList<PSDirectoryPickerController*> cancelled;
    void directoryPickerControllerDidCancel(PSDirectoryPickerController* picker) override {
        cancelled.append(picker);
    }
};

PSDirectoryListViewController* topListing(PSDirectoryPickerController* picker) {
    return qobject_cast<PSDirectoryListViewController*>(picker->topViewController());
}

int rowNamed(PSDirectoryListViewController* listing, const QString& name) {
    DirectoryListModel* model = listing->model();
    for (int row = 0; row < model->rowCount(); ++row) {
        if (model->index(row).data().toString() == name)
            return row;
    }
    return -1;
}

QPoint rowCentre(PSDirectoryListViewController* listing, int row) {
    PickerListView* view = listing->tableView();
    const QModelIndex index = listing->model()->index(row);
    view->scrollTo(index);
    return view->visualRect(index).center();
}

void tapRow(PSDirectoryListViewController* listing, const QString& name) {
    const int row = rowNamed(listing, name);
    QVERIFY2(row >= 0, qPrintable(name));
    QTest::mouseClick(listing->tableView()->viewport(), Qt::LeftButton, {},
                      rowCentre(listing, row));
}

} // namespace

class TestPicker : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void stackRunsFromTheTopToTheRoot_data();
    void stackRunsFromTheTopToTheRoot();
    void cellGeometry_data();
    void cellGeometry();
    void rowsAreDrawnOnTheirGround();
    void fromTheRootToAFileAndPlay();
    void previewOfATextFile();
    void previewOfAudioPlaysOrSaysItCannot();
    void deleteFromTheSheetRebuildsTheList();
    void swipeAndRightClickDelete();
    void openInWithoutApplicationsSaysSo();
    void cancelDismissesAndTellsTheDelegate_data();
    void cancelDismissesAndTellsTheDelegate();

private:
    PSDirectoryPickerController* openPicker(const QString& root);

    QTemporaryDir m_device;
    QString m_downloads;
    std::unique_ptr<Screen> m_host;
    std::unique_ptr<ScopedDevice> m_phone;
};

void TestPicker::initTestCase() {
    Paths::setRoots(m_device.filePath(QStringLiteral("var/mobile")),
                    QStringLiteral(TOLVANE_BUILD_SYSTEM_ROOT));
    m_phone = std::make_unique<ScopedDevice>(Idiom::Phone, QSizeF(375, 667), 1.0);
    // No application is registered for any type here.
    qputenv("XDG_DATA_HOME", m_device.filePath(QStringLiteral("xdg")).toUtf8());
    const QString systemData = m_device.filePath(QStringLiteral("xdg-system"));
    QVERIFY(QDir().mkpath(systemData));
    QVERIFY(QFile::link(QStringLiteral("/usr/share/mime"), systemData + QStringLiteral("/mime")));
    qputenv("XDG_DATA_DIRS", systemData.toUtf8());
    SaveToVideosActivity::setDestinationFolder(m_device.filePath(QStringLiteral("Videos")));
}

void TestPicker::init() {
    m_downloads = m_device.filePath(QStringLiteral("var/mobile/Downloads"));
    QDir(m_downloads).removeRecursively();
    QVERIFY(QDir().mkpath(m_downloads + QStringLiteral("/Music")));
    QVERIFY(QFile::copy(QStringLiteral(TOLVANE_MEDIA_FIXTURES "/tags.ogg"),
                        m_downloads + QStringLiteral("/Music/song.mp3")));
    QVERIFY(QFile::copy(QStringLiteral(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"),
                        m_downloads + QStringLiteral("/Music/tagged.mp3")));
    QVERIFY(writeFile(m_downloads + QStringLiteral("/Music/notes.txt"), "first line\n"));
    QVERIFY(writeFile(m_downloads + QStringLiteral("/Music/keep.txt"), "keep"));
    QVERIFY(QFile::link(m_downloads + QStringLiteral("/Music"),
                        m_downloads + QStringLiteral("/music-link")));
    m_host = std::make_unique<Screen>();
    m_host->resize(375, 667);
    m_host->show();
}

void TestPicker::cleanup() {
    m_host.reset();
}

PSDirectoryPickerController* TestPicker::openPicker(const QString& root) {
    auto* picker = new PSDirectoryPickerController(root);
    m_host->presentViewController(picker, false);
    return picker;
}

void TestPicker::stackRunsFromTheTopToTheRoot_data() {
    QTest::addColumn<QString>("root");
    QTest::addColumn<QString>("top");
    QTest::newRow("downloads") << QStringLiteral("var/mobile/Downloads")
                               << QStringLiteral("var/mobile/Downloads");
    QTest::newRow("outside the user root")
        << QStringLiteral("/Library/Files") << QStringLiteral("/");
}

void TestPicker::stackRunsFromTheTopToTheRoot() {
    QFETCH(QString, root);
    QFETCH(QString, top);
    const QString rootPath = root.startsWith(QLatin1Char('/')) ? root : m_device.filePath(root);
    const QString topPath = top.startsWith(QLatin1Char('/')) ? top : m_device.filePath(top);
    PSDirectoryPickerController* picker = openPicker(rootPath);
    const QStringList folders =
        DirectoryPickerStack::foldersForRootDirectory(rootPath, Paths::userRootFirstComponent());
    QStringList stacked;
    for (Screen* screen : picker->viewControllers())
        stacked.append(qobject_cast<PSDirectoryListViewController*>(screen)->path());
    QCOMPARE(stacked, folders);
    QCOMPARE(stacked.constLast(), topPath);
    PSDirectoryListViewController* listing = topListing(picker);
    QCOMPARE(listing->title(), QFileInfo(topPath).fileName().isEmpty()
                                   ? QStringLiteral("/")
                                   : QFileInfo(topPath).fileName());
    QVERIFY(listing->isVisible());
    QCOMPARE(picker->doneButtonTitle(), QStringLiteral("Done"));
    QVERIFY(!PSDirectoryPickerController::shouldAutorotateToInterfaceOrientation(
        InterfaceOrientation::PortraitUpsideDown));
}

void TestPicker::cellGeometry_data() {
    QTest::addColumn<bool>("pad");
    QTest::addColumn<QSize>("cell");
    QTest::addColumn<QRect>("image");
    QTest::addColumn<QRect>("accessory");
    QTest::addColumn<QRect>("title");
    QTest::newRow("phone") << false << QSize(320, 44) << QRect(5, 5, 34, 34)
                           << QRect(300, 13, 20, 17) << QRect(49, 12, 246, 20);
    QTest::newRow("pad") << true << QSize(768, 64) << QRect(15, 5, 54, 54) << QRect(748, 23, 20, 17)
                         << QRect(84, 22, 659, 20);
}

void TestPicker::cellGeometry() {
    QFETCH(bool, pad);
    QFETCH(QSize, cell);
    QFETCH(QRect, image);
    QFETCH(QRect, accessory);
    QFETCH(QRect, title);
    const PickerCell::Frames frames = PickerCell::layout(cell, pad);
    QCOMPARE(frames.imgView, image);
    QCOMPARE(frames.accessoryImgView, accessory);
    QCOMPARE(frames.title, title);
    QCOMPARE(PickerCell::rowHeight(pad), cell.height());
    QCOMPARE(PickerCell::titleFont(pad).pixelSize(), pad ? 18 : 16);
}

void TestPicker::rowsAreDrawnOnTheirGround() {
    PSDirectoryPickerController* picker = openPicker(m_downloads);
    PSDirectoryListViewController* listing = topListing(picker);
    QTRY_VERIFY(listing->tableView()->viewport()->height() > 200);
    const QImage shot = listing->tableView()->viewport()->grab().toImage();
    const QRect firstRow = listing->tableView()->visualRect(listing->model()->index(0));
    QCOMPARE(firstRow.height(), 44);
    // Row content on its light ground, then the list's grey ground under the last row.
    QCOMPARE(QColor(shot.pixel(firstRow.center().x(), firstRow.top() + 2)),
             PickerCell::contentBackground());
    QCOMPARE(QColor(shot.pixel(10, shot.height() - 5)), PickerListView::groundColor());
    // A folder row carries the arrow: its frame is not all ground.
    const QRect arrow =
        PickerCell::layout(firstRow.size(), false).accessoryImgView.translated(firstRow.topLeft());
    bool drawn = false;
    for (int x = arrow.left(); x <= arrow.right() && !drawn; ++x)
        drawn = QColor(shot.pixel(x, arrow.center().y())) != PickerCell::contentBackground();
    QVERIFY(drawn);
}

void TestPicker::fromTheRootToAFileAndPlay() {
    PSDirectoryPickerController* picker = openPicker(m_downloads);
    tapRow(topListing(picker), QStringLiteral("music-link"));
    QTRY_COMPARE(topListing(picker)->path(), m_downloads + QStringLiteral("/Music"));
    PSDirectoryListViewController* music = topListing(picker);
    QTRY_VERIFY(music->tableView()->isVisible());
    // A tagged song's title turns enabled once its answer arrives.
    const int song = rowNamed(music, QStringLiteral("tagged.mp3"));
    QTRY_COMPARE_WITH_TIMEOUT(music->model()->index(song).data(DirectoryListModel::EnabledRole),
                              QVariant(true), 20000);

    tapRow(music, QStringLiteral("song.mp3"));
    auto* sheet = qobject_cast<ActivityViewController*>(picker->presentedViewController());
    QVERIFY(sheet);
    QStringList offered;
    for (Activity* activity : sheet->activities())
        offered.append(activity->activityType());
    QCOMPARE(offered,
             QStringList({QStringLiteral("PlayMediaActivity"),
                          QStringLiteral("ImportiTunesAudioActivity"),
                          QStringLiteral("DeleteFileActivity"), QStringLiteral("OpenInActivity")}));
    QTest::mouseClick(sheet->buttonForActivityType(QStringLiteral("PlayMediaActivity")),
                      Qt::LeftButton);
    QTRY_VERIFY(qobject_cast<PlayerWindow*>(picker->presentedViewController()));
    auto* player = qobject_cast<PlayerWindow*>(picker->presentedViewController());
    QCOMPARE(player->path(), m_downloads + QStringLiteral("/Music/song.mp3"));
    QVERIFY(player->isVisible());
    // Where media cannot be played, the player says so instead of making a player.
    QCOMPARE(player->player() != nullptr, PlaybackSupport::isAvailable());
    if (!PlaybackSupport::isAvailable())
        QCOMPARE(player->errorText(), PlayerWindow::cannotPlayText());
    QVERIFY(!music->runningActivity()->isFinished());
}

void TestPicker::previewOfATextFile() {
    PSDirectoryPickerController* picker = openPicker(m_downloads + QStringLiteral("/Music"));
    tapRow(topListing(picker), QStringLiteral("notes.txt"));
    auto* sheet = qobject_cast<ActivityViewController*>(picker->presentedViewController());
    QVERIFY(sheet);
    QCOMPARE(sheet->activities().first()->activityType(), QStringLiteral("PreviewActivity"));
    QTest::mouseClick(sheet->buttonForActivityType(QStringLiteral("PreviewActivity")),
                      Qt::LeftButton);
    QTRY_VERIFY(qobject_cast<PreviewController*>(picker->presentedViewController()));
    auto* preview = qobject_cast<PreviewController*>(picker->presentedViewController());
    QCOMPARE(preview->kind(), PreviewController::Kind::Text);
    QCOMPARE(preview->shownText(), QStringLiteral("first line\n"));
    QCOMPARE(topListing(picker)->previewURL(),
             QUrl::fromLocalFile(m_downloads + QStringLiteral("/Music/notes.txt")));
    QTest::mouseClick(static_cast<QAbstractButton*>(preview->doneButton()), Qt::LeftButton);
    QTRY_COMPARE(picker->presentedViewController(), nullptr);
}

void TestPicker::previewOfAudioPlaysOrSaysItCannot() {
    PreviewController preview(
        QUrl::fromLocalFile(m_downloads + QStringLiteral("/Music/tagged.mp3")));
    preview.resize(375, 667);
    preview.show();
    QCOMPARE(preview.kind(), PreviewController::Kind::Media);
    PlayerWindow* player = preview.player();
    QVERIFY(player);
    QVERIFY(player->isVisible());
    QVERIFY(!player->closeButton()->isVisible());
    if (!PlaybackSupport::isAvailable()) {
        QCOMPARE(player->player(), nullptr);
        QCOMPARE(player->errorText(), PlayerWindow::cannotPlayText());
        return;
    }
    QVERIFY(player->player());
    QTRY_COMPARE_WITH_TIMEOUT(player->player()->playbackState(), QMediaPlayer::PlayingState, 10000);
    QCOMPARE(player->errorText(), QString());
}

void TestPicker::deleteFromTheSheetRebuildsTheList() {
    PSDirectoryPickerController* picker = openPicker(m_downloads + QStringLiteral("/Music"));
    PSDirectoryListViewController* listing = topListing(picker);
    QCOMPARE(listing->model()->rowCount(), 4);
    tapRow(listing, QStringLiteral("notes.txt"));
    auto* sheet = qobject_cast<ActivityViewController*>(picker->presentedViewController());
    QVERIFY(sheet);
    QTest::mouseClick(sheet->buttonForActivityType(QStringLiteral("DeleteFileActivity")),
                      Qt::LeftButton);
    QTRY_COMPARE(listing->model()->rowCount(), 3);
    QVERIFY(!QFileInfo::exists(m_downloads + QStringLiteral("/Music/notes.txt")));
    QCOMPARE(rowNamed(listing, QStringLiteral("notes.txt")), -1);
}

void TestPicker::swipeAndRightClickDelete() {
    PSDirectoryPickerController* picker = openPicker(m_downloads + QStringLiteral("/Music"));
    PSDirectoryListViewController* listing = topListing(picker);
    PickerListView* view = listing->tableView();
    QTRY_VERIFY(view->isVisible());

    // A swipe to the left shows the button; a tap elsewhere puts it away.
    const QPoint start = rowCentre(listing, rowNamed(listing, QStringLiteral("keep.txt")));
    QTest::mousePress(view->viewport(), Qt::LeftButton, {}, start);
    QTest::mouseMove(view->viewport(), start - QPoint(60, 0));
    QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, start - QPoint(60, 0));
    QVERIFY(view->deleteButton()->isVisible());
    QCOMPARE(view->deleteButton()->text(), QStringLiteral("Delete"));
    QVERIFY(!picker->presentedViewController());
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, QPoint(5, view->height() - 5));
    QVERIFY(!view->deleteButton()->isVisible());

    // A right-click shows it too; pressing it removes the entry and reads the list again.
    const QPoint notes = rowCentre(listing, rowNamed(listing, QStringLiteral("notes.txt")));
    QContextMenuEvent menu(QContextMenuEvent::Mouse, notes, view->viewport()->mapToGlobal(notes));
    QApplication::sendEvent(view->viewport(), &menu);
    QVERIFY(view->deleteButton()->isVisible());
    QTest::mouseClick(view->deleteButton(), Qt::LeftButton);
    QTRY_COMPARE(listing->model()->rowCount(), 3);
    QVERIFY(!QFileInfo::exists(m_downloads + QStringLiteral("/Music/notes.txt")));
    QVERIFY(QFileInfo::exists(m_downloads + QStringLiteral("/Music/keep.txt")));
}

void TestPicker::openInWithoutApplicationsSaysSo() {
    PSDirectoryPickerController* picker = openPicker(m_downloads + QStringLiteral("/Music"));
    tapRow(topListing(picker), QStringLiteral("keep.txt"));
    auto* sheet = qobject_cast<ActivityViewController*>(picker->presentedViewController());
    QVERIFY(sheet);
    QTest::mouseClick(sheet->buttonForActivityType(QStringLiteral("OpenInActivity")),
                      Qt::LeftButton);
    AlertController* alert = nullptr;
    QTRY_VERIFY((alert = m_host->findChild<AlertController*>()) != nullptr);
    QCOMPARE(alert->title(), QStringLiteral("No suitable Apps installed"));
    QVERIFY(alert->message().startsWith(QLatin1String("Your ")));
    QCOMPARE(alert->buttonTitleAtIndex(0), QStringLiteral("OK"));
    QVERIFY(!topListing(picker)->runningActivity()->isFinished());
}

void TestPicker::cancelDismissesAndTellsTheDelegate_data() {
    QTest::addColumn<bool>("withDelegate");
    QTest::newRow("delegate answers") << true;
    QTest::newRow("no delegate") << false;
}

void TestPicker::cancelDismissesAndTellsTheDelegate() {
    QFETCH(bool, withDelegate);
    CancelRecorder recorder;
    QPointer<PSDirectoryPickerController> picker = openPicker(m_downloads);
    if (withDelegate)
        picker->setDelegate(&recorder);
    auto* cancel =
        qobject_cast<QAbstractButton*>(topListing(picker)->navigationItem()->rightBarButton());
    QVERIFY(cancel);
    QTRY_VERIFY(cancel->isVisible());
    QTest::mouseClick(cancel, Qt::LeftButton);
    QTRY_COMPARE(m_host->presentedViewController(), nullptr);
    QTRY_COMPARE(recorder.cancelled.size(), withDelegate ? 1 : 0);
    QTRY_VERIFY(picker.isNull());
}

QTEST_MAIN(TestPicker)
#include "tst_picker.moc"

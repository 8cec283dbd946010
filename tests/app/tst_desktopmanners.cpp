#include "TestSupport.h"
#include "app/ImportNotice.h"
#include "app/ScreensShown.h"
#include "app/ui/TolvaneApplication.h"
#include "app/ui/ViewController.h"
#include "browser/DirectoryListModel.h"
#include "browser/ui/ActivityViewController.h"
#include "browser/ui/PSDirectoryListViewController.h"
#include "browser/ui/PSDirectoryPickerController.h"
#include "browser/ui/PickerListView.h"
#include "import/ui/ImportTumbnailCell.h"
#include "import/ui/ImportViewController.h"
#include "import/ui/PlayerWindow.h"
#include "overlay/MBProgressHUD.h"
#include "platform/DesktopNotifier.h"
#include "platform/Device.h"
#include "platform/Paths.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BundleImages.h"
#include "platform/ui/FocusRing.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/Mnemonics.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "platform/ui/StatusToast.h"
#include "platform/ui/WindowKeys.h"
#include "search/ui/DetailView.h"
#include "search/ui/GoogleImagesCollectionVC.h"
#include "search/ui/SearchBar.h"

#include <QAbstractButton>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>
#include <QUrl>

#include <algorithm>
#include <cmath>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// --- a notification service and a file manager of the test's own ------------------------

// What the desktop's notification service is told, as it would show it.
struct ReceivedNotice {
    QString application;
    QString summary;
    QString body;
    QStringList actions;
    QSize imageSize;
    qint64 at = 0;
};

class NotificationServer : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    enum class Mode { Answer, Refuse, Silent };
    Mode mode = Mode::Answer;
    QList<ReceivedNotice> received;
    QElapsedTimer clock;

public Q_SLOTS:
    uint Notify(const QString& application, uint, const QString&, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int) {
        ReceivedNotice notice{application, summary, body, actions, {}, clock.elapsed()};
        if (hints.contains(QStringLiteral("image-data"))) {
            const QDBusArgument image =
                hints.value(QStringLiteral("image-data")).value<QDBusArgument>();
            int width = 0, height = 0, stride = 0, bits = 0, channels = 0;
            bool alpha = false;
            QByteArray pixels;
            image.beginStructure();
            image >> width >> height >> stride >> alpha >> bits >> channels >> pixels;
            image.endStructure();
            if (pixels.size() == qsizetype(stride) * height && channels == 4 && bits == 8)
                notice.imageSize = QSize(width, height);
        }
        received.append(notice);
        if (mode == Mode::Refuse) {
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("notices are off"));
            return 0;
        }
        if (mode == Mode::Silent) {
            setDelayedReply(true);
            return 0;
        }
        return uint(received.size());
    }
};

class FileManagerServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    QStringList shown;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString&) { shown += uris; }
};

// --- contrast, measured from what is on the screen ----------------------------------------

double luminance(QRgb pixel) {
    const auto channel = [](int value) {
        const double c = value / 255.0;
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * channel(qRed(pixel)) + 0.7152 * channel(qGreen(pixel)) +
           0.0722 * channel(qBlue(pixel));
}

// The contrast of a text over its ground in a grabbed region: the ground is the region's
// most usual brightness (a text covers a small part of its box), the text the pixel farthest
// from it.
double textContrast(const QImage& region) {
    QList<double> levels;
    const QImage image = region.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            levels.append(luminance(image.pixel(x, y)));
    }
    if (levels.isEmpty())
        return 0;
    std::sort(levels.begin(), levels.end());
    const double ground = levels.at(levels.size() / 2);
    const double darkest = levels.first();
    const double lightest = levels.last();
    const auto ratio = [](double a, double b) {
        return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
    };
    return std::max(ratio(ground, darkest), ratio(ground, lightest));
}

QImage grabOf(QWidget* widget) {
    QWidget* window = widget->window();
    return window->grab(QRect(widget->mapTo(window, QPoint(0, 0)), widget->size())).toImage();
}

// --- the application ---------------------------------------------------------------------

TolvaneApplication* app() {
    return TolvaneApplication::instance();
}

AlertController* shownAlert() {
    return qobject_cast<AlertController*>(WindowKeys::frontOverlay(app()->window()));
}

void key(int keyCode, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    // A window's keys reach it while it is the active one.
    QApplication::setActiveWindow(app()->window());
    QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : app()->window();
    QTest::keyClick(target, Qt::Key(keyCode), modifiers);
}

void drop(QWidget* on, const QList<QUrl>& urls, const QImage& image = QImage()) {
    QMimeData carried;
    if (!urls.isEmpty())
        carried.setUrls(urls);
    if (!image.isNull())
        carried.setImageData(image);
    const QPointF at = QRectF(on->rect()).center();
    QDragEnterEvent enter(at.toPoint(), Qt::CopyAction, &carried, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(on, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent dropped(at, Qt::CopyAction, &carried, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(on, &dropped);
}

void closeEverything() {
    while (AlertController* alert = shownAlert())
        alert->dismissWithClickedButtonIndex(qMax(0, alert->cancelButtonIndex()));
    // An editor goes by its own Cancel, as the application expects.
    if (ImportViewController* editor = shownEditor()) {
        QPointer<ImportViewController> cancelled(editor);
        editor->cancelButton()->click();
        QTRY_VERIFY(!cancelled);
    }
    if (presentedOverMain())
        app()->viewController()->navigationController()->dismissViewControllerAnimated(false);
    QTRY_VERIFY(!presentedOverMain());
}

} // namespace

// The application on a desktop, driven as a person at a desk drives it: keys, drops, the
// Trash, a folder that changes while it is shown, screens that can be read, and the word on
// the desktop when an import is done. The desktop's session bus is one of the test's own,
// with a notification service and a file manager the test answers for.
class TestDesktopManners : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();
    void mnemonics_data();
    void mnemonics();
    void bundleImagesAtDesktopScales_data();
    void bundleImagesAtDesktopScales();
    void listingByKeyboard();
    void deleteKeyMovesToTheTrashAfterAsking();
    void theListingFollowsTheFolder();
    void sheetMnemonicsAndEscape();
    void playerCloseIsReadableAndEscapeCloses();
    void searchScreenCancelIsReadableAndKeysWork();
    void focusIsAlwaysSeen();
    void droppedFilesOpenOneAfterAnother();
    void droppedFolderAndAddresses();
    void anImageDroppedOnTheArtwork();
    void aRowDraggedOutCarriesItsFile();
    void ctrlOOpensAChooser();
    void importIsNotifiedAndShownInFolder();
    void noticesThatFailOrNeverAnswer();
    void windowRemembersItsPlace();
    void ctrlQQuits();

private:
    void openListing();
    PSDirectoryListViewController* shownListing() const;

    QTemporaryDir m_home;
    QString m_downloads;
    QProcess m_bus;
    NotificationServer m_notices;
    FileManagerServer m_fileManager;
    std::unique_ptr<QDBusConnection> m_serverConnection;
};

void TestDesktopManners::initTestCase() {
    QVERIFY(m_home.isValid());
    qputenv("HOME", QFile::encodeName(m_home.path()));
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        qunsetenv(variable);
    m_downloads = m_home.filePath(s("Downloads"));
    // Searches go to a port where nothing listens.
    qputenv("TOLVANE_SEARCH_URL", "http://127.0.0.1:9/search");
    for (const char* service : {"TOLVANE_ITUNES_URL", "TOLVANE_DEEZER_URL",
                                "TOLVANE_MUSICBRAINZ_URL", "TOLVANE_COVERART_URL"})
        qputenv(service, "http://127.0.0.1:9");
    QVERIFY(QDir().mkpath(m_downloads));
    Paths::useDesktopLayout();

    // A private session bus, and the two services on it.
    m_bus.start(s("dbus-daemon"), {s("--session"), s("--print-address"), s("--nofork")});
    if (!m_bus.waitForStarted(5000))
        QSKIP("dbus-daemon is not installed (scripts/install-deps.sh installs it)");
    QVERIFY(m_bus.waitForReadyRead(5000));
    const QByteArray address = m_bus.readLine().trimmed();
    QVERIFY(!address.isEmpty());
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);
    m_serverConnection = std::make_unique<QDBusConnection>(
        QDBusConnection::connectToBus(QString::fromUtf8(address), s("services")));
    QVERIFY(m_serverConnection->isConnected());
    QVERIFY(m_serverConnection->registerObject(s("/org/freedesktop/Notifications"), &m_notices,
                                               QDBusConnection::ExportAllSlots));
    QVERIFY(m_serverConnection->registerService(s("org.freedesktop.Notifications")));
    QVERIFY(m_serverConnection->registerObject(s("/org/freedesktop/FileManager1"), &m_fileManager,
                                               QDBusConnection::ExportAllSlots));
    QVERIFY(m_serverConnection->registerService(s("org.freedesktop.FileManager1")));
    m_notices.clock.start();

    app()->setLaunchPauseEnabled(false);
    QVERIFY(app()->application(app(), QVariantMap()));
    QVERIFY(QTest::qWaitForWindowExposed(app()->window()));
    app()->window()->activateWindow();
}

void TestDesktopManners::cleanupTestCase() {
    if (m_serverConnection)
        QDBusConnection::disconnectFromBus(s("services"));
    m_bus.kill();
    m_bus.waitForFinished();
}

void TestDesktopManners::cleanup() {
    closeEverything();
}

void TestDesktopManners::mnemonics_data() {
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<QStringList>("marked");
    QTest::newRow("first letters")
        << QStringList{s("Play"), s("Preview"), s("Delete"), s("Cancel")}
        << QStringList{s("&Play"), s("P&review"), s("&Delete"), s("&Cancel")};
    QTest::newRow("word starts before other letters")
        << QStringList{s("Import as Song"), s("Import as Movie"), s("Open In…")}
        << QStringList{s("&Import as Song"), s("Import &as Movie"), s("&Open In…")};
    QTest::newRow("case does not make a letter free")
        << QStringList{s("save"), s("Save"), s("SAVE")}
        << QStringList{s("&save"), s("S&ave"), s("SA&VE")};
    QTest::newRow("an ampersand stays one")
        << QStringList{s("Rock & Roll"), s("Rap")} << QStringList{s("&Rock && Roll"), s("R&ap")};
    QTest::newRow("no letter left")
        << QStringList{s("a"), s("A"), s("!")} << QStringList{s("&a"), s("A"), s("!")};
}

void TestDesktopManners::mnemonics() {
    QFETCH(QStringList, titles);
    QFETCH(QStringList, marked);
    const QStringList assigned = Mnemonics::assign(titles);
    QCOMPARE(assigned, marked);
    for (qsizetype n = 0; n < titles.size(); ++n)
        QCOMPARE(Mnemonics::stripped(assigned.at(n)), titles.at(n));
}

void TestDesktopManners::bundleImagesAtDesktopScales_data() {
    QTest::addColumn<qreal>("scale");
    QTest::addColumn<int>("density");
    QTest::newRow("1") << 1.0 << 1;
    QTest::newRow("1.25") << 1.25 << 2;
    QTest::newRow("1.5") << 1.5 << 2;
    QTest::newRow("2") << 2.0 << 2;
    QTest::newRow("3") << 3.0 << 3;
}

void TestDesktopManners::bundleImagesAtDesktopScales() {
    QFETCH(qreal, scale);
    QFETCH(int, density);
    const ScopedDevice device(Idiom::Phone, QSizeF(960, 720), scale);
    const QPixmap image = BundleImages::imageNamed(s("browser.png"));
    QVERIFY(!image.isNull());
    // Never fewer pixels than the screen shows: a fractional scale takes the next set up.
    QCOMPARE(int(image.devicePixelRatio()), density);
    const QPixmap single = [] {
        const ScopedDevice one(Idiom::Phone, QSizeF(960, 720), 1);
        return BundleImages::imageNamed(s("browser.png"));
    }();
    QCOMPARE(image.deviceIndependentSize(), single.deviceIndependentSize());
    QVERIFY(image.width() >= std::ceil(single.width() * scale));
}

void TestDesktopManners::openListing() {
    QTest::mouseClick(app()->viewController()->browseButton(), Qt::LeftButton);
    QTRY_VERIFY(shownListing());
    QTRY_VERIFY(shownListing()->tableView()->isVisible());
    shownListing()->tableView()->setFocus();
    QTRY_VERIFY(shownListing()->tableView()->hasFocus());
}

PSDirectoryListViewController* TestDesktopManners::shownListing() const {
    auto* picker = qobject_cast<PSDirectoryPickerController*>(presentedOverMain());
    return picker ? qobject_cast<PSDirectoryListViewController*>(picker->topViewController())
                  : nullptr;
}

void TestDesktopManners::listingByKeyboard() {
    for (const char* name : {"Song 10.mp3", "song 3.mp3", "Song 2.mp3"})
        QVERIFY(writeFile(m_downloads + QLatin1Char('/') + QLatin1String(name), "x"));
    QVERIFY(QDir(m_downloads).mkpath(s("Album")));
    QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), m_downloads + s("/Album/01.mp3")));
    openListing();
    PSDirectoryListViewController* listing = shownListing();
    QCOMPARE(listing->path(), m_downloads);
    QStringList names;
    for (int row = 0; row < listing->model()->rowCount(); ++row)
        names.append(listing->model()->entryAt(row).name());
    QCOMPARE(names, (QStringList{s("Album"), s("Song 2.mp3"), s("song 3.mp3"), s("Song 10.mp3")}));

    // The focus lands on the first row; Down and Up move it; Return opens the folder;
    // Backspace and Alt+Left go out again.
    QCOMPARE(listing->tableView()->currentIndex().row(), 0);
    key(Qt::Key_Down);
    QCOMPARE(listing->tableView()->currentIndex().row(), 1);
    key(Qt::Key_Up);
    QCOMPARE(listing->tableView()->currentIndex().row(), 0);
    key(Qt::Key_Return);
    QTRY_VERIFY(shownListing() && shownListing() != listing);
    QCOMPARE(shownListing()->path(), m_downloads + s("/Album"));
    key(Qt::Key_Backspace);
    QTRY_COMPARE(shownListing(), listing);
    listing->tableView()->setFocus();
    key(Qt::Key_Return);
    QTRY_VERIFY(shownListing() != listing);
    key(Qt::Key_Left, Qt::AltModifier);
    QTRY_COMPARE(shownListing(), listing);

    // F5 and Ctrl+R read the folder again.
    QSignalSpy rebuilt(listing, &PSDirectoryListViewController::fileListRebuilt);
    key(Qt::Key_F5);
    QCOMPARE(rebuilt.size(), 1);
    key(Qt::Key_R, Qt::ControlModifier);
    QCOMPARE(rebuilt.size(), 2);

    // A file's row opens its sheet; Escape closes the sheet, then the picker.
    listing->tableView()->setFocus();
    listing->tableView()->setCurrentIndex(listing->model()->index(1));
    key(Qt::Key_Return);
    QPointer<ActivityViewController> sheet;
    QTRY_VERIFY((sheet = qobject_cast<ActivityViewController*>(
                     listing->navigationController()->presentedViewController())));
    key(Qt::Key_Escape);
    QTRY_VERIFY(!sheet);
    QVERIFY(shownListing());
    key(Qt::Key_Escape);
    QTRY_VERIFY(!presentedOverMain());
}

void TestDesktopManners::deleteKeyMovesToTheTrashAfterAsking() {
    QVERIFY(writeFile(m_downloads + s("/Unwanted 100%.mp3"), "x"));
    openListing();
    PSDirectoryListViewController* listing = shownListing();
    const int row = listing->model()->rowOfPath(m_downloads + s("/Unwanted 100%.mp3"));
    QVERIFY(row >= 0);
    listing->tableView()->setCurrentIndex(listing->model()->index(row));

    // Asked first; Escape answers Cancel and nothing moves.
    key(Qt::Key_Delete);
    QTRY_VERIFY(shownAlert());
    QCOMPARE(shownAlert()->title(), s("Move “Unwanted 100%.mp3” to the Trash?"));
    key(Qt::Key_Escape);
    QTRY_VERIFY(!shownAlert());
    QVERIFY(QFileInfo::exists(m_downloads + s("/Unwanted 100%.mp3")));

    // Shift+Delete asks the same; "Move to Trash" moves it and says so.
    listing->tableView()->setFocus();
    key(Qt::Key_Delete, Qt::ShiftModifier);
    QTRY_VERIFY(shownAlert());
    QCOMPARE(shownAlert()->buttonTitleAtIndex(1), s("Move to Trash"));
    shownAlert()->dismissWithClickedButtonIndex(1);
    const QString trash = m_home.filePath(s(".local/share/Trash"));
    QTRY_VERIFY(StatusToast::toastOn(listing));
    QVERIFY(QFileInfo::exists(trash + s("/files/Unwanted 100%.mp3")));
    QVERIFY(!QFileInfo::exists(m_downloads + s("/Unwanted 100%.mp3")));
    // Where it came from, escaped as the Trash's readers take it.
    const QByteArray info = contents(trash + s("/info/Unwanted 100%.mp3.trashinfo"));
    QVERIFY2(info.contains("Path=" + QUrl::toPercentEncoding(m_downloads, "/") +
                           "/Unwanted%20100%25.mp3"),
             info.constData());
    QCOMPARE(StatusToast::toastOn(listing)->text(), s("Moved “Unwanted 100%.mp3” to the Trash"));
    QTRY_COMPARE(listing->model()->rowOfPath(m_downloads + s("/Unwanted 100%.mp3")), -1);
}

void TestDesktopManners::theListingFollowsTheFolder() {
    openListing();
    PSDirectoryListViewController* listing = shownListing();
    // The current row stays on its entry while files arrive before it.
    const int before = listing->model()->rowOfPath(m_downloads + s("/Song 10.mp3"));
    listing->tableView()->setCurrentIndex(listing->model()->index(before));
    QVERIFY(writeFile(m_downloads + s("/Aardvark.mp3"), "x"));
    QVERIFY(writeFile(m_downloads + s("/Download in progress.part"), "x"));
    QTRY_VERIFY(listing->model()->rowOfPath(m_downloads + s("/Aardvark.mp3")) >= 0);
    QCOMPARE(listing->tableView()->currentIndex().data(DirectoryListModel::PathRole).toString(),
             m_downloads + s("/Song 10.mp3"));
    // A finished download renamed into place shows under its name.
    QVERIFY(QFile::rename(m_downloads + s("/Download in progress.part"),
                          m_downloads + s("/Finished.mp3")));
    QTRY_VERIFY(listing->model()->rowOfPath(m_downloads + s("/Finished.mp3")) >= 0);
    QCOMPARE(listing->model()->rowOfPath(m_downloads + s("/Download in progress.part")), -1);
    // The order chosen from the bar is kept for the next listing.
    QVERIFY(listing->orderButton());
    QAction* byDate = nullptr;
    for (QAction* action : listing->orderButton()->menu()->actions()) {
        if (action->data() == s("dateAdded"))
            byDate = action;
    }
    QVERIFY(byDate);
    byDate->trigger();
    QCOMPARE(listing->model()->order(), ListingOrder::DateAdded);
    QCOMPARE(ListingOrder::current(), ListingOrder::DateAdded);
    QVERIFY(ListingOrder::setCurrent(ListingOrder::Name));
}

void TestDesktopManners::sheetMnemonicsAndEscape() {
    openListing();
    PSDirectoryListViewController* listing = shownListing();
    listing->presentActionSheetForPath(m_downloads + s("/Album/01.mp3"));
    QPointer<ActivityViewController> sheet;
    QTRY_VERIFY((sheet = qobject_cast<ActivityViewController*>(
                     listing->navigationController()->presentedViewController())));
    QSet<QChar> letters;
    QList<QAbstractButton*> buttons{sheet->cancelButton()};
    for (Activity* activity : sheet->activities())
        buttons.append(sheet->buttonForActivityType(activity->activityType()));
    for (QAbstractButton* button : buttons) {
        const QString text = button->text();
        const qsizetype mark = text.indexOf(QLatin1Char('&'));
        QVERIFY2(mark >= 0 && mark + 1 < text.size(), qPrintable(text));
        QVERIFY2(!letters.contains(text.at(mark + 1).toCaseFolded()), qPrintable(text));
        letters.insert(text.at(mark + 1).toCaseFolded());
    }
    // Alt and Cancel's letter cancels.
    const QString cancel = sheet->cancelButton()->text();
    const QChar letter = cancel.at(cancel.indexOf(QLatin1Char('&')) + 1).toUpper();
    QTest::keyClick(sheet, Qt::Key(letter.unicode()), Qt::AltModifier);
    QTRY_VERIFY(!sheet);
}

void TestDesktopManners::playerCloseIsReadableAndEscapeCloses() {
    auto* player = new PlayerWindow(m_downloads + s("/Album/01.mp3"));
    QPointer<PlayerWindow> shown(player);
    app()->viewController()->presentViewController(player, false);
    QTRY_VERIFY(player->closeButton()->isVisible());
    QTest::qWait(50);
    const double contrast = textContrast(grabOf(player->closeButton()));
    QVERIFY2(contrast >= 4.5, qPrintable(QString::number(contrast)));
    key(Qt::Key_Escape);
    QTRY_VERIFY(!shown || !shown->isVisible());
    QTRY_VERIFY(!presentedOverMain());
}

void TestDesktopManners::searchScreenCancelIsReadableAndKeysWork() {
    auto* search = new GoogleImagesCollectionVC(s("harbour"));
    QPointer<GoogleImagesCollectionVC> shown(search);
    app()->viewController()->presentViewController(new NavigationController(search), false);
    QTRY_VERIFY(search->navigationItem()->leftBarButton() &&
                search->navigationItem()->leftBarButton()->isVisible());
    // The search fails at once (nothing answers on the test's address); its alert goes with
    // Escape, and the screen is measured without the alert's dimming.
    QTRY_VERIFY(shownAlert());
    key(Qt::Key_Escape);
    QTRY_VERIFY(!shownAlert());
    QTest::qWait(50);
    const QImage cancel = grabOf(search->navigationItem()->leftBarButton());
    cancel.save(QDir::temp().filePath(s("tolvane-search-cancel.png")));
    const double contrast = textContrast(cancel);
    QVERIFY2(contrast >= 4.5, qPrintable(QString::number(contrast)));

    key(Qt::Key_F, Qt::ControlModifier);
    QTRY_VERIFY(search->searchBar()->textField()->hasFocus());
    key(Qt::Key_Escape);
    QTRY_VERIFY(search->searchBar()->geometry().bottom() <= 0);
    QTRY_VERIFY(!shownAlert());
    key(Qt::Key_Escape);
    QTRY_VERIFY(!shown);
}

void TestDesktopManners::focusIsAlwaysSeen() {
    auto* ring = app()->window()->findChild<FocusRing*>();
    QVERIFY(ring);
    ImageButton* browse = app()->viewController()->browseButton();
    browse->setFocusPolicy(Qt::StrongFocus);
    browse->setFocus(Qt::TabFocusReason);
    QTRY_COMPARE(ring->target(), static_cast<QWidget*>(browse));
    QVERIFY(ring->isVisible());
    const QRect onWindow(browse->mapTo(app()->window(), QPoint(0, 0)), browse->size());
    QVERIFY(ring->geometry().contains(onWindow));
    const QImage drawn = app()->window()->grab(ring->geometry()).toImage();
    bool ringSeen = false;
    for (int x = 0; x < drawn.width() && !ringSeen; ++x)
        ringSeen = drawn.pixelColor(x, drawn.height() / 2) == FocusRing::colour() ||
                   drawn.pixelColor(x, 2) == FocusRing::colour();
    QVERIFY(ringSeen);
}

void TestDesktopManners::droppedFilesOpenOneAfterAnother() {
    QStringList files;
    for (int n = 1; n <= 3; ++n) {
        files.append(m_downloads + s("/Dropped %1.mp3").arg(n));
        QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), files.last()));
    }
    QList<QUrl> urls;
    for (const QString& file : files)
        urls.append(QUrl::fromLocalFile(file));
    drop(app()->window(), urls);
    for (int n = 1; n <= 3; ++n) {
        QTRY_VERIFY(shownEditor());
        const QString path = shownEditor()->importDict().value(s("path")).toString();
        // Each is the application's own Inbox entry of the dropped file.
        QVERIFY2(path.contains(s("Dropped %1").arg(n)), qPrintable(QString::number(n) + path));
        QCOMPARE(app()->waitingDropped(), 3 - n);
        QPointer<ImportViewController> editor = shownEditor();
        key(Qt::Key_Escape);
        QTRY_VERIFY(!editor);
    }
    QTRY_VERIFY(!presentedOverMain());
    for (const QString& file : files)
        QVERIFY(QFileInfo::exists(file));

    // Five hundred wait their turn; none opens before the one shown goes.
    QList<QUrl> many;
    for (int n = 0; n < 500; ++n)
        many.append(QUrl::fromLocalFile(files.at(n % 3)));
    drop(app()->window(), many);
    QTRY_VERIFY(shownEditor());
    QCOMPARE(app()->waitingDropped(), 499);
    QPointer<ImportViewController> first = shownEditor();
    QTest::qWait(200);
    QCOMPARE(shownEditor(), first.data());
    app()->receiveDropped({});
    QCOMPARE(app()->waitingDropped(), 499);
    app()->cancelDropped();
    QCOMPARE(app()->waitingDropped(), 0);
}

void TestDesktopManners::droppedFolderAndAddresses() {
    drop(app()->window(), {QUrl::fromLocalFile(m_downloads + s("/Album"))});
    QTRY_VERIFY(shownListing());
    QCOMPARE(shownListing()->path(), m_downloads + s("/Album"));
    closeEverything();

    drop(app()->window(), {QUrl(s("https://example.invalid/song.mp3")),
                           QUrl::fromLocalFile(m_downloads + s("/gone.mp3"))});
    QTRY_VERIFY(shownAlert());
    QCOMPARE(shownAlert()->title(), s("Cannot Open"));
    QVERIFY(
        shownAlert()->message().contains(s("“https://example.invalid/song.mp3” is not a file")));
    QVERIFY(shownAlert()->message().contains(s("“gone.mp3” is not there any more")));
    QVERIFY(!shownEditor());
}

void TestDesktopManners::anImageDroppedOnTheArtwork() {
    app()->receive({QUrl::fromLocalFile(m_downloads + s("/Song 2.mp3")).toString()});
    QTRY_VERIFY(shownEditor());
    ImportViewController* editor = shownEditor();
    const QString cover = m_home.filePath(s("cover.png"));
    QVERIFY(writePng(cover, QSize(300, 300), QColor(200, 30, 30)));
    const auto artworkSize = [editor] {
        return QImage::fromData(editor->importDict()
                                    .value(s("metadata"))
                                    .toMap()
                                    .value(s("imageData"))
                                    .toByteArray())
            .size();
    };
    drop(editor->thumbnailCell(), {QUrl::fromLocalFile(cover)});
    QTRY_COMPARE(artworkSize(), QSize(300, 300));

    // Pixels carried by another application do as well; a file that is not an image is told.
    drop(editor->thumbnailCell(), {}, QImage(QSize(64, 32), QImage::Format_RGB32));
    QTRY_COMPARE(
        QImage::fromData(
            editor->importDict().value(s("metadata")).toMap().value(s("imageData")).toByteArray())
            .size(),
        QSize(64, 32));
    drop(editor->thumbnailCell(), {QUrl::fromLocalFile(m_downloads + s("/Song 10.mp3"))});
    QTRY_VERIFY(shownAlert());
    QCOMPARE(shownAlert()->title(), s("Not an Image"));
}

void TestDesktopManners::aRowDraggedOutCarriesItsFile() {
    openListing();
    PSDirectoryListViewController* listing = shownListing();
    const int row = listing->model()->rowOfPath(m_downloads + s("/Song 2.mp3"));
    const std::unique_ptr<QMimeData> carried = listing->tableView()->mimeDataForRow(row);
    QVERIFY(carried);
    QCOMPARE(carried->urls(), QList<QUrl>{QUrl::fromLocalFile(m_downloads + s("/Song 2.mp3"))});
    QVERIFY(!listing->tableView()->mimeDataForRow(10'000));
}

void TestDesktopManners::ctrlOOpensAChooser() {
    key(Qt::Key_O, Qt::ControlModifier);
    QPointer<QFileDialog> chooser;
    QTRY_VERIFY((chooser = app()->window()->findChild<QFileDialog*>(s("openChooser"))));
    QTRY_VERIFY(chooser->isVisible());
    chooser->setOption(QFileDialog::DontUseNativeDialog);
    chooser->selectFile(m_downloads + s("/Song 2.mp3"));
    QMetaObject::invokeMethod(chooser, "accept");
    QTRY_VERIFY(shownEditor());
    const QString opened = shownEditor()->importDict().value(s("path")).toString();
    QVERIFY2(QFileInfo(opened).fileName().startsWith(s("Song 2")), qPrintable(opened));
}

void TestDesktopManners::importIsNotifiedAndShownInFolder() {
    m_notices.received.clear();
    m_notices.mode = NotificationServer::Mode::Answer;
    const QString song = m_downloads + s("/Harbour Song.mp3");
    QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), song));
    app()->receive({QUrl::fromLocalFile(song).toString()});
    QTRY_VERIFY(shownEditor());
    ImportViewController* editor = shownEditor();
    qint64 finishedAt = -1;
    const QMetaObject::Connection timing =
        connect(app()->viewController(), &ViewController::importFinished, this,
                [&] { finishedAt = m_notices.clock.elapsed(); });
    // The overlay over a white editor: its white text stays readable.
    editor->importButton()->click();
    MBProgressHUD* overlay = nullptr;
    QTRY_VERIFY((overlay = editor->window()->findChild<MBProgressHUD*>()));
    QTRY_VERIFY(overlay->isVisible());
    QTest::qWait(MBProgressHUD::fadeDurationMs + 50);
    QLabel* label = nullptr;
    for (QLabel* candidate : overlay->findChildren<QLabel*>()) {
        if (candidate->text() == s("Media Import Started"))
            label = candidate;
    }
    QVERIFY(label);
    const double contrast = textContrast(grabOf(label));
    QVERIFY2(contrast >= 4.5, qPrintable(QString::number(contrast)));

    QTRY_COMPARE_WITH_TIMEOUT(m_notices.received.size(), 1, 15000);
    const ReceivedNotice notice = m_notices.received.constFirst();
    // The notice leaves as the import ends (well under 100 ms on a quiet machine; the bound
    // here leaves room for a loaded one under the sanitizers).
    QVERIFY(finishedAt >= 0);
    qInfo("notice %lld ms after the import ended", notice.at - finishedAt);
    QVERIFY(notice.at - finishedAt < 1000);
    disconnect(timing);
    QVERIFY2(notice.summary.startsWith(s("Imported “")) && notice.summary.endsWith(s("” to Music")),
             qPrintable(notice.summary));
    QVERIFY(notice.body.startsWith(m_home.filePath(s("Media/Tolvane/Music/"))));
    QVERIFY(QFileInfo::exists(notice.body));
    QCOMPARE(notice.application, s("Tolvane"));
    QCOMPARE(notice.actions, (QStringList{s("show-in-folder"), s("Show in Folder")}));

    // "Show in Folder" asks the file manager to show the item itself.
    QDBusMessage invoked =
        QDBusMessage::createSignal(s("/org/freedesktop/Notifications"),
                                   s("org.freedesktop.Notifications"), s("ActionInvoked"));
    invoked << uint(1) << s("show-in-folder");
    QVERIFY(m_serverConnection->send(invoked));
    QTRY_COMPARE(m_fileManager.shown,
                 QStringList{QUrl::fromLocalFile(notice.body).toString(QUrl::FullyEncoded)});
}

void TestDesktopManners::noticesThatFailOrNeverAnswer() {
    // The notice of a failed import, composed.
    const DesktopNotifier::Notice failed = ImportNotice::compose(
        {{s("path"), s("/x/Song.mp3")}, {s("metadata"), QVariantMap{{s("title"), s("  ")}}}},
        Failure(s("the disk is full"), s("/lib")), s("/lib"));
    QCOMPARE(failed.summary, s("Import Failed"));
    QVERIFY(failed.body.contains(s("“Song”")) && failed.body.contains(s("the disk is full")));
    QVERIFY(failed.actions.isEmpty());
    // An artwork that is no image is left out; a large one is sent small.
    const DesktopNotifier::Notice done = ImportNotice::compose(
        {{s("metadata"), QVariantMap{{s("title"), s("Big")},
                                     {s("imageData"), pngBytes(QSize(2000, 1000), Qt::red)}}}},
        LibraryItem{s("/lib/TV Shows/Show/Season 01/x.m4v"), 1, true}, s("/lib"));
    QCOMPARE(done.summary, s("Imported “Big” to TV Shows"));
    m_notices.received.clear();
    DesktopNotifier notifier;
    QSignalSpy delivered(&notifier, &DesktopNotifier::delivered);
    QSignalSpy refused(&notifier, &DesktopNotifier::failed);
    notifier.notify(done);
    QTRY_COMPARE(delivered.size(), 1);
    QCOMPARE(m_notices.received.constFirst().imageSize, QSize(256, 128));

    // A service that answers with an error: said, nothing else.
    m_notices.mode = NotificationServer::Mode::Refuse;
    notifier.notify(done);
    QTRY_COMPARE(refused.size(), 1);
    QVERIFY(refused.constFirst().constFirst().toString().contains(s("notices are off")));

    // A service that never answers holds nothing up.
    m_notices.mode = NotificationServer::Mode::Silent;
    QElapsedTimer clock;
    clock.start();
    notifier.notify(done);
    QVERIFY2(clock.elapsed() < 50, qPrintable(QString::number(clock.elapsed())));
    QTRY_COMPARE(m_notices.received.size(), 3);
    m_notices.mode = NotificationServer::Mode::Answer;

    // No service at all.
    QVERIFY(m_serverConnection->unregisterService(s("org.freedesktop.Notifications")));
    notifier.notify(done);
    QTRY_COMPARE(refused.size(), 2);
    QVERIFY(m_serverConnection->registerService(s("org.freedesktop.Notifications")));
}

void TestDesktopManners::windowRemembersItsPlace() {
    MainWindow* window = app()->window();
    window->resize(700, 500);
    window->move(40, 30);
    window->savePlacement();
    QVERIFY(QFileInfo::exists(MainWindow::placementFile()));
    MainWindow another;
    QVERIFY(another.restorePlacement());
    QCOMPARE(another.size(), QSize(700, 500));
}

void TestDesktopManners::ctrlQQuits() {
    QFile::remove(MainWindow::placementFile());
    auto* keys = app()->window()->findChild<WindowKeys*>();
    QVERIFY(keys);
    QSignalSpy quit(keys, &WindowKeys::quitRequested);
    key(Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(quit.size(), 1);
    QVERIFY(QFileInfo::exists(MainWindow::placementFile()));
}

int main(int argc, char** argv) {
    TolvaneApplication application(argc, argv);
    TestDesktopManners test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_desktopmanners.moc"

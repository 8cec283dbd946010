#include "TestSupport.h"
#include "app/ScreensShown.h"
#include "app/ui/TolvaneApplication.h"
#include "app/ui/ViewController.h"
#include "browser/ui/PSDirectoryListViewController.h"
#include "browser/ui/PSDirectoryPickerController.h"
#include "import/library/MediaLibrary.h"
#include "import/ui/ImportViewController.h"
#include "platform/Paths.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"

#include <QAbstractButton>
#include <QLabel>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// Every text the window shows: labels, buttons and the title.
QStringList shownTexts(QWidget* window) {
    QStringList texts{window->windowTitle()};
    for (const QLabel* label : window->findChildren<QLabel*>()) {
        if (label->isVisible())
            texts.append(label->text());
    }
    for (const QAbstractButton* button : window->findChildren<QAbstractButton*>()) {
        if (button->isVisible())
            texts.append(button->text());
    }
    return texts;
}

} // namespace

// A first run on a desktop: no preferences, no download folder, no library, and the desktop's
// own folders (a download folder named in user-dirs.dirs with a space and a letter beyond
// ASCII). Browse opens the download folder, made for it; a file in it handed over with
// "Open With" imports into ~/Media/Tolvane; the device's folders are named nowhere.
class TestDesktop : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void firstRun();

private:
    QTemporaryDir m_home;
    QString m_downloads;
};

void TestDesktop::initTestCase() {
    QVERIFY(m_home.isValid());
    qputenv("HOME", QFile::encodeName(m_home.path()));
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"})
        qunsetenv(variable);
    QVERIFY(writeFile(m_home.filePath(s(".config/user-dirs.dirs")),
                      "XDG_DOWNLOAD_DIR=\"$HOME/Downloads \xc3\xa9t\xc3\xa9\"\n"));
    m_downloads = m_home.filePath(s("Downloads été"));
    Paths::useDesktopLayout();
    QVERIFY(Paths::isDesktopLayout());
    QVERIFY(!QFileInfo::exists(m_downloads));

    TolvaneApplication* app = TolvaneApplication::instance();
    app->setLaunchPauseEnabled(false);
    QVERIFY(app->application(app, QVariantMap()));
    QVERIFY(QTest::qWaitForWindowExposed(app->window()));
    app->window()->resize(390, 760);
}

void TestDesktop::firstRun() {
    MainWindow* window = TolvaneApplication::instance()->window();
    ViewController* main = TolvaneApplication::instance()->viewController();

    click(main->browseButton());
    QPointer<PSDirectoryPickerController> picker;
    QTRY_VERIFY((picker = qobject_cast<PSDirectoryPickerController*>(presentedOverMain())));
    auto* listing = qobject_cast<PSDirectoryListViewController*>(picker->topViewController());
    QVERIFY(listing);
    QCOMPARE(listing->path(), m_downloads);
    QVERIFY(QFileInfo(m_downloads).isDir());
    QTest::qWait(300);
    for (const QString& text : shownTexts(window)) {
        QVERIFY2(!text.contains(s("/var/mobile")) && !text.contains(s("/Library")),
                 qPrintable(text));
    }
    picker->cancelButtonTapped();
    QTRY_VERIFY(!presentedOverMain());

    // "Open With" of a finished download.
    const QString song = m_downloads + s("/Harbour Song.mp3");
    QVERIFY(QFile::copy(s(TOLVANE_MEDIA_FIXTURES "/id3v24.mp3"), song));
    TolvaneApplication::instance()->receive({QUrl::fromLocalFile(song).toString()});
    QTRY_VERIFY(shownEditor());
    QPointer<ImportViewController> editor = shownEditor();
    click(editor->navigationItem()->rightBarButton());
    QTRY_VERIFY_WITH_TIMEOUT(window->windowState() & Qt::WindowMinimized, 15000);
    QTRY_VERIFY(editor.isNull());

    const QList<QVariantMap> items =
        MediaLibrary(MediaLibrary::defaultFolder()).items().valueOr({});
    QCOMPARE(items.size(), 1);
    QCOMPARE(MediaLibrary::defaultFolder(), m_home.filePath(s("Media/Tolvane")));
    QVERIFY(QFileInfo::exists(m_home.filePath(s("Media/Tolvane/Library.sqlite"))));
    QVERIFY(QFileInfo::exists(song));
    QVERIFY(!QFileInfo::exists(m_home.filePath(s("var"))));
}

int main(int argc, char** argv) {
    TolvaneApplication app(argc, argv);
    TestDesktop test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_desktop.moc"

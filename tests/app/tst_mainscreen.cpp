#include "TestSupport.h"
#include "app/SingleInstance.h"
#include "app/ui/HintLabel.h"
#include "app/ui/ViewController.h"
#include "import/ui/ImportViewController.h"
#include "platform/Device.h"
#include "platform/Paths.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationController.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QPointer>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QToolButton>

#include <atomic>
#include <memory>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// The window as start-up makes it: the main screen at the root of a navigation controller.
struct MainScreen {
    std::unique_ptr<MainWindow> window;
    QPointer<ViewController> main;
    QPointer<NavigationController> navigation;
};

MainScreen openMainScreen(QSize size) {
    MainScreen screen;
    screen.window = std::make_unique<MainWindow>();
    screen.main = new ViewController;
    screen.navigation = new NavigationController(screen.main);
    screen.window->setRootViewController(screen.navigation);
    screen.window->resize(size);
    screen.window->show();
    return screen;
}

bool isCentred(const QWidget* child, const QWidget* in) {
    const QRectF frame = child->geometry();
    return qAbs(frame.center().x() - in->width() / 2.0) <= 1 &&
           qAbs(frame.center().y() - in->height() / 2.0) <= 1;
}

// The hint sits centred, its bottom edge the margin above the view's.
bool hintIsPlaced(const ViewController* main, int margin) {
    const QRect frame = main->label()->geometry();
    return qAbs(frame.x() + frame.width() / 2.0 - main->width() / 2.0) <= 1 &&
           qAbs(frame.y() + frame.height() - (main->height() - margin)) <= 1;
}

QString uniqueServerName() {
    static int counter = 0;
    return s("tolvane-test-%1-%2").arg(QCoreApplication::applicationPid()).arg(++counter);
}

} // namespace

class TestMainScreen : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void mainScreen_data();
    void mainScreen();
    void hintFadesIn();
    void presentation_data();
    void presentation();
    void presentingTwiceIsRefused();
    void dismissCompletesAfterTheScreenIsGone_data();
    void dismissCompletesAfterTheScreenIsGone();
    void navigationPushAndPop();
    void importEditorCancel_data();
    void importEditorCancel();

    void singleInstanceDelivers_data();
    void singleInstanceDelivers();
    void singleInstanceWithoutServer();

private:
    QTemporaryDir m_device;
};

void TestMainScreen::initTestCase() {
    // Nothing here may touch the real device folders.
    QVERIFY(m_device.isValid());
    Paths::setDeviceRoot(m_device.path());
}

void TestMainScreen::mainScreen_data() {
    QTest::addColumn<int>("idiom");
    QTest::addColumn<QSize>("window");
    QTest::addColumn<QSize>("rotated");
    QTest::addColumn<int>("fontSize");
    QTest::addColumn<int>("margin");
    QTest::addColumn<int>("boxWidth");

    const auto row = [](const char* tag, Idiom idiom, QSize window, int fontSize, int margin,
                        int boxWidth) {
        QTest::newRow(tag) << int(idiom) << window << window.transposed() << fontSize << margin
                           << boxWidth;
    };
    row("phone 320", Idiom::Phone, QSize(320, 612), 14, 10, 290);
    row("phone 414", Idiom::Phone, QSize(414, 900), 14, 10, 384);
    row("phone, odd size", Idiom::Phone, QSize(401, 703), 14, 10, 371);
    row("idiom unknown is a phone", static_cast<Idiom>(-1), QSize(768, 1068), 14, 10, 738);
    row("pad portrait", Idiom::Pad, QSize(768, 1068), 20, 20, 650);
    row("pad wide", Idiom::Pad, QSize(1366, 1068), 20, 20, 650);
}

void TestMainScreen::mainScreen() {
    QFETCH(int, idiom);
    QFETCH(QSize, window);
    QFETCH(QSize, rotated);
    QFETCH(int, fontSize);
    QFETCH(int, margin);
    QFETCH(int, boxWidth);

    ScopedDevice device(Idiom(idiom), QSizeF(window), 2);
    MainScreen screen;
    screen.window = std::make_unique<MainWindow>();
    ViewController* main = new ViewController;
    screen.window->setRootViewController(new NavigationController(main));
    main->setDirectoryPickerIsOn(true);
    QVERIFY(!main->isViewLoaded());
    screen.window->resize(window);
    screen.window->show();
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));

    // Built when first shown.
    QVERIFY(!main->directoryPickerIsOn());
    QCOMPARE(main->title(), s("Browse"));
    QCOMPARE(main->navigationController()->navigationBar()->titleText(), s("Browse"));
    QCOMPARE(main->palette().color(QPalette::Window), QColor(238, 238, 238));
    QVERIFY(main->isObservingOrientation());

    const ImageButton* button = main->browseButton();
    QCOMPARE(button->size(), QSize(165, 165));
    QVERIFY(button->isVisible() && isCentred(button, main));
    const QLabel* caption = main->browseCaption();
    QCOMPARE(caption->parentWidget(), button);
    QCOMPARE(caption->geometry(), QRect(0, 110, 165, 25));
    QCOMPARE(caption->text(), s("Browse"));
    QCOMPARE(caption->font().pixelSize(), 22);
    QCOMPARE(caption->alignment(), Qt::AlignCenter);

    HintLabel* hint = main->label();
    QCOMPARE(hint->text(), s("You can now browse"));
    QCOMPARE(main->labelFont().pixelSize(), fontSize);
    QCOMPARE(hint->font().pixelSize(), fontSize);
    QVERIFY(hint->isVisible() && !hint->size().isEmpty());
    QVERIFY(hintIsPlaced(main, margin));

    // A text longer than the box wraps inside it and stays at the bottom.
    const int oneLine = hint->height();
    hint->setText(s("You can now browse the files that the browser saved, and import the songs "
                    "and videos among them into the library of the device")
                      .repeated(2));
    main->orientationChanged();
    QVERIFY2(hint->width() <= boxWidth, qPrintable(QString::number(hint->width())));
    QVERIFY(hint->height() > oneLine);
    QVERIFY(hintIsPlaced(main, margin));

    // Rotated: the button stays centred and the hint is placed anew.
    screen.window->resize(rotated);
    QTRY_COMPARE(main->size(), rotated - QSize(0, NavigationBar::barHeight));
    QVERIFY(isCentred(button, main));
    QTRY_VERIFY(hintIsPlaced(main, margin));
}

void TestMainScreen::hintFadesIn() {
    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    QElapsedTimer timer;
    timer.start();
    MainScreen screen = openMainScreen(QSize(390, 760));
    // Built while being shown: the hint starts transparent...
    HintLabel* label = screen.main->label();
    QVERIFY(label);
    QCOMPARE(label->alpha(), 0.0);
    // ...and is opaque after a 0.3 s pause and 0.5 s of fading.
    QTRY_COMPARE_WITH_TIMEOUT(label->alpha(), 1.0, 1500);
    QVERIFY2(timer.elapsed() >= 750, qPrintable(QString::number(timer.elapsed())));
}

void TestMainScreen::presentation_data() {
    QTest::addColumn<int>("idiom");
    QTest::addColumn<QSize>("window");
    QTest::addColumn<bool>("formSheet");
    QTest::addColumn<bool>("animated");
    QTest::addColumn<QRect>("frame");
    // Only a full-screen presentation makes the main screen disappear, ending its observer.
    QTest::addColumn<bool>("observingAfter");

    const auto row = [](const char* tag, Idiom idiom, QSize window, bool formSheet, bool animated,
                        QRect frame) {
        QTest::newRow(tag) << int(idiom) << window << formSheet << animated << frame << formSheet;
    };
    row("phone, full screen", Idiom::Phone, QSize(390, 760), false, true, QRect(0, 0, 390, 760));
    row("phone, form sheet", Idiom::Phone, QSize(390, 760), true, false, QRect(0, 0, 390, 760));
    row("pad, full screen", Idiom::Pad, QSize(1024, 768), false, false, QRect(0, 0, 1024, 768));
    row("pad, form sheet", Idiom::Pad, QSize(1024, 768), true, true, QRect(242, 74, 540, 620));
    row("pad, form sheet, small", Idiom::Pad, QSize(500, 600), true, false, QRect(0, 0, 500, 600));
}

void TestMainScreen::presentation() {
    QFETCH(int, idiom);
    QFETCH(QSize, window);
    QFETCH(bool, formSheet);
    QFETCH(bool, animated);
    QFETCH(QRect, frame);
    QFETCH(bool, observingAfter);

    ScopedDevice device(Idiom(idiom), QSizeF(window), 2);
    MainScreen screen = openMainScreen(window);
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));
    ViewController* main = screen.main;

    auto* presented = new Screen;
    if (formSheet)
        presented->setModalPresentationStyle(Screen::ModalPresentationStyle::FormSheet);
    bool shown = false;
    QVERIFY(main->presentViewController(presented, animated, [&shown] { shown = true; }));
    QTRY_VERIFY_WITH_TIMEOUT(shown, 2000);
    QVERIFY(presented->isVisible());
    QCOMPARE(QRect(presented->mapTo(screen.window.get(), QPoint(0, 0)), presented->size()), frame);
    QCOMPARE(main->isObservingOrientation(), observingAfter);

    bool gone = false;
    main->dismissViewControllerAnimated(false, [&gone] { gone = true; });
    QTRY_VERIFY(gone);
    QCOMPARE(main->isObservingOrientation(), observingAfter);

    // Rotated afterwards: the hint follows only while it is still observed.
    const QRect before = main->label()->geometry();
    screen.window->resize(window.transposed());
    QTRY_VERIFY(isCentred(main->browseButton(), main));
    QCoreApplication::processEvents();
    QCoreApplication::processEvents();
    QCOMPARE(main->label()->geometry() != before, observingAfter);
}

void TestMainScreen::presentingTwiceIsRefused() {
    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    MainScreen screen = openMainScreen(QSize(390, 760));
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));

    QPointer<Screen> first = new Screen;
    QPointer<Screen> second = new Screen;
    QVERIFY(screen.main->presentViewController(first, false));
    QVERIFY(!screen.main->presentViewController(second, false));
    QTRY_VERIFY(second.isNull());
    QVERIFY(first);

    // Presented from the navigation controller that holds the main screen.
    QCOMPARE(screen.navigation->presentedViewController(), first.data());
    QCOMPARE(first->presentingViewController(), screen.navigation.data());
    QVERIFY(first->isVisible());
    // A screen over the presented one stacks on it, not on the main screen.
    QPointer<Screen> third = new Screen;
    QVERIFY(first->presentViewController(third, false));
    QCOMPARE(first->presentedViewController(), third.data());
    QCOMPARE(third->presentingViewController(), first.data());
}

void TestMainScreen::dismissCompletesAfterTheScreenIsGone_data() {
    QTest::addColumn<bool>("animated");
    QTest::addColumn<bool>("bySelf");

    QTest::newRow("by the presenter") << false << false;
    QTest::newRow("by the presenter, animated") << true << false;
    QTest::newRow("by the presented screen") << false << true;
    QTest::newRow("by the presented screen, animated") << true << true;
}

void TestMainScreen::dismissCompletesAfterTheScreenIsGone() {
    QFETCH(bool, animated);
    QFETCH(bool, bySelf);

    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    MainScreen screen = openMainScreen(QSize(390, 760));
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));

    QPointer<Screen> presented = new Screen;
    bool shown = false;
    QVERIFY(screen.main->presentViewController(presented, animated, [&shown] { shown = true; }));
    QVERIFY(!shown);
    QTRY_VERIFY_WITH_TIMEOUT(shown, 2000);

    int runs = 0;
    bool visibleAtCompletion = true;
    Screen* stillPresented = presented;
    const auto completion = [&] {
        ++runs;
        visibleAtCompletion = presented && presented->isVisible();
        stillPresented = screen.navigation->presentedViewController();
    };
    if (bySelf)
        presented->dismissViewControllerAnimated(animated, completion);
    else
        screen.main->dismissViewControllerAnimated(animated, completion);
    QCOMPARE(runs, 0);
    QTRY_COMPARE_WITH_TIMEOUT(runs, 1, 2000);
    QVERIFY(!visibleAtCompletion);
    QCOMPARE(stillPresented, nullptr);
    QTRY_VERIFY(presented.isNull());

    // With nothing presented any more, a new presentation is accepted.
    QVERIFY(screen.main->presentViewController(new Screen, false));
    QTest::qWait(50);
    QCOMPARE(runs, 1);
}

void TestMainScreen::navigationPushAndPop() {
    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    MainScreen screen = openMainScreen(QSize(390, 760));
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));
    NavigationController* navigation = screen.navigation;
    NavigationBar* bar = navigation->navigationBar();

    QPointer<Screen> second = new Screen;
    second->setTitle(s("Second"));
    navigation->pushViewController(second, false);
    QCOMPARE(bar->titleText(), s("Second"));
    QVERIFY(bar->backButton()->isVisible());
    QVERIFY(bar->backButton()->text().contains(s("Browse")));
    QCOMPARE(navigation->topViewController(), second.data());
    QVERIFY(second->isVisible());
    QVERIFY(!screen.main->isVisible());
    // Covered by a pushed screen, the main screen has disappeared once.
    QVERIFY(!screen.main->isObservingOrientation());

    QPointer<Screen> third = new Screen;
    third->setTitle(s("Third"));
    navigation->pushViewController(third, false);
    QVERIFY(bar->backButton()->text().contains(s("Second")));
    QCOMPARE(navigation->viewControllers().size(), 3);

    // A title set while on top shows at once.
    third->setTitle(s("Renamed"));
    QCOMPARE(bar->titleText(), s("Renamed"));

    QTest::mouseClick(bar->backButton(), Qt::LeftButton);
    QCOMPARE(navigation->topViewController(), second.data());
    QCOMPARE(bar->titleText(), s("Second"));
    QTRY_VERIFY(third.isNull());

    QCOMPARE(navigation->popViewControllerAnimated(false), second.data());
    QCOMPARE(bar->titleText(), s("Browse"));
    QVERIFY(!bar->backButton()->isVisible());
    QVERIFY(screen.main->isVisible());
    QCOMPARE(navigation->popViewControllerAnimated(false), nullptr);
    QCOMPARE(navigation->viewControllers(), QList<Screen*>{screen.main.data()});
    QTRY_VERIFY(second.isNull());
}

void TestMainScreen::importEditorCancel_data() {
    QTest::addColumn<bool>("openIn");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<bool>("deleted");

    QTest::newRow("recorded download: kept") << false << Paths::inboxFolder() << false;
    QTest::newRow("handed over, the Inbox entry: deleted") << true << Paths::inboxFolder() << true;
    // Only the application's own entries go: a path past the Inbox is someone's file.
    QTest::newRow("handed over, outside the Inbox: kept")
        << true << Paths::defaultDestinationFolder() + s("/Inbox") << false;
}

void TestMainScreen::importEditorCancel() {
    QFETCH(bool, openIn);
    QFETCH(QString, folder);
    QFETCH(bool, deleted);

    ScopedDevice device(Idiom::Phone, QSizeF(390, 760), 2);
    MainScreen screen = openMainScreen(QSize(390, 760));
    QVERIFY(QTest::qWaitForWindowExposed(screen.window.get()));
    const QString file = folder + s("/clip.mp3");
    QVERIFY(writeFile(file, "not really audio"));

    if (openIn)
        screen.main->loadImportViewControllerWithDictionary({{s("path"), file}});
    else
        screen.main->loadImportViewControllerWithDictionary(
            {{s("filePath"), file}, {s("name"), s("clip.mp3")}}, s("song"));
    auto* navigation =
        qobject_cast<NavigationController*>(screen.navigation->presentedViewController());
    QVERIFY(navigation);
    auto* editor = qobject_cast<ImportViewController*>(navigation->topViewController());
    QVERIFY(editor);
    QCOMPARE(editor->delegate(), static_cast<ImportViewControllerDelegate*>(screen.main.data()));
    QTRY_VERIFY(editor->isVisible());

    QTest::mouseClick(editor->cancelButton(), Qt::LeftButton);
    // Nothing is deleted before the editor has left the screen.
    QVERIFY(QFile::exists(file));
    QTRY_VERIFY(!screen.navigation->presentedViewController());
    QTRY_COMPARE(QFile::exists(file), !deleted);
    if (!deleted) {
        QTest::qWait(100);
        QVERIFY(QFile::exists(file));
    }
}

// --- one running instance ------------------------------------------------------------------

void TestMainScreen::singleInstanceDelivers_data() {
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("textLength");

    QTest::newRow("one message") << 1 << 20;
    QTest::newRow("a flood of 1,000 messages") << 1000 << 40;
    QTest::newRow("one message of 1 MB") << 1 << 1024 * 1024;
}

void TestMainScreen::singleInstanceDelivers() {
    QFETCH(int, count);
    QFETCH(int, textLength);

    const QString name = uniqueServerName();
    SingleInstance running(name);
    QVERIFY(running.listen().ok());
    QSignalSpy received(&running, &SingleInstance::messageReceived);

    const auto message = [textLength](int index) {
        QString text = s("tolvane://open?path=/Ü %1/").arg(index);
        text += QString(qMax(0, textLength - int(text.size())), QLatin1Char('x'));
        return QStringList{text, s("file:///tmp/a%20b.mp3"), QString::number(index)};
    };

    // A later launch is another process: it sends while this one runs its event loop.
    std::atomic<int> sent{0};
    std::atomic<bool> stop{false};
    std::unique_ptr<QThread> launcher(QThread::create([&] {
        const SingleInstance later(name);
        for (int i = 0; i < count && !stop; ++i) {
            if (!later.sendToRunningInstance(message(i)))
                return;
            ++sent;
        }
    }));
    launcher->start();
    const auto joinLauncher = qScopeGuard([&] {
        stop = true;
        launcher->wait();
    });

    QTRY_COMPARE_WITH_TIMEOUT(received.count(), count, 15000);
    QCOMPARE(sent.load(), count);
    for (int i = 0; i < count; ++i)
        QCOMPARE(received.at(i).at(0).toStringList(), message(i));
}

void TestMainScreen::singleInstanceWithoutServer() {
    const SingleInstance nobody(uniqueServerName());
    QElapsedTimer timer;
    timer.start();
    const Status unanswered = nobody.sendToRunningInstance({s("tolvane://open?path=/a/b")});
    QVERIFY(!unanswered.ok());
    QVERIFY2(unanswered.failure().message().startsWith(s("no running instance answers")),
             qPrintable(unanswered.errorText()));
    QVERIFY(timer.elapsed() < 1000);

    // A second instance on the same name leaves the first one's socket alone and says why.
    SingleInstance first(nobody.serverName());
    QVERIFY(first.listen().ok());
    SingleInstance second(nobody.serverName());
    const Status refused = second.listen();
    QCOMPARE(refused.errorText(), nobody.serverName() + s(": another instance answers on it"));
    QVERIFY(second.sendToRunningInstance({s("tolvane://open?path=/a/b")}).ok());

    // One server per device folder.
    const QString one = SingleInstance::serverNameFor(s("/tmp/device one"));
    QCOMPARE(SingleInstance::serverNameFor(s("/tmp/device one")), one);
    QVERIFY(one != SingleInstance::serverNameFor(s("/tmp/device two")));
    QVERIFY(!one.contains(QLatin1Char('/')));
}

QTEST_MAIN(TestMainScreen)
#include "tst_mainscreen.moc"

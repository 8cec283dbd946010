#include "TestSupport.h"
#include "overlay/AnimatedImageView.h"
#include "overlay/HUDBox.h"
#include "overlay/MBProgressHUD.h"
#include "platform/Device.h"
#include "platform/Paths.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <atomic>
#include <memory>

using namespace tolvane;
using namespace tolvane::test;

namespace {

// Spinner frame n of the black set is coloured (200, 10n, 0), of the light set (50, 10n, 0),
// so that a loaded frame tells which file it came from.
QColor frameColour(bool isBlack, int n) {
    return QColor(isBlack ? 200 : 50, 10 * n, 0);
}

QString frameName(bool isBlack, int n) {
    return (isBlack ? QString() : s("_")) + QString::number(n) + s(".png");
}

// A window painted in two halves, whose colours a test may change.
class SplitWindow : public QWidget {
public:
    SplitWindow() { resize(300, 200); }
    void setColours(QColor left, QColor right) {
        m_left = left;
        m_right = right;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.fillRect(0, 0, width() / 2, height(), m_left);
        painter.fillRect(width() / 2, 0, width() - width() / 2, height(), m_right);
    }

private:
    QColor m_left = Qt::red;
    QColor m_right = Qt::blue;
};

// A phone screen with colourful content and some text, for the look check.
class SampleScreen : public QWidget {
public:
    SampleScreen(QWidget* parent, const QStringList& lines)
        : QWidget(parent)
        , m_lines(lines) {}

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        QLinearGradient gradient(0, 0, width(), height());
        gradient.setColorAt(0, QColor(255, 196, 64));
        gradient.setColorAt(0.4, QColor(240, 80, 120));
        gradient.setColorAt(0.7, QColor(80, 120, 240));
        gradient.setColorAt(1, QColor(40, 200, 160));
        painter.fillRect(rect(), gradient);
        painter.fillRect(0, 0, width(), 64, QColor(20, 20, 24, 220));
        painter.setPen(Qt::white);
        QFont font = painter.font();
        font.setPixelSize(18);
        font.setBold(true);
        painter.setFont(font);
        painter.drawText(QRect(0, 20, width(), 44), Qt::AlignCenter, s("Tolvane"));
        font.setPixelSize(15);
        font.setBold(false);
        painter.setFont(font);
        for (int i = 0; i < m_lines.size(); ++i) {
            const QRect row(16, 90 + i * 52, width() - 32, 44);
            painter.fillRect(row, QColor(255, 255, 255, 150));
            painter.setPen(QColor(30, 30, 30));
            painter.drawText(row.adjusted(12, 0, 0, 0), Qt::AlignVCenter, m_lines.at(i));
        }
    }

private:
    QStringList m_lines;
};

// Red and blue blurred into each other: both strong, well above green, which only the white
// tint (0.3 x 255) lifts. Grey or green beneath is no mix.
bool isMix(QColor colour) {
    return colour.red() > 120 && colour.blue() > 120 &&
           colour.green() < std::min(colour.red(), colour.blue()) - 60;
}

// One colour beneath, lifted by the white tint: the main channel well above the others, which
// are no longer zero.
bool isTinted(QColor colour, int main) {
    const int channels[] = {colour.red(), colour.green(), colour.blue()};
    for (int i = 0; i < 3; ++i) {
        if (i != main && (channels[i] < 40 || channels[i] > channels[main] - 80))
            return false;
    }
    return true;
}

} // namespace

class TestOverlay : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void spinnerFrames_data();
    void spinnerFrames();
    void hidesOneOverlayPerCall_data();
    void hidesOneOverlayPerCall();
    void hidesAllOverlays_data();
    void hidesAllOverlays();
    void minShowTimeDefersHide_data();
    void minShowTimeDefersHide();
    void showAnimatedRunsBlockOffMainThread_data();
    void showAnimatedRunsBlockOffMainThread();
    void blocksInput_data();
    void blocksInput();
    void blurredBackground_data();
    void blurredBackground();
    void blurredBackgroundTakenOncePerShowAndSize_data();
    void blurredBackgroundTakenOncePerShowAndSize();
    void rendersToPng();

private:
    std::unique_ptr<ScopedDevice> m_device;
};

void TestOverlay::initTestCase() {
    m_device = std::make_unique<ScopedDevice>(Idiom::Phone, QSizeF(375, 667), 1);
}

void TestOverlay::init() {
    // Hiding and showing the overlay while it paints must not upset the widget system.
    QTest::failOnWarning(QRegularExpression(s(".*")));
}

void TestOverlay::spinnerFrames_data() {
    QTest::addColumn<bool>("isBlack");
    QTest::addColumn<QList<int>>("present");

    QList<int> all;
    for (int n = 1; n <= 16; ++n)
        all.append(n);
    QList<int> holes = all;
    holes.removeAll(1);
    holes.removeAll(7);
    holes.removeAll(16);

    QTest::newRow("black, all frames") << true << all;
    QTest::newRow("light, all frames") << false << all;
    QTest::newRow("black, first, seventh and last missing") << true << holes;
    QTest::newRow("light, first, seventh and last missing") << false << holes;
    QTest::newRow("light, none") << false << QList<int>();
}

void TestOverlay::spinnerFrames() {
    QFETCH(bool, isBlack);
    QFETCH(QList<int>, present);

    // The set asked for has the frames of the row; the other set is complete.
    QTemporaryDir device;
    Paths::setDeviceRoot(device.path());
    for (int n = 1; n <= 16; ++n) {
        const QString folder = Paths::imagesFolder();
        QVERIFY(
            writePng(folder + s("/") + frameName(!isBlack, n), {37, 37}, frameColour(!isBlack, n)));
        if (present.contains(n))
            QVERIFY(writePng(folder + s("/") + frameName(isBlack, n), {37, 37},
                             frameColour(isBlack, n)));
    }

    QWidget view;
    view.resize(375, 667);
    view.show();
    MBProgressHUD* hud = MBProgressHUD::showHUDAddedTo(&view, false, isBlack);

    QCOMPARE(hud->parentWidget(), &view);
    QVERIFY(hud->isVisible());
    QCOMPARE(hud->geometry(), view.rect());
    QCOMPARE(hud->mode(), MBProgressHUDMode::CustomView);
    QCOMPARE(hud->color().alpha(), 0);
    QVERIFY(!hud->blurBackground());

    auto* spinner = qobject_cast<AnimatedImageView*>(hud->customView());
    QVERIFY(spinner);
    QVERIFY(spinner->isVisible());
    QCOMPARE(spinner->size(), QSize(50, 50));
    QCOMPARE(spinner->animationDuration(), 1.75);
    QCOMPARE(spinner->animationRepeatCount(), 0);
    QCOMPARE(spinner->isAnimating(), !present.isEmpty());
    QList<QColor> loaded;
    for (const QImage& frame : spinner->animationImages())
        loaded.append(frame.pixelColor(0, 0));
    QList<QColor> expected;
    for (int n : present)
        expected.append(frameColour(isBlack, n));
    QCOMPARE(loaded, expected);

    // With or without frames the box holds the 50-point view inside its margins, centred.
    auto* box = hud->findChild<HUDBox*>();
    QVERIFY(box && box->isVisible());
    QCOMPARE(box->geometry(), QRect(QPoint(0, 0), QSize(90, 90)).translated(142, 288));
}

void TestOverlay::hidesOneOverlayPerCall_data() {
    QTest::addColumn<bool>("animated");
    QTest::newRow("at once") << false;
    QTest::newRow("fading out") << true;
}

void TestOverlay::hidesOneOverlayPerCall() {
    QFETCH(bool, animated);

    QWidget view;
    view.resize(200, 200);
    view.show();
    QVERIFY(!MBProgressHUD::hideHUDForView(&view, animated));

    QPointer<MBProgressHUD> first = MBProgressHUD::showHUDAddedTo(&view, false, true);
    QPointer<MBProgressHUD> second = MBProgressHUD::showHUDAddedTo(&view, false, true);
    QCOMPARE(MBProgressHUD::HUDForView(&view), second.data());

    // The overlay added last goes first, even while it is still fading out.
    QVERIFY(MBProgressHUD::hideHUDForView(&view, animated));
    QCOMPARE(MBProgressHUD::HUDForView(&view), first.data());
    QVERIFY(first->isVisible());
    QVERIFY(MBProgressHUD::hideHUDForView(&view, animated));
    QVERIFY(!MBProgressHUD::HUDForView(&view));
    QVERIFY(!MBProgressHUD::hideHUDForView(&view, animated));

    QTRY_VERIFY(!first && !second);
    QVERIFY(view.findChildren<MBProgressHUD*>().isEmpty());
}

void TestOverlay::hidesAllOverlays_data() {
    QTest::addColumn<int>("count");
    QTest::newRow("none") << 0;
    QTest::newRow("one") << 1;
    QTest::newRow("three") << 3;
}

void TestOverlay::hidesAllOverlays() {
    QFETCH(int, count);

    QWidget view;
    view.resize(200, 200);
    view.show();
    auto* other = new QLabel(s("not an overlay"), &view);
    for (int i = 0; i < count; ++i)
        MBProgressHUD::showHUDAddedTo(&view, false, false);

    QCOMPARE(MBProgressHUD::hideAllHUDsForView(&view, false), count);
    QCOMPARE(MBProgressHUD::hideAllHUDsForView(&view, false), 0);
    QTRY_VERIFY(view.findChildren<MBProgressHUD*>().isEmpty());
    QCOMPARE(other->parentWidget(), &view);
}

void TestOverlay::minShowTimeDefersHide_data() {
    QTest::addColumn<double>("minShowTime");
    QTest::addColumn<int>("shownForMs");
    QTest::addColumn<bool>("animated");
    QTest::addColumn<bool>("deferred");

    QTest::newRow("no minimum") << 0.0 << 0 << false << false;
    QTest::newRow("hidden before the minimum") << 0.5 << 0 << false << true;
    QTest::newRow("hidden before the minimum, fading") << 0.4 << 100 << true << true;
    QTest::newRow("hidden after the minimum") << 0.2 << 300 << false << false;
}

void TestOverlay::minShowTimeDefersHide() {
    QFETCH(double, minShowTime);
    QFETCH(int, shownForMs);
    QFETCH(bool, animated);
    QFETCH(bool, deferred);

    QWidget view;
    view.resize(200, 200);
    view.show();
    auto* hud = new MBProgressHUD(&view);
    QVERIFY(hud->isHidden());
    hud->setMinShowTime(minShowTime);
    qint64 hiddenAfterMs = -1;
    QElapsedTimer clock;
    hud->setCompletionBlock([&] { hiddenAfterMs = clock.elapsed(); });

    hud->show(false);
    clock.start();
    QTest::qWait(shownForMs);
    hud->hide(animated);

    QCOMPARE(hud->isVisible(), deferred || animated);
    QTRY_VERIFY_WITH_TIMEOUT(hiddenAfterMs >= 0, 3000);
    QVERIFY(hud->isHidden());
    if (deferred) {
        const qint64 expectedMs =
            qint64(minShowTime * 1000) + (animated ? MBProgressHUD::fadeDurationMs : 0);
        QVERIFY2(hiddenAfterMs >= expectedMs - 5, qPrintable(QString::number(hiddenAfterMs)));
    }
}

void TestOverlay::showAnimatedRunsBlockOffMainThread_data() {
    QTest::addColumn<bool>("ownPool");
    QTest::addColumn<double>("minShowTime");
    QTest::addColumn<bool>("animated");

    QTest::newRow("global pool") << false << 0.0 << false;
    QTest::newRow("own pool") << true << 0.0 << false;
    QTest::newRow("own pool, minimum show time") << true << 0.4 << false;
    QTest::newRow("global pool, fading") << false << 0.0 << true;
}

void TestOverlay::showAnimatedRunsBlockOffMainThread() {
    QFETCH(bool, ownPool);
    QFETCH(double, minShowTime);
    QFETCH(bool, animated);

    QWidget view;
    view.resize(200, 200);
    view.show();
    QThreadPool pool;
    QPointer<MBProgressHUD> hud = new MBProgressHUD(&view);
    hud->setMinShowTime(minShowTime);
    hud->setRemoveFromSuperViewOnHide(true);

    std::atomic<QThread*> blockThread = nullptr;
    std::atomic<bool> blockDone = false;
    QStringList order;
    QElapsedTimer clock;
    qint64 completionMs = -1;
    hud->setCompletionBlock([&] {
        order.append(s("hidden"));
        QCOMPARE(QThread::currentThread(), qApp->thread());
        QVERIFY(blockDone);
    });
    clock.start();
    hud->showAnimated(
        animated,
        [&] {
            blockThread = QThread::currentThread();
            QThread::msleep(100);
            blockDone = true;
        },
        ownPool ? &pool : nullptr,
        [&] {
            order.append(s("completion"));
            completionMs = clock.elapsed();
            QCOMPARE(QThread::currentThread(), qApp->thread());
            QVERIFY(hud && hud->isHidden());
            QVERIFY(!MBProgressHUD::HUDForView(&view));
        });
    QVERIFY(hud->isVisible());
    QVERIFY(order.isEmpty());

    QTRY_COMPARE_WITH_TIMEOUT(order, QStringList({s("hidden"), s("completion")}), 3000);
    QVERIFY(blockThread.load() && blockThread.load() != qApp->thread());
    QVERIFY(completionMs >= qint64(minShowTime * 1000) - 5);
    QTRY_VERIFY(!hud);
}

void TestOverlay::blocksInput_data() {
    QTest::addColumn<bool>("keyboard");
    QTest::addColumn<QString>("overlay");
    QTest::addColumn<int>("clicks");

    for (bool keyboard : {false, true}) {
        const char* how = keyboard ? "keyboard" : "mouse";
        QTest::addRow("%s, no overlay", how) << keyboard << s("none") << 1;
        QTest::addRow("%s, overlay shown", how) << keyboard << s("shown") << 0;
        QTest::addRow("%s, overlay hidden again", how) << keyboard << s("hidden again") << 1;
    }
}

void TestOverlay::blocksInput() {
    QFETCH(bool, keyboard);
    QFETCH(QString, overlay);
    QFETCH(int, clicks);

    QWidget window;
    window.resize(300, 300);
    auto* button = new QPushButton(s("Beneath"), &window);
    button->setGeometry(100, 130, 100, 40);
    int clicked = 0;
    connect(button, &QPushButton::clicked, [&] { ++clicked; });
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    button->setFocus();

    auto* hud = new MBProgressHUD(&window);
    hud->setLabelText(s("Busy"));
    // Next after the overlay in the focus chain: where the focus would go when it hides.
    auto* after = new QPushButton(s("After"), &window);
    after->setGeometry(100, 200, 100, 40);
    after->show();
    if (overlay != s("none"))
        hud->show(false);
    if (overlay == s("hidden again"))
        hud->hide(false);

    if (keyboard) {
        QTest::keyClick(window.windowHandle(), Qt::Key_Space);
    } else {
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, button->geometry().center());
    }
    QCOMPARE(clicked, clicks);
}

void TestOverlay::blurredBackground_data() {
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("blur");

    QTest::newRow("on the window") << 0 << true;
    QTest::newRow("on a clear view") << 1 << true;
    QTest::newRow("two clear views deep") << 2 << true;
    QTest::newRow("blur off") << 1 << false;
}

void TestOverlay::blurredBackground() {
    QFETCH(int, depth);
    QFETCH(bool, blur);

    // The window paints the colours; the views between it and the overlay paint nothing.
    SplitWindow window;
    QWidget* view = &window;
    for (int i = 0; i < depth; ++i) {
        view = new QWidget(view);
        view->setGeometry(view->parentWidget()->rect());
    }
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    auto* hud = new MBProgressHUD(view);
    hud->setColor(Qt::transparent);
    hud->setMode(MBProgressHUDMode::Text);
    hud->setBlurBackground(blur);
    hud->show(false);

    const QImage image = window.grab().toImage();
    const QColor atSplit = image.pixelColor(image.width() / 2, image.height() / 2);
    const QColor left = image.pixelColor(image.width() / 4, image.height() / 2);
    const QColor right = image.pixelColor(image.width() * 3 / 4, image.height() / 2);
    if (!blur) {
        QCOMPARE(image.pixelColor(image.width() / 2 - 1, image.height() / 2), QColor(Qt::red));
        QCOMPARE(left, QColor(Qt::red));
        return;
    }
    QVERIFY2(isMix(atSplit), qPrintable(atSplit.name()));
    // The white tint lifts every channel of the colours beneath.
    QVERIFY2(isTinted(left, 0), qPrintable(left.name()));
    QVERIFY2(isTinted(right, 2), qPrintable(right.name()));
}

void TestOverlay::blurredBackgroundTakenOncePerShowAndSize_data() {
    QTest::addColumn<QString>("change");
    QTest::addColumn<bool>("retaken");

    QTest::newRow("repainted") << s("repaint") << false;
    QTest::newRow("view resized") << s("resize") << true;
    QTest::newRow("shown again") << s("show again") << true;
}

void TestOverlay::blurredBackgroundTakenOncePerShowAndSize() {
    QFETCH(QString, change);
    QFETCH(bool, retaken);

    SplitWindow window;
    auto* view = new QWidget(&window);
    view->setGeometry(window.rect());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto* hud = new MBProgressHUD(view);
    hud->setColor(Qt::transparent);
    hud->setBlurBackground(true);
    hud->show(false);
    QVERIFY(isMix(hud->grab().toImage().pixelColor(hud->width() / 2, 10)));

    // What lies beneath turns green; the indicator keeps the overlay repainting meanwhile.
    window.setColours(Qt::green, Qt::green);
    QTest::qWait(200);
    if (change == s("resize")) {
        view->resize(250, 150);
        QCOMPARE(hud->geometry(), view->rect());
    } else if (change == s("show again")) {
        hud->hide(false);
        hud->show(false);
    }
    // The window repaints the overlay on its own first.
    QTest::qWait(100);

    const QColor centre = hud->grab().toImage().pixelColor(hud->width() / 2, 10);
    QCOMPARE(isMix(centre), !retaken);
    QCOMPARE(isTinted(centre, 1), retaken);
}

void TestOverlay::rendersToPng() {
    Paths::setRoots(QDir::tempPath(), s(TOLVANE_BUILD_SYSTEM_ROOT));
    const QStringList lines = {s("Evening Tide - The Harbour Lights"),
                               s("Morning Run - Coastal Pacers"),
                               s("Open Water - Episode 12"),
                               s("Harbour Song - The Pilots"),
                               s("Old Tag - Vintage"),
                               s("Field Notes - Reading")};

    QWidget window;
    window.resize(2 * 375 + 10, 667);
    window.setAutoFillBackground(true);
    QPalette palette = window.palette();
    palette.setColor(QPalette::Window, Qt::black);
    window.setPalette(palette);
    auto* searching = new SampleScreen(&window, lines);
    searching->setGeometry(0, 0, 375, 667);
    auto* importing = new SampleScreen(&window, lines);
    importing->setGeometry(385, 0, 375, 667);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    MBProgressHUD::showHUDAddedTo(searching, false, false);

    auto* hud = new MBProgressHUD(importing);
    hud->setColor(Qt::transparent);
    hud->setBlurBackground(true);
    hud->setLabelText(s("Media Import Started"));
    hud->setDetailsLabelText(s("Import is now progressing"));
    QFont details = hud->detailsLabelFont();
    details.setPixelSize(14);
    hud->setDetailsLabelFont(details);
    auto* checkmark = new QLabel(hud);
    checkmark->setGeometry(0, 0, 35, 41);
    checkmark->setPixmap(QPixmap(s(TOLVANE_APP_IMAGES "/checkmark.png")));
    checkmark->setScaledContents(true);
    hud->setCustomView(checkmark);
    hud->setMode(MBProgressHUDMode::CustomView);
    hud->show(false);
    QTest::qWait(300);

    const QString path = QCoreApplication::applicationDirPath() + s("/overlay-look.png");
    QFile::remove(path);
    QVERIFY(window.grab().save(path, "PNG"));
    QCOMPARE(QImage(path).size(), window.size());
}

QTEST_MAIN(TestOverlay)
#include "tst_overlay.moc"

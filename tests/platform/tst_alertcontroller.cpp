#include "platform/ui/AlertController.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace tolvane;

namespace {

QWidget* openWindow() {
    auto* window = new QWidget;
    window->resize(375, 667);
    window->show();
    return window;
}

QList<AlertController*> shownControllers(QWidget* window) {
    QList<AlertController*> shown;
    for (AlertController* controller : window->findChildren<AlertController*>()) {
        if (controller->isVisible())
            shown.append(controller);
    }
    return shown;
}

} // namespace

class TestAlertController : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void alertShowsItsTextsOverTheWindow();
    void sheetReportsTheChosenIndex_data();
    void sheetReportsTheChosenIndex();
    void sheetStaysInsideAResizedWindow();
    void handlerMayCloseTheWindow();
};

void TestAlertController::alertShowsItsTextsOverTheWindow() {
    std::unique_ptr<QWidget> window(openWindow());
    auto* child = new QWidget(window.get());
    int chosen = -1;
    QPointer<AlertController> alert = AlertController::alert(
        QStringLiteral("Error Occurred"), QStringLiteral("Failed to retrieve images"),
        {QStringLiteral("OK")}, child, [&](int index) { chosen = index; });
    QCOMPARE(shownControllers(window.get()), QList<AlertController*>{alert.data()});
    QCOMPARE(alert->geometry(), window->rect());
    QCOMPARE(alert->title(), QStringLiteral("Error Occurred"));
    QCOMPARE(alert->message(), QStringLiteral("Failed to retrieve images"));
    QCOMPARE(alert->cancelButtonIndex(), 0);
    // The panel's button is on screen and inside the window.
    QAbstractButton* ok = alert->buttonAtIndex(0);
    QVERIFY(ok->isVisible());
    QVERIFY(window->rect().contains(ok->mapTo(window.get(), ok->rect().center())));

    QTest::mouseClick(ok, Qt::LeftButton);
    QCOMPARE(chosen, 0);
    QVERIFY(!alert->isVisible());
    QTRY_VERIFY(alert.isNull());
}

void TestAlertController::sheetReportsTheChosenIndex_data() {
    QTest::addColumn<QString>("how");
    QTest::addColumn<int>("expected");
    QTest::newRow("second title") << QStringLiteral("click 1") << 1;
    QTest::newRow("cancel button") << QStringLiteral("click 3") << 3;
    QTest::newRow("escape") << QStringLiteral("escape") << 3;
    QTest::newRow("beside the sheet") << QStringLiteral("outside") << 3;
}

void TestAlertController::sheetReportsTheChosenIndex() {
    QFETCH(QString, how);
    QFETCH(int, expected);
    std::unique_ptr<QWidget> window(openWindow());
    QList<int> reported;
    QPointer<AlertController> sheet = AlertController::actionSheet(
        QString(), {QStringLiteral("Music"), QStringLiteral("Movie"), QStringLiteral("Podcast")},
        QStringLiteral("Cancel"), 0xfeedcafe, window.get(),
        [&](int index) { reported.append(index); });
    QSignalSpy willDismiss(sheet.data(), &AlertController::willDismissWithButtonIndex);
    QCOMPARE(sheet->tag(), qint64(0xfeedcafe));
    QCOMPARE(sheet->numberOfButtons(), 4);
    QCOMPARE(sheet->buttonTitleAtIndex(1), QStringLiteral("Movie"));

    if (how.startsWith(QLatin1String("click")))
        QTest::mouseClick(sheet->buttonAtIndex(how.back().digitValue()), Qt::LeftButton);
    else if (how == QLatin1String("escape"))
        QTest::keyClick(sheet.data(), Qt::Key_Escape);
    else
        QTest::mouseClick(sheet.data(), Qt::LeftButton, {}, QPoint(10, 10));

    QCOMPARE(reported, QList<int>{expected});
    QCOMPARE(willDismiss.size(), 1);
    QCOMPARE(willDismiss.first().first().toInt(), expected);
    // A second choice after dismissal is not reported again.
    if (sheet)
        sheet->dismissWithClickedButtonIndex(0);
    QCOMPARE(reported.size(), 1);
}

void TestAlertController::sheetStaysInsideAResizedWindow() {
    std::unique_ptr<QWidget> window(openWindow());
    AlertController* sheet = AlertController::actionSheet(
        QStringLiteral("Kind"), {QStringLiteral("A"), QStringLiteral("B")},
        QStringLiteral("Cancel"), 1, window.get(), {});
    for (QSize size : {QSize(667, 375), QSize(1024, 768), QSize(320, 480)}) {
        window->resize(size);
        QCOMPARE(sheet->geometry(), window->rect());
        for (int i = 0; i < sheet->numberOfButtons(); ++i) {
            QAbstractButton* button = sheet->buttonAtIndex(i);
            const QRect onWindow(button->mapTo(window.get(), QPoint(0, 0)), button->size());
            QVERIFY2(window->rect().contains(onWindow), qPrintable(button->text()));
        }
    }
}

void TestAlertController::handlerMayCloseTheWindow() {
    auto* window = openWindow();
    QPointer<QWidget> guard(window);
    AlertController* alert =
        AlertController::alert(QStringLiteral("T"), QString(), {QStringLiteral("OK")}, window,
                               [window](int) { delete window; });
    QSignalSpy didDismiss(alert, &AlertController::didDismissWithButtonIndex);
    QTest::mouseClick(alert->buttonAtIndex(0), Qt::LeftButton);
    QVERIFY(guard.isNull());
    QCOMPARE(didDismiss.size(), 0);
}

QTEST_MAIN(TestAlertController)
#include "tst_alertcontroller.moc"

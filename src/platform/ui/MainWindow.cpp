#include "MainWindow.h"

#include "platform/Device.h"
#include "platform/DeviceNotifications.h"
#include "platform/ui/Screen.h"

#include <QGuiApplication>
#include <QResizeEvent>
#include <QScreen>
#include <QTimer>

namespace tolvane {

MainWindow::MainWindow(QWidget* parent)
    : QWidget(parent) {
    resize(defaultSize());
    SystemDevice::setMainWindowSize(size());
}

QSize MainWindow::defaultSize() {
    const bool pad =
        qEnvironmentVariable("TOLVANE_IDIOM").trimmed().toLower() == QLatin1String("pad");
    QSize wanted = pad ? QSize(1024, 768) : QSize(390, 760);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        wanted = wanted.boundedTo(screen->availableGeometry().size());
    return wanted;
}

void MainWindow::setRootViewController(Screen* screen) {
    if (m_root)
        m_root->deleteLater();
    m_root = screen;
    if (!screen)
        return;
    screen->setParent(this);
    screen->setGeometry(rect());
    screen->lower();
    screen->show();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    SystemDevice::setMainWindowSize(event->size());
    if (m_root)
        m_root->setGeometry(rect());
    if (event->oldSize().isValid() && event->oldSize() != event->size()) {
        // After the layers have followed the new size.
        QTimer::singleShot(0, DeviceNotifications::instance(),
                           &DeviceNotifications::postOrientationDidChange);
    }
}

} // namespace tolvane

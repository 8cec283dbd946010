#include "MainWindow.h"

#include "platform/Device.h"
#include "platform/DeviceNotifications.h"
#include "platform/Paths.h"
#include "platform/ui/Screen.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMimeData>
#include <QResizeEvent>
#include <QScreen>
#include <QSettings>
#include <QTimer>

namespace tolvane {

MainWindow::MainWindow(QWidget* parent)
    : QWidget(parent) {
    resize(defaultSize());
    SystemDevice::setMainWindowSize(size());
    setAcceptDrops(Paths::isDesktopLayout());
}

QSize MainWindow::defaultSize() {
    const bool pad =
        qEnvironmentVariable("TOLVANE_IDIOM").trimmed().toLower() == QLatin1String("pad");
    QSize wanted = pad ? QSize(1024, 768) : QSize(390, 760);
    if (Paths::isDesktopLayout() && !pad)
        wanted = QSize(960, 720);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        wanted = wanted.boundedTo(screen->availableGeometry().size());
    return wanted;
}

QString MainWindow::placementFile() {
    return Paths::cacheFolder() + QStringLiteral("/window.ini");
}

bool MainWindow::restorePlacement() {
    if (!Paths::isDesktopLayout())
        return false;
    const QSettings saved(placementFile(), QSettings::IniFormat);
    return restoreGeometry(saved.value(QStringLiteral("geometry")).toByteArray());
}

void MainWindow::savePlacement() const {
    if (!Paths::isDesktopLayout())
        return;
    QSettings saved(placementFile(), QSettings::IniFormat);
    saved.setValue(QStringLiteral("geometry"), saveGeometry());
    saved.sync();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    savePlacement();
    QWidget::closeEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    QStringList texts;
    for (const QUrl& url : event->mimeData()->urls())
        texts.append(url.isLocalFile() ? url.toLocalFile() : url.toString());
    if (texts.isEmpty())
        return;
    event->acceptProposedAction();
    Q_EMIT dropped(texts);
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

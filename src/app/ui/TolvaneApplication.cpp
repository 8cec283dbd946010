#include "TolvaneApplication.h"

#include "app/HandoffReceiver.h"
#include "app/UrlHandoff.h"
#include "app/ui/ImportActivityEditor.h"
#include "app/ui/ViewController.h"
#include "platform/CurrentYear.h"
#include "platform/Device.h"
#include "platform/Localisation.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Appearance.h"
#include "platform/ui/BundleImages.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationController.h"

#include <QPainter>
#include <QSplashScreen>
#include <QThread>

#include <cmath>
#include <limits>

namespace tolvane {

TolvaneApplication::TolvaneApplication(int& argc, char** argv)
    : QApplication(argc, argv) {
    setApplicationName(QStringLiteral("Tolvane"));
    setOrganizationName(QStringLiteral("Tolvane"));
    setApplicationVersion(QStringLiteral(TOLVANE_VERSION));
    setDesktopFileName(QStringLiteral("tolvane"));
    m_receiving.setMaxThreadCount(1);
}

TolvaneApplication::~TolvaneApplication() {
    // An entry being made finishes; what it would hand on is dropped with the application.
    m_receiving.waitForDone();
    delete m_window;
}

TolvaneApplication* TolvaneApplication::instance() {
    return qobject_cast<TolvaneApplication*>(QCoreApplication::instance());
}

void TolvaneApplication::setWindow(MainWindow* window) {
    m_window = window;
}

void TolvaneApplication::setViewController(ViewController* viewController) {
    m_viewController = viewController;
}

int TolvaneApplication::currentYear() {
    return tolvane::currentYear();
}

void TolvaneApplication::applyAppearance() {
    Appearance& look = Appearance::shared();
    look.tintColor = QColor(47, 145, 252);
    look.barTintColor = QColor::fromRgbF(0, 0, 0, 0.85f);
    look.titleColor = QColor(235, 239, 244);

    // Short phone screens get the smaller title.
    const qreal height = Device::current().screenBounds().height();
    const auto near = [height](qreal value) {
        return std::abs(height - value) < std::numeric_limits<double>::epsilon();
    };
    QFont title(QStringLiteral("HelveticaNeue"));
    title.setPixelSize(near(480) || near(568) ? 15 : 17);
    look.titleFont = title;

    QPalette colours = palette();
    colours.setColor(QPalette::Highlight, look.tintColor);
    colours.setColor(QPalette::Link, look.tintColor);
    setPalette(colours);
}

void TolvaneApplication::showLaunchImageAndPause() {
    const QSize size = MainWindow::defaultSize();
    QPixmap image(size);
    image.fill(QColor(238, 238, 238));
    {
        QPainter painter(&image);
        const QPixmap mark = BundleImages::imageNamed(QStringLiteral("browser.png"));
        QRectF target(QPointF(0, 0), mark.deviceIndependentSize());
        target.moveCenter(QRectF(image.rect()).center());
        painter.drawPixmap(target.toRect(), mark);
    }
    QSplashScreen splash(image);
    splash.show();
    processEvents();
    // The launch image stays up for a moment on purpose; nothing else is ready yet.
    QThread::msleep(launchPauseMs);
    splash.close();
}

bool TolvaneApplication::application(TolvaneApplication*, const QVariantMap&) {
    applyAppearance();
    ImportActivityEditor::install();
    if (m_launchPause)
        showLaunchImageAndPause();

    auto* window = new MainWindow;
    window->setWindowTitle(QStringLiteral("Tolvane"));
    auto* main = new ViewController;
    window->setRootViewController(new NavigationController(main));
    setWindow(window);
    setViewController(main);
    window->show();
    return true;
}

bool TolvaneApplication::application(TolvaneApplication*, const QString& url, const QString&,
                                     const QVariant&) {
    return UrlHandoff::perform(url, m_viewController);
}

void TolvaneApplication::receive(const QStringList& texts) {
    for (const QString& text : texts) {
        m_receiving.start([this, text] {
            Result<QString> received = HandoffReceiver().receive(text);
            QMetaObject::invokeMethod(
                this,
                [this, received = std::move(received)] {
                    if (received) {
                        application(this, *received, QString(), QVariant());
                    } else if (m_viewController) {
                        AlertController::alert(localized("Cannot Open"), received.failure().text(),
                                               {localized("OK")}, m_viewController);
                    }
                },
                Qt::QueuedConnection);
        });
    }
}

} // namespace tolvane

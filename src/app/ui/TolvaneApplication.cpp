#include "TolvaneApplication.h"

#include "app/HandoffReceiver.h"
#include "app/ImportNotice.h"
#include "app/LaunchArguments.h"
#include "app/UrlHandoff.h"
#include "app/ui/ImportActivityEditor.h"
#include "app/ui/ViewController.h"
#include "import/library/MediaLibrary.h"
#include "platform/CurrentYear.h"
#include "platform/DesktopNotifier.h"
#include "platform/Device.h"
#include "platform/FileManager.h"
#include "platform/Localisation.h"
#include "platform/OffScreen.h"
#include "platform/Paths.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/Appearance.h"
#include "platform/ui/BundleImages.h"
#include "platform/ui/FocusRing.h"
#include "platform/ui/MainWindow.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/WindowKeys.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QPainter>
#include <QSplashScreen>
#include <QStandardPaths>
#include <QThread>
#include <QUrl>

#include <cmath>
#include <limits>

namespace tolvane {

namespace {
Q_LOGGING_CATEGORY(lcNotices, "tolvane.notices")
// An alert names this many refused drops at most, then how many more there were.
constexpr int namedRefusals = 5;
} // namespace

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
    equipWindow(window, main);
    window->show();
    return true;
}

void TolvaneApplication::equipWindow(MainWindow* window, ViewController* main) {
    window->restorePlacement();
    auto* keys = new WindowKeys(window);
    connect(keys, &WindowKeys::quitRequested, this, [window] {
        window->savePlacement();
        QCoreApplication::quit();
    });
    connect(keys, &WindowKeys::openRequested, this, &TolvaneApplication::chooseFilesToOpen);
    new FocusRing(window);
    connect(window, &MainWindow::dropped, this, &TolvaneApplication::receiveDropped);
    connect(main, &ViewController::importFinished, this, &TolvaneApplication::tellImportFinished);
    connect(main, &ViewController::importEditorClosed, this,
            &TolvaneApplication::droppedEditorClosed, Qt::QueuedConnection);
}

void TolvaneApplication::chooseFilesToOpen() {
    const QStringList downloads =
        QStandardPaths::standardLocations(QStandardPaths::DownloadLocation);
    auto* chooser = new QFileDialog(m_window, localized("Open With Tolvane"),
                                    downloads.isEmpty() ? QDir::homePath() : downloads.first());
    chooser->setObjectName(QStringLiteral("openChooser"));
    chooser->setFileMode(QFileDialog::ExistingFiles);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &QFileDialog::filesSelected, this, &TolvaneApplication::receiveDropped);
    chooser->open();
}

void TolvaneApplication::receiveDropped(const QStringList& texts) {
    QStringList refused;
    QString folder;
    for (const QString& text : texts) {
        const bool local = text.startsWith(QLatin1Char('/'));
        const QFileInfo item(text);
        if (local && item.isDir()) {
            if (folder.isEmpty())
                folder = item.absoluteFilePath();
        } else if (local && item.exists()) {
            m_waiting.append(item.absoluteFilePath());
        } else if (local) {
            refused.append(localized("“%1” is not there any more").arg(item.fileName()));
        } else {
            refused.append(localized("“%1” is not a file on this computer").arg(text.left(200)));
        }
    }
    if (!refused.isEmpty() && m_viewController) {
        QStringList named = refused.mid(0, namedRefusals);
        if (refused.size() > namedRefusals)
            named.append(localized("and %1 more").arg(refused.size() - namedRefusals));
        AlertController::alert(localized("Cannot Open"), named.join(QLatin1Char('\n')),
                               {localized("OK")}, m_viewController);
    }
    if (!folder.isEmpty() && m_waiting.isEmpty() && m_viewController) {
        m_viewController->browseToFileWithPath(folder);
        return;
    }
    openNextDropped();
}

void TolvaneApplication::openNextDropped() {
    // One at a time: the next waits until the editor of the one on its way has gone.
    if (m_openingDropped || m_waiting.isEmpty() || !m_viewController ||
        m_viewController->isImportEditorShown())
        return;
    if (m_window && m_window->isMinimized())
        m_window->showNormal();
    m_openingDropped = true;
    handOver(handoffTextForArgument(m_waiting.takeFirst(), QDir::currentPath()),
             [this](bool shown) {
                 if (shown && m_viewController && m_viewController->isImportEditorShown())
                     return;
                 // Nothing to wait for: a file that could not be opened goes on to the next.
                 m_openingDropped = false;
                 openNextDropped();
             });
}

void TolvaneApplication::droppedEditorClosed() {
    m_openingDropped = false;
    openNextDropped();
}

DesktopNotifier* TolvaneApplication::notifier() {
    if (!m_notifier) {
        m_notifier = new DesktopNotifier(QDBusConnection::sessionBus(), this);
        connect(m_notifier, &DesktopNotifier::failed, this, [](const QString& why) {
            qCInfo(lcNotices).noquote() << "the import's notice was not shown:" << why;
        });
        connect(m_notifier, &DesktopNotifier::actionInvoked, this,
                [this](uint id, const QString& key) {
                    const QString item = m_noticeItems.value(id);
                    if (item.isEmpty() || key != QLatin1String(ImportNotice::showInFolderAction))
                        return;
                    if (!m_fileManager)
                        m_fileManager = new FileManager(QDBusConnection::sessionBus(), this);
                    m_fileManager->showItem(item);
                });
    }
    return m_notifier;
}

void TolvaneApplication::tellImportFinished(const QVariantMap& record,
                                            const Result<LibraryItem>& outcome) {
    if (!Paths::isDesktopLayout())
        return;
    const DesktopNotifier::Notice notice =
        ImportNotice::compose(record, outcome, MediaLibrary::defaultFolder());
    const QString item = outcome ? outcome->path : QString();
    // The id is known once the service answers; "Show in Folder" finds the item by it.
    notifier()->notify(notice, [this, item](uint id) {
        if (!item.isEmpty())
            m_noticeItems.insert(id, item);
    });
}

bool TolvaneApplication::application(TolvaneApplication*, const QString& url, const QString&,
                                     const QVariant&) {
    return UrlHandoff::perform(url, m_viewController);
}

void TolvaneApplication::receive(const QStringList& texts) {
    for (const QString& text : texts)
        handOver(text, nullptr);
}

void TolvaneApplication::handOver(const QString& text, std::function<void(bool)> done) {
    runOffScreen(
        this, [text] { return HandoffReceiver().receive(text); },
        [this, done = std::move(done)](const Result<QString>& received) {
            bool performed = false;
            if (received) {
                performed = application(this, *received, QString(), QVariant());
            } else if (m_viewController) {
                AlertController::alert(localized("Cannot Open"), received.failure().text(),
                                       {localized("OK")}, m_viewController);
            }
            if (done)
                done(performed);
        },
        &m_receiving);
}

} // namespace tolvane

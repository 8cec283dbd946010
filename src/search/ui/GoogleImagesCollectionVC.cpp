#include "GoogleImagesCollectionVC.h"

#include "net/ui/ImageViewLoading.h"
#include "overlay/MBProgressHUD.h"
#include "platform/Device.h"
#include "platform/DeviceNotifications.h"
#include "platform/Localisation.h"
#include "platform/ui/AlertController.h"
#include "platform/ui/BundleImages.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationController.h"
#include "platform/ui/NavigationItem.h"
#include "search/ArtworkResults.h"
#include "search/ArtworkSearch.h"
#include "search/DetailViewLayout.h"
#include "search/GoogleImageLayout.h"
#include "search/InterfaceOrientation.h"
#include "search/ui/CollectionView.h"
#include "search/ui/CoverButton.h"
#include "search/ui/DetailView.h"
#include "search/ui/GoogleImageCell.h"
#include "search/ui/GoogleImagesSearchDelegate.h"
#include "search/ui/SearchBar.h"

#include <QLineEdit>
#include <QLoggingCategory>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QRandomGenerator>
#include <QToolButton>

#include <algorithm>

namespace tolvane {

namespace {
Q_LOGGING_CATEGORY(lcSearch, "tolvane.search")

// The grid's background and the search field's text.
const QColor gridGrey(27, 27, 27);
const QColor fieldTextGrey(179, 179, 179);

QPropertyAnimation* geometryAnimation(QWidget* target, const QRect& to, int durationMs,
                                      QEasingCurve curve) {
    auto* animation = new QPropertyAnimation(target, "geometry", target);
    animation->setDuration(durationMs);
    animation->setEasingCurve(curve);
    animation->setStartValue(target->geometry());
    animation->setEndValue(to);
    return animation;
}
} // namespace

GoogleImagesCollectionVC::GoogleImagesCollectionVC(const QString& searchTerm,
                                                   GoogleImageLayout* layout, QWidget* parent)
    : Screen(parent)
    , m_searchTerm(searchTerm)
    , m_collectionView(new CollectionView(layout, this)) {
    m_collectionView->setDataSource(this);
    m_collectionView->setDelegate(this);
}

GoogleImagesCollectionVC::~GoogleImagesCollectionVC() {
    disconnect(m_orientationObserver);
    // Nothing in flight answers a screen that is going.
    delete m_artworkSearch;
    // The grid asks its data source nothing more while it goes.
    m_collectionView->setDataSource(nullptr);
    m_collectionView->setDelegate(nullptr);
}

GoogleImageLayout* GoogleImagesCollectionVC::collectionViewLayout() const {
    return m_collectionView->collectionViewLayout();
}

qreal GoogleImagesCollectionVC::navigationBarHeight() const {
    const NavigationController* navigation = navigationController();
    return navigation ? navigation->navigationBar()->height() : 0;
}

void GoogleImagesCollectionVC::viewDidLoad() {
    m_orientationObserver =
        connect(DeviceNotifications::instance(), &DeviceNotifications::orientationDidChange, this,
                &GoogleImagesCollectionVC::orientationChanged);

    // The screen sits under the navigation bar, so the content starts below it.
    setTitle(localized("Results"));

    m_collectionView->setGeometry(rect());
    QPalette grey = m_collectionView->viewport()->palette();
    grey.setColor(QPalette::Window, gridGrey);
    grey.setColor(QPalette::Base, gridGrey);
    m_collectionView->viewport()->setPalette(grey);
    m_collectionView->registerClass<GoogleImageCell>(GoogleImageCell::identifier());

    layOutColumnsForOrientation();

    auto* cancel = new QToolButton(this);
    cancel->setText(localized("Cancel"));
    cancel->setAutoRaise(true);
    cancel->setCursor(Qt::PointingHandCursor);
    cancel->hide();
    connect(cancel, &QToolButton::clicked, this,
            [this] { dismissViewControllerAnimated(true, nullptr); });
    navigationItem()->setLeftBarButton(cancel);
    addBarButtonItemWithName(
        QStringLiteral("search"), [this] { showSearchBar(); }, QStringLiteral("right"));

    m_hideKeyboardBtn = new CoverButton(this);
    m_hideKeyboardBtn->setGeometry(rect());
    m_hideKeyboardBtn->setColour(Qt::black);
    m_hideKeyboardBtn->setAlpha(0);
    connect(m_hideKeyboardBtn, &CoverButton::clicked, this,
            &GoogleImagesCollectionVC::hideKeyboard);

    const qreal barHeight = navigationBarHeight();
    const NavigationController* navigation = navigationController();
    const int barWidth = navigation ? navigation->navigationBar()->width() : width();
    m_searchBar = new SearchBar(this);
    m_searchBar->setGeometry(0, -int(barHeight), barWidth, int(barHeight));
    m_searchBar->setPlaceholder(localized("Search Google Images"));
    m_searchBar->setBarTintColor(Qt::black);
    QPalette fieldText = m_searchBar->textField()->palette();
    fieldText.setColor(QPalette::Text, fieldTextGrey);
    m_searchBar->textField()->setPalette(fieldText);
    connect(m_searchBar, &SearchBar::searchButtonClicked, this,
            &GoogleImagesCollectionVC::searchBarSearchButtonClicked);

    m_placeholder = BundleImages::imageNamed(QStringLiteral("placeHolder.png")).toImage();

    fetchImagesData(m_searchTerm, QStringLiteral("albums"));

    // 0.5 to 1.1 seconds in tenths, each written with one decimal and read back. Counted in
    // whole tenths: adding 0.1 in floating point overshoots 1.1 and loses the last value.
    m_randomArray.clear();
    for (int tenths = 5; tenths <= 11; ++tenths)
        m_randomArray.append(QString::asprintf("%.1f", tenths / 10.0).toFloat());
}

void GoogleImagesCollectionVC::viewWillDisappear(bool animated) {
    Screen::viewWillDisappear(animated);
    disconnect(m_orientationObserver);
}

void GoogleImagesCollectionVC::resizeEvent(QResizeEvent* event) {
    Screen::resizeEvent(event);
    // The grid and the cover follow the view; the search bar only in width.
    m_collectionView->setGeometry(rect());
    if (m_hideKeyboardBtn)
        m_hideKeyboardBtn->setGeometry(rect());
    if (m_searchBar)
        m_searchBar->resize(width(), m_searchBar->height());
}

void GoogleImagesCollectionVC::addBarButtonItemWithName(const QString& name,
                                                        std::function<void()> action,
                                                        const QString& type) {
    auto* button = new ImageButton(this);
    button->setNormalImage(BundleImages::imageNamed(name + QStringLiteral(".png")));
    button->setHighlightedImage(BundleImages::imageNamed(name + QStringLiteral("Selected.png")));
    button->resize(button->sizeHint());
    button->setFixedSize(button->sizeHint());
    button->setAccessibleName(name);
    button->hide();
    connect(button, &ImageButton::clicked, this, [action = std::move(action)] { action(); });
    if (type == QLatin1String("left"))
        navigationItem()->setLeftBarButton(button);
    else
        navigationItem()->setRightBarButton(button);
}

void GoogleImagesCollectionVC::dismissViewControllerAnimated(bool, Completion) {
    Screen::dismissViewControllerAnimated(true, nullptr);
}

// --- searching ------------------------------------------------------------------------------

void GoogleImagesCollectionVC::fetchImagesData(const QString& searchText, const QString& keyword) {
    // The page search reads "+" as a space; so do the services.
    const ArtworkQuery query{
        searchText, keyword,
        QString(searchText).replace(QLatin1Char('+'), QLatin1Char(' ')).simplified(), m_mediaKind,
        m_mediaPath};
    // The preferences are read anew for every search; the search before this one is cancelled
    // with its provider objects.
    delete m_artworkSearch;
    m_artworkSearch = new ArtworkSearch(ArtworkSearch::providersFromPreferences(), this);
    if (!m_searchOverlayShown) {
        MBProgressHUD::showHUDAddedTo(this, true, false);
        m_searchOverlayShown = true;
    }
    m_artworkSearch->start(
        query,
        [this](const QString& provider, const Result<ArtworkAnswer>& answer) {
            artworkAnswered(provider, answer);
        },
        [this] { artworkSearchEnded(); });
}

void GoogleImagesCollectionVC::artworkAnswered(const QString& provider,
                                               const Result<ArtworkAnswer>& answer) {
    if (!answer) {
        // Another provider may still answer: the grid stays as it is for now.
        qCInfo(lcSearch).noquote()
            << provider << QStringLiteral("image search failed:") << answer.failure().text();
        return;
    }
    // A page without results drops the list, unless another provider has given records.
    if (!answer->has_value() && m_artworkSearch->anyRecords())
        return;
    if (m_artworkSearch->anyRecords())
        m_imagesArray = m_artworkSearch->records();
    else
        m_imagesArray.reset();
    hideSearchOverlay();
    m_collectionView->reloadData();
    showImageCount();
}

void GoogleImagesCollectionVC::artworkSearchEnded() {
    hideSearchOverlay();
    if (!m_artworkSearch->anyRecords()) {
        // Every provider failed or found no results: the list is as the answers left it.
        showFailureAlert();
        m_collectionView->reloadData();
        showImageCount();
    }
}

void GoogleImagesCollectionVC::hideSearchOverlay() {
    if (!m_searchOverlayShown)
        return;
    m_searchOverlayShown = false;
    MBProgressHUD::hideHUDForView(this, true);
}

QString GoogleImagesCollectionVC::sourceText(const QVariantMap& record) {
    const QString provider = ArtworkResults::providerOf(record);
    QString source;
    if (provider == QLatin1String("folder"))
        source = localized("the media file's folder");
    else if (provider == QLatin1String("itunes"))
        source = QStringLiteral("iTunes");
    else if (provider == QLatin1String("deezer"))
        source = QStringLiteral("Deezer");
    else if (provider == QLatin1String("musicbrainz"))
        source = QStringLiteral("MusicBrainz, Cover Art Archive");
    else
        source = localized("the web image search");
    const QString title =
        record.value(QString::fromLatin1(ArtworkRecord::titleKey)).toString().simplified();
    const QString from = localized("From %1").arg(source);
    return title.isEmpty() ? from : from + QStringLiteral(" \u00b7 ") + title;
}

void GoogleImagesCollectionVC::showFailureAlert() {
    AlertController::alert(localized("Error Occurred"), localized("Failed to retrieve images"),
                           {localized("OK")}, this);
}

void GoogleImagesCollectionVC::showImageCount() {
    const qsizetype count = m_imagesArray ? m_imagesArray->size() : 0;
    setTitle(QStringLiteral("%1 %2").arg(count).arg(localized("Images")));
}

// --- the grid -------------------------------------------------------------------------------

int GoogleImagesCollectionVC::numberOfSectionsInCollectionView(CollectionView*) {
    return m_imagesArray ? int(m_imagesArray->size()) : 0;
}

int GoogleImagesCollectionVC::numberOfItemsInSection(CollectionView*, int) {
    return 1;
}

CollectionViewCell* GoogleImagesCollectionVC::cellForItemAtIndexPath(CollectionView* view,
                                                                     IndexPath path) {
    auto* cell = static_cast<GoogleImageCell*>(
        view->dequeueReusableCellWithReuseIdentifier(GoogleImageCell::identifier(), path));
    if (!cell || !m_imagesArray || path.section >= m_imagesArray->size())
        return cell;
    const QUrl thumbnail(
        m_imagesArray->at(path.section).value(QStringLiteral("thumburl")).toString());
    QPointer<GoogleImageCell> guard(cell);
    setImageWithURL(cell->imageView(), thumbnail, m_placeholder,
                    [this, guard](const Result<QImage>&) {
                        // Loaded or not, the cell can be opened and its picture pops in.
                        if (!guard)
                            return;
                        guard->setUserInteractionEnabled(true);
                        popIn(guard->imageView());
                    });
    return cell;
}

void GoogleImagesCollectionVC::popIn(ImageView* view) {
    view->setAlpha(0);
    view->setScale(0.9);
    const quint32 pick = QRandomGenerator::global()->generate();
    const int durationMs =
        m_randomArray.isEmpty()
            ? 500
            : int(std::lround(m_randomArray.at(int(pick % quint32(m_randomArray.size()))) * 1000));
    auto* group = new QParallelAnimationGroup(view);
    for (const char* property : {"alpha", "scale"}) {
        auto* animation = new QPropertyAnimation(view, property, group);
        animation->setDuration(durationMs);
        animation->setEasingCurve(QEasingCurve::OutQuad);
        animation->setEndValue(1.0);
        group->addAnimation(animation);
    }
    group->start(QAbstractAnimation::DeleteWhenStopped);
}

void GoogleImagesCollectionVC::didSelectItemAtIndexPath(CollectionView* view, IndexPath path) {
    if (!m_imagesArray || path.section >= m_imagesArray->size())
        return;
    m_selectedIndexPath = path;
    if (CollectionViewCell* cell = view->cellForItemAtIndexPath(path))
        cell->setUserInteractionEnabled(false);
    const QVariantMap record = m_imagesArray->at(path.section);
    const QUrl full(record.value(QStringLiteral("imgurl")).toString());
    const QUrl thumbnail(record.value(QStringLiteral("thumburl")).toString());

    if (m_detailView)
        m_detailView->deleteLater();
    auto* panel = new DetailView(this);
    m_detailView = panel;
    panel->setNavController(navigationController());
    connect(panel->closeButton(), &QAbstractButton::clicked, this,
            &GoogleImagesCollectionVC::closeButtonPressed);
    panel->selectButton()->hide();
    panel->setSourceText(sourceText(record));
    panel->show();
    panel->raise();

    MBProgressHUD::showHUDAddedTo(panel->imageView(), true, true);

    QPointer<DetailView> weak(panel);
    setImageWithURL(panel->imageView(), full, QImage(),
                    [this, weak, thumbnail](const Result<QImage>& image) {
                        if (!weak)
                            return;
                        MBProgressHUD::hideHUDForView(weak->imageView(), true);
                        if (image && image->width() > 1) {
                            showImageSize(*image);
                            offerImage();
                            return;
                        }
                        // The full image failed: the thumbnail is shown and offered instead.
                        setImageWithURL(weak->imageView(), thumbnail, QImage(),
                                        [this, weak](const Result<QImage>& small) {
                                            if (!weak)
                                                return;
                                            showImageSize(small.valueOr({}));
                                            offerImage();
                                        });
                    });

    const QSizeF size = DetailViewLayout::panelSize(
        Device::current().screenBounds(), navigationBarHeight(), currentInterfaceOrientation());
    const int panelWidth = int(size.width());
    const int panelHeight = int(size.height());
    panel->setGeometry(0, -panelWidth, panelWidth, panelHeight);
    panel->animateFrame(QRect(0, 0, panelWidth, panelHeight), panelInMs, nullptr);
}

void GoogleImagesCollectionVC::showImageSize(const QImage& image) {
    setTitle(
        QStringLiteral("%1 %2x%3").arg(localized("Size")).arg(image.width()).arg(image.height()));
}

void GoogleImagesCollectionVC::offerImage() {
    if (!m_detailView)
        return;
    connect(m_detailView->selectButton(), &QPushButton::clicked, this,
            &GoogleImagesCollectionVC::imageSelected, Qt::UniqueConnection);
    m_detailView->selectButton()->show();
}

void GoogleImagesCollectionVC::slidePanelOut(std::function<void()> done) {
    if (!m_detailView)
        return;
    const qreal longer = std::max(Device::current().screenBounds().width(),
                                  Device::current().screenBounds().height());
    QRect away = m_detailView->geometry();
    away.moveTop(int(longer));
    m_detailView->animateFrame(away, panelOutMs, std::move(done));
}

void GoogleImagesCollectionVC::closeButtonPressed() {
    if (CollectionViewCell* cell = m_collectionView->cellForItemAtIndexPath(m_selectedIndexPath))
        cell->setUserInteractionEnabled(true);
    showImageCount();
    slidePanelOut([this] {
        if (m_detailView)
            m_detailView->deleteLater();
        m_detailView = nullptr;
    });
}

void GoogleImagesCollectionVC::imageSelected() {
    setTitle(localized("Please wait..."));
    slidePanelOut([this] {
        const QImage picked = m_detailView ? m_detailView->imageView()->image().copy() : QImage();
        if (m_detailView)
            m_detailView->deleteLater();
        m_detailView = nullptr;
        if (m_delegate)
            m_delegate->googleImagesDidFinishPickingImage(picked);
        dismissViewControllerAnimated(true, nullptr);
    });
}

// --- the search bar -------------------------------------------------------------------------

void GoogleImagesCollectionVC::showSearchBar() {
    m_hideKeyboardBtn->setAlpha(0.5);
    slideSearchBar(QRect(0, 0, width(), m_searchBar->height()),
                   [bar = m_searchBar] { bar->becomeFirstResponder(); });
}

void GoogleImagesCollectionVC::hideKeyboard() {
    m_searchBar->resignFirstResponder();
    m_hideKeyboardBtn->setAlpha(0);
    QRect parked = m_searchBar->geometry();
    parked.moveTop(-m_searchBar->height());
    slideSearchBar(parked, nullptr);
}

void GoogleImagesCollectionVC::slideSearchBar(const QRect& to, std::function<void()> done) {
    // A slide that is under way gives way to the new one, its end left undone.
    if (m_searchBarSlide)
        m_searchBarSlide->stop();
    m_searchBarSlide = geometryAnimation(m_searchBar, to, searchBarMs, QEasingCurve::InOutQuad);
    connect(m_searchBarSlide, &QPropertyAnimation::finished, m_searchBar, [done = std::move(done)] {
        if (done)
            done();
    });
    m_searchBarSlide->start(QAbstractAnimation::DeleteWhenStopped);
}

void GoogleImagesCollectionVC::searchBarSearchButtonClicked() {
    hideKeyboard();
    fetchImagesData(m_searchBar->text(), QString());
}

// --- rotation -------------------------------------------------------------------------------

void GoogleImagesCollectionVC::layOutColumnsForOrientation() {
    const DeviceTraits& device = Device::current();
    const GoogleImageLayout::Configuration configuration =
        GoogleImageLayout::configurationForOrientation(currentInterfaceOrientation(),
                                                       device.idiom(), device.screenBounds());
    m_numberOfColumns = configuration.numberOfColumns;
    GoogleImageLayout* layout = collectionViewLayout();
    layout->setNumberOfColumns(configuration.numberOfColumns);
    layout->setItemSize(QSizeF(configuration.side, configuration.side));
}

void GoogleImagesCollectionVC::orientationChanged() {
    layOutColumnsForOrientation();
    GoogleImageLayout* layout = collectionViewLayout();
    layout->setItemInsets({1, 1, 1, 1});
    layout->setInterItemSpacingY(1);
    layout->invalidateLayout();
}

bool GoogleImagesCollectionVC::performKeyCommand(KeyCommand command) {
    switch (command) {
    case KeyCommand::Find:
        showSearchBar();
        return true;
    case KeyCommand::Cancel:
        if (m_detailView) {
            closeButtonPressed();
        } else if (m_searchBar && m_searchBar->geometry().bottom() > 0) {
            hideKeyboard();
        } else {
            dismissViewControllerAnimated(true, nullptr);
        }
        return true;
    case KeyCommand::Back:
    case KeyCommand::Refresh:
        break;
    }
    return false;
}

} // namespace tolvane

#include "DetailView.h"

#include "platform/Device.h"
#include "platform/DeviceNotifications.h"
#include "platform/Localisation.h"
#include "platform/ui/BundleImages.h"
#include "platform/ui/ImageButton.h"
#include "platform/ui/ImageView.h"
#include "platform/ui/NavigationBar.h"
#include "platform/ui/NavigationController.h"
#include "search/DetailViewLayout.h"
#include "search/InterfaceOrientation.h"

#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QPushButton>
#include <QVariantAnimation>

#include <algorithm>

namespace tolvane {

DetailView::DetailView(QWidget* parent)
    : QWidget(parent)
    , m_mainView(new QWidget(this))
    , m_imageView(new ImageView(m_mainView))
    , m_closeButton(new ImageButton(m_mainView))
    , m_selectButton(new QPushButton(localized("Select"), m_mainView))
    , m_sourceLabel(new QLabel(m_mainView)) {
    m_mainView->setGeometry(0, 0, 0, 0);
    m_mainView->setAutoFillBackground(true);
    QPalette white = m_mainView->palette();
    white.setColor(QPalette::Window, Qt::white);
    m_mainView->setPalette(white);
    // A soft shadow all round the card: no offset, radius 5, 0.6 opaque.
    auto* shadow = new QGraphicsDropShadowEffect(m_mainView);
    shadow->setOffset(0, 0);
    shadow->setBlurRadius(2 * 5);
    shadow->setColor(QColor(0, 0, 0, int(0.6 * 255)));
    m_mainView->setGraphicsEffect(shadow);

    m_imageView->setGeometry(0, 0, 0, 0);
    m_imageView->setBackgroundColor(Qt::white);
    m_imageView->setContentMode(ImageView::ContentMode::ScaleAspectFit);

    m_closeButton->setGeometry(0, 0, 0, 0);
    const QPixmap close = BundleImages::imageNamed(QStringLiteral("close.png"));
    m_closeButton->setNormalImage(close);
    m_closeButton->setHighlightedImage(close);
    m_closeButton->setAccessibleName(localized("Close"));
    m_closeButton->setStyleSheet(QStringLiteral("background-color: white; border-radius: 5px;"));
    m_closeButton->setAttribute(Qt::WA_StyledBackground);

    m_selectButton->setGeometry(0, 0, 0, 0);
    m_selectButton->setCursor(Qt::PointingHandCursor);
    m_selectButton->setStyleSheet(QStringLiteral(
        "QPushButton { background-color: rgba(255, 255, 255, 217); border-radius: 5px;"
        " border: none; color: rgb(47, 145, 252); font-size: 17px; }"
        "QPushButton:pressed { color: rgba(47, 145, 252, 110); }"));

    m_sourceLabel->hide();
    m_sourceLabel->setAlignment(Qt::AlignCenter);
    m_sourceLabel->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_sourceLabel->setStyleSheet(
        QStringLiteral("QLabel { background-color: rgba(0, 0, 0, 140); color: white;"
                       " font-size: 12px; padding: 2px 6px; }"));

    // A rotation lays the card out for the new orientation.
    connect(DeviceNotifications::instance(), &DeviceNotifications::orientationDidChange, this,
            &DetailView::layoutSubviews);
}

void DetailView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    layoutSubviews();
}

void DetailView::layoutSubviews() {
    const DeviceTraits& device = Device::current();
    const qreal barHeight = m_navController ? m_navController->navigationBar()->height() : 0;
    const DetailViewLayout layout = DetailViewLayout::compute(
        device.screenBounds(), barHeight, currentInterfaceOrientation(), device.isPad());

    const QRect own = layout.view.toRect();
    if (isMoving())
        resize(own.size());
    else
        setGeometry(own);
    m_mainView->setGeometry(layout.card.toRect());
    m_imageView->setGeometry(layout.imageView.toRect());
    m_closeButton->setGeometry(layout.closeButton.toRect());
    m_selectButton->setGeometry(layout.selectButton.toRect());
    placeSourceLabel();
}

void DetailView::setSourceText(const QString& text) {
    m_sourceText = text;
    m_sourceLabel->setToolTip(text);
    m_sourceLabel->setVisible(!text.isEmpty());
    placeSourceLabel();
}

void DetailView::placeSourceLabel() {
    // Across the top of the image, as wide as its text needs and never wider than the image.
    const QRect image = m_imageView->geometry();
    // A long title is cut with an ellipsis rather than running past the image.
    m_sourceLabel->setText(m_sourceLabel->fontMetrics().elidedText(
        m_sourceText, Qt::ElideRight, std::max(0, image.width() - 12)));
    const int width = std::min(image.width(), m_sourceLabel->sizeHint().width());
    m_sourceLabel->setGeometry(image.left() + (image.width() - width) / 2, image.top(), width,
                               m_sourceLabel->sizeHint().height());
    m_sourceLabel->raise();
}

void DetailView::animateFrame(const QRect& frame, int durationMs,
                              std::function<void()> completion) {
    if (m_move)
        m_move->stop();
    auto* move = new QVariantAnimation(this);
    move->setDuration(durationMs);
    move->setEasingCurve(QEasingCurve::OutQuad);
    move->setStartValue(geometry());
    move->setEndValue(frame);
    connect(move, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setGeometry(value.toRect()); });
    connect(move, &QVariantAnimation::finished, this, [completion = std::move(completion)] {
        if (completion)
            completion();
    });
    m_move = move;
    move->start(QAbstractAnimation::DeleteWhenStopped);
}

} // namespace tolvane

#include "MBProgressHUD.h"

#include "imaging/ImageEffects.h"
#include "imaging/THEOSImage.h"
#include "overlay/AnimatedImageView.h"
#include "overlay/BusyIndicator.h"
#include "overlay/HUDBox.h"
#include "overlay/ProgressIndicator.h"
#include "platform/Device.h"
#include "platform/OffScreen.h"
#include "platform/Paths.h"

#include <QApplication>
#include <QGraphicsOpacityEffect>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPropertyAnimation>
#include <QThreadPool>
#include <QTimer>
#include <QWheelEvent>

#include <cmath>
#include <memory>

namespace tolvane {

namespace {

// The system's spinner: sixteen frames, one pass in 1.75 seconds, in a 50-point square.
constexpr int spinnerFrameCount = 16;
constexpr double spinnerCycleSeconds = 1.75;
constexpr int spinnerSide = 50;

QList<QImage> spinnerFrames(bool isBlack) {
    const QString folder = Paths::imagesFolder();
    const QString prefix = isBlack ? QString() : QStringLiteral("_");
    QList<QImage> frames;
    for (int i = 1; i <= spinnerFrameCount; ++i) {
        const QImage frame =
            THEOSImage::imageWithName(prefix + QString::number(i) + QStringLiteral(".png"), folder);
        if (!frame.isNull())
            frames.append(frame);
    }
    return frames;
}

ProgressIndicator::Style progressStyle(MBProgressHUDMode mode) {
    switch (mode) {
    case MBProgressHUDMode::DeterminateHorizontalBar:
        return ProgressIndicator::Style::Bar;
    case MBProgressHUDMode::AnnularDeterminate:
        return ProgressIndicator::Style::Annular;
    default:
        return ProgressIndicator::Style::Pie;
    }
}

} // namespace

MBProgressHUD::MBProgressHUD(QWidget* view)
    : QWidget(view)
    , m_box(new HUDBox(this))
    , m_view(view)
    , m_deferredHide(new QTimer(this)) {
    QWidget::setVisible(false);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_NoMousePropagation);
    m_box->setColor(QColor::fromRgbF(0, 0, 0, 0.8f));
    m_deferredHide->setSingleShot(true);
    m_deferredHide->setTimerType(Qt::PreciseTimer);
    connect(m_deferredHide, &QTimer::timeout, this, [this] { hideNow(m_deferredHideAnimated); });
    if (view) {
        setGeometry(view->rect());
        view->installEventFilter(this);
    }
    updateIndicator();
}

MBProgressHUD* MBProgressHUD::showHUDAddedTo(QWidget* view, bool animated, bool isBlack) {
    auto* hud = new MBProgressHUD(view);
    hud->setColor(Qt::transparent);
    hud->setBlurBackground(false);

    auto* spinner = new AnimatedImageView(hud);
    spinner->setGeometry(0, 0, spinnerSide, spinnerSide);
    spinner->setAnimationImages(spinnerFrames(isBlack));
    spinner->setAnimationDuration(spinnerCycleSeconds);
    spinner->setAnimationRepeatCount(0);
    spinner->startAnimating();

    hud->setCustomView(spinner);
    hud->setMode(MBProgressHUDMode::CustomView);
    hud->show(animated);
    return hud;
}

bool MBProgressHUD::hideHUDForView(QWidget* view, bool animated) {
    MBProgressHUD* hud = HUDForView(view);
    if (!hud)
        return false;
    hud->setRemoveFromSuperViewOnHide(true);
    hud->hide(animated);
    return true;
}

int MBProgressHUD::hideAllHUDsForView(QWidget* view, bool animated) {
    int count = 0;
    while (hideHUDForView(view, animated))
        ++count;
    return count;
}

MBProgressHUD* MBProgressHUD::HUDForView(QWidget* view) {
    if (!view)
        return nullptr;
    const QObjectList& children = view->children();
    for (auto it = children.crbegin(); it != children.crend(); ++it) {
        auto* hud = qobject_cast<MBProgressHUD*>(*it);
        if (hud && !hud->m_leaving)
            return hud;
    }
    return nullptr;
}

void MBProgressHUD::show(bool animated) {
    m_deferredHide->stop();
    m_leaving = false;
    raise();
    if (m_state == State::Shown)
        return;
    if (m_state == State::Hidden) {
        m_backdrop.invalidate();
        // Taken while still hidden, so that the first paint finds it.
        if (m_blurBackground)
            captureBackdrop(rect());
        QWidget* focus = QApplication::focusWidget();
        m_focusBeforeShow = focus && focus != this && !isAncestorOf(focus) ? focus : nullptr;
        QWidget::setVisible(true);
        setFocus(Qt::OtherFocusReason);
    }
    m_state = State::Shown;
    m_shownAt.start();
    fadeTo(1, animated);
}

void MBProgressHUD::hide(bool animated) {
    m_leaving = m_removeFromSuperViewOnHide;
    if (m_state == State::Shown && m_minShowTime > 0) {
        const qint64 remaining = qint64(std::ceil(m_minShowTime * 1000)) - m_shownAt.elapsed();
        if (remaining > 0) {
            m_deferredHideAnimated = animated;
            if (!m_deferredHide->isActive())
                m_deferredHide->start(int(remaining));
            return;
        }
    }
    hideNow(animated);
}

void MBProgressHUD::hideNow(bool animated) {
    m_deferredHide->stop();
    switch (m_state) {
    case State::Hiding:
        return;
    case State::Hidden:
        finishHiding();
        return;
    case State::Shown:
        m_state = State::Hiding;
        fadeTo(0, animated);
        return;
    }
}

void MBProgressHUD::showAnimated(bool animated, Block block, QThreadPool* queue, Block completion) {
    m_taskCompletion = std::move(completion);
    show(animated);
    // Delivered to the overlay, so the return to the main thread is dropped safely when the
    // overlay is gone before the block ends.
    runOffScreen(
        this,
        [work = std::move(block)] {
            if (work)
                work();
        },
        [this, animated] { hide(animated); }, queue);
}

void MBProgressHUD::fadeTo(qreal opacity, bool animated) {
    if (m_fade) {
        disconnect(m_fade, nullptr, this, nullptr);
        m_fade->stop();
    }
    if (!animated) {
        fadeFinished(opacity);
        return;
    }
    auto* effect = qobject_cast<QGraphicsOpacityEffect*>(graphicsEffect());
    if (!effect) {
        effect = new QGraphicsOpacityEffect(this);
        effect->setOpacity(1 - opacity);
        setGraphicsEffect(effect);
    }
    m_fade = new QPropertyAnimation(effect, "opacity", this);
    m_fade->setDuration(fadeDurationMs);
    m_fade->setStartValue(effect->opacity());
    m_fade->setEndValue(opacity);
    connect(m_fade, &QPropertyAnimation::finished, this,
            [this, opacity] { fadeFinished(opacity); });
    m_fade->start(QAbstractAnimation::DeleteWhenStopped);
}

void MBProgressHUD::fadeFinished(qreal opacity) {
    // Fully shown, the overlay paints directly rather than through the effect.
    setGraphicsEffect(nullptr);
    if (opacity <= 0)
        finishHiding();
}

void MBProgressHUD::finishHiding() {
    m_state = State::Hidden;
    setGraphicsEffect(nullptr);
    const bool hadFocus = hasFocus();
    QWidget::setVisible(false);
    if (hadFocus && m_focusBeforeShow)
        m_focusBeforeShow->setFocus(Qt::OtherFocusReason);
    m_focusBeforeShow = nullptr;
    if (m_removeFromSuperViewOnHide) {
        m_leaving = true;
        if (m_view)
            m_view->removeEventFilter(this);
        deleteLater();
    }
    // Copies: a block may delete the overlay.
    const Block completion = m_completionBlock;
    const Block taskCompletion = std::exchange(m_taskCompletion, nullptr);
    if (completion)
        completion();
    if (taskCompletion)
        taskCompletion();
}

void MBProgressHUD::setMode(MBProgressHUDMode mode) {
    m_mode = mode;
    updateIndicator();
}

void MBProgressHUD::setCustomView(QWidget* view) {
    if (view == m_customView)
        return;
    QWidget* replaced = m_customView;
    m_customView = view;
    if (view) {
        view->setParent(m_box);
        view->hide();
    }
    updateIndicator();
    delete replaced;
}

void MBProgressHUD::setProgress(float progress) {
    m_progress = progress;
    if (auto* indicator = qobject_cast<ProgressIndicator*>(m_stockIndicator))
        indicator->setProgress(progress);
}

QWidget* MBProgressHUD::stockIndicator() {
    switch (m_mode) {
    case MBProgressHUDMode::Indeterminate:
        if (!qobject_cast<BusyIndicator*>(m_stockIndicator))
            return new BusyIndicator(m_box);
        return m_stockIndicator;
    case MBProgressHUDMode::Determinate:
    case MBProgressHUDMode::DeterminateHorizontalBar:
    case MBProgressHUDMode::AnnularDeterminate: {
        auto* indicator = qobject_cast<ProgressIndicator*>(m_stockIndicator);
        if (!indicator || indicator->style() != progressStyle(m_mode))
            indicator = new ProgressIndicator(progressStyle(m_mode), m_box);
        indicator->setProgress(m_progress);
        return indicator;
    }
    case MBProgressHUDMode::CustomView:
    case MBProgressHUDMode::Text:
        return nullptr;
    }
    return nullptr;
}

void MBProgressHUD::updateIndicator() {
    QWidget* stock = stockIndicator();
    m_box->setIndicator(m_mode == MBProgressHUDMode::CustomView ? m_customView.data() : stock);
    if (m_stockIndicator != stock)
        delete m_stockIndicator;
    m_stockIndicator = stock;
    relayout();
}

void MBProgressHUD::relayout() {
    m_box->layoutWithin(size());
    m_box->move((width() - m_box->width()) / 2, (height() - m_box->height()) / 2);
}

QColor MBProgressHUD::color() const {
    return m_box->color();
}

void MBProgressHUD::setColor(const QColor& color) {
    m_box->setColor(color);
}

void MBProgressHUD::setBlurBackground(bool blur) {
    m_blurBackground = blur;
    m_backdrop.invalidate();
    update();
}

QString MBProgressHUD::labelText() const {
    return m_box->labelText();
}

void MBProgressHUD::setLabelText(const QString& text) {
    m_box->setLabelText(text);
    relayout();
}

QFont MBProgressHUD::labelFont() const {
    return m_box->labelFont();
}

void MBProgressHUD::setLabelFont(const QFont& font) {
    m_box->setLabelFont(font);
    relayout();
}

QString MBProgressHUD::detailsLabelText() const {
    return m_box->detailsLabelText();
}

void MBProgressHUD::setDetailsLabelText(const QString& text) {
    m_box->setDetailsLabelText(text);
    relayout();
}

QFont MBProgressHUD::detailsLabelFont() const {
    return m_box->detailsLabelFont();
}

void MBProgressHUD::setDetailsLabelFont(const QFont& font) {
    m_box->setDetailsLabelFont(font);
    relayout();
}

void MBProgressHUD::drawBlurredBackgroundInRect(QPainter& painter, const QRect& rect) {
    if (!m_backdrop.isValidFor(rect))
        captureBackdrop(rect);
    if (!m_backdrop.image().isNull())
        painter.drawImage(QRectF(rect), m_backdrop.image());
}

void MBProgressHUD::captureBackdrop(const QRect& rect) {
    if (m_capturing)
        return;
    m_capturing = true;
    // Hidden for the moment of the grab, so that the overlay is not in its own background.
    const bool shown = !isHidden();
    const bool hadFocus = hasFocus();
    if (shown)
        QWidget::setVisible(false);
    const QImage beneath = BlurredBackdrop::grabBeneath(this, rect);
    if (shown) {
        QWidget::setVisible(true);
        if (hadFocus)
            setFocus(Qt::OtherFocusReason);
    }
    // The scale is read here, on the screen's thread, and handed to the effect.
    const qreal scale = Device::current().scale();
    m_backdrop.store(rect,
                     beneath.isNull() ? QImage() : ImageEffects::applyLightEffect(beneath, scale));
    m_capturing = false;
}

void MBProgressHUD::paintEvent(QPaintEvent* event) {
    Q_UNUSED(event);
    if (!m_blurBackground || m_capturing)
        return;
    // Taken before the painter opens, as it hides and shows the overlay.
    if (!m_backdrop.isValidFor(rect()))
        captureBackdrop(rect());
    QPainter painter(this);
    drawBlurredBackgroundInRect(painter, rect());
    if (m_legibilityTint.alpha() > 0) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_legibilityTint);
        painter.drawRoundedRect(QRectF(m_box->geometry()), HUDBox::cornerRadius,
                                HUDBox::cornerRadius);
    }
}

void MBProgressHUD::setLegibilityTint(const QColor& tint) {
    m_legibilityTint = tint;
    update();
}

void MBProgressHUD::resizeEvent(QResizeEvent* event) {
    // The backdrop is kept for one rectangle, so a new size takes a new one.
    QWidget::resizeEvent(event);
    relayout();
}

bool MBProgressHUD::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_view) {
        if (event->type() == QEvent::Resize) {
            setGeometry(m_view->rect());
        } else if (event->type() == QEvent::ChildAdded && m_state != State::Hidden &&
                   static_cast<QChildEvent*>(event)->child()->isWidgetType()) {
            // Stay above views added while the overlay shows.
            raise();
        }
    }
    return QWidget::eventFilter(watched, event);
}

bool MBProgressHUD::event(QEvent* event) {
    // Shortcuts of the window beneath are held back while the overlay has the focus.
    if (event->type() == QEvent::ShortcutOverride && m_state != State::Hidden) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void MBProgressHUD::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

void MBProgressHUD::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
}

void MBProgressHUD::mouseDoubleClickEvent(QMouseEvent* event) {
    event->accept();
}

void MBProgressHUD::mouseMoveEvent(QMouseEvent* event) {
    event->accept();
}

void MBProgressHUD::wheelEvent(QWheelEvent* event) {
    event->accept();
}

void MBProgressHUD::keyPressEvent(QKeyEvent* event) {
    event->accept();
}

void MBProgressHUD::keyReleaseEvent(QKeyEvent* event) {
    event->accept();
}

bool MBProgressHUD::focusNextPrevChild(bool next) {
    // While shown, the focus stays here: Tab does not reach the view beneath.
    if (m_state != State::Hidden)
        return true;
    return QWidget::focusNextPrevChild(next);
}

} // namespace tolvane
